// The installation errors under the failed lists of the errors view: "point (error text)".
#include "views/PolicyView.h"

namespace TrafficPolicyCli {

namespace {

void renderInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                         const Orb::RbTreeMap<Orb::String, Orb::String>& errors, U32 indent) {
    const auto list = renderer.list(jsonKey);
    for (const auto& [point, errorText] : errors) {
        if (renderer.isJson()) {
            Orb::String entry = point;
            renderer.item(entry.append(" (").append(errorText).append(")"));
        }
        renderer.indent(indent).name(point).text(" (").name(errorText).text(")").endLine();
    }
}

void traceNoErrors() { SHOW_TRACE(8, "No installation errors to render"); }

}  // namespace

void renderVAclInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                             const PolicyStateVAcl& record, MatchOption option, U32 indent) {
    SHOW_TRACE_ENTRY();
    const VAclInstallError* const errors = record.installErrorColl(option);
    if (errors == nullptr) return traceNoErrors();
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << option);
    renderInstallErrors(renderer, jsonKey, errors->vlanError(), indent);
}

void renderInterfaceInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                                  const PolicyStateInterface& record,
                                  const InterfaceInstallError* errors, U32 indent, bool isInput) {
    SHOW_TRACE_ENTRY();
    if (errors == nullptr) return traceNoErrors();
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << record.name() << " " << errors->matchOption()
                                      << " isInput: " << isInput);
    renderInstallErrors(renderer, jsonKey, errors->intfError(), indent);
}

void renderCpuInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                            const InstallError* errors, U32 indent) {
    SHOW_TRACE_ENTRY();
    if (errors == nullptr) return traceNoErrors();
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << errors->matchOption());
    renderInstallErrors(renderer, jsonKey, errors->vrfError(), indent);
}

}  // namespace TrafficPolicyCli
