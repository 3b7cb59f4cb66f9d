// The view of MAC field sets. They come from several sources, each a directory of its own, so one
// name may stand under more than one source.
#include <array>

#include "fieldsets/FieldSetReport.h"
#include "traffic-policy/ShowFieldSets.h"

namespace TrafficPolicyCli {

ShowTrafficPolicyMacFieldSet::ShowTrafficPolicyMacFieldSet(Orb::Ptr<const Orb::Dir> configDir,
                                                           Orb::String fieldSetName)
    : configDir_(std::move(configDir)), fieldSetName_(std::move(fieldSetName)) {}

void ShowTrafficPolicyMacFieldSet::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    untilInterrupted([&] { renderFieldSetSources(fd, format, revision); });
}

void ShowTrafficPolicyMacFieldSet::renderFieldSetSources(U32 fd, U32 format, U32 revision) const {
    SHOW_TRACE_ENTRY();
    const auto walk = [this](textout::RendererV2& renderer) {
        if (!configDir()) return;
        bool isFirst = true;
        FieldSets::forEachByName(configDir()->entry(), "", [&](const auto& name, auto& entry) {
            const auto source = Orb::ptrCast<const Orb::Dir>(entry);
            if (!source) return;
            if (!isFirst) renderer.endLine();
            isFirst = false;
            renderer.text("Source: ").name(name).endLine();
            const auto object = renderer.object(name);
            renderFieldSets(renderer, *source);
        });
    };
    FieldSets::renderReport(fd, format, revision, "sources", walk);
}

void ShowTrafficPolicyMacFieldSet::renderFieldSets(textout::RendererV2& renderer,
                                                   const Orb::Dir& source) const {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " source: " << source.name());
    const auto object = renderer.object("macFieldSets");
    U32 shown = 0;
    FieldSets::forEachByName(source.entry(), fieldSetName(), [&](const auto& name, auto& entry) {
        const auto fieldSet = Orb::ptrCast<const Classification::FieldSetMacAddrConfig>(entry);
        if (fieldSet) renderFieldSet(renderer, name, *fieldSet, shown);
    });
}

void ShowTrafficPolicyMacFieldSet::renderFieldSet(
    textout::RendererV2& renderer, const Orb::String& name,
    const Classification::FieldSetMacAddrConfig& entry, U32& shown) const {
    SHOW_TRACE_ENTRY();
    const auto currCfg = FieldSets::versionToShow(name, entry, [] { return false; });
    if (!currCfg) return;
    if (shown++ > 0) renderer.endLine();
    renderer.text("Field-set: ").name(name).endLine();
    const auto object = renderer.object(name);
    renderMacAddrs(renderer, *currCfg, FieldSets::indentation);
}

void ShowTrafficPolicyMacFieldSet::renderMacAddrs(
    textout::RendererV2& renderer, const Classification::FieldSetMacAddrSubConfig& currCfg,
    U32 indent) const {
    SHOW_TRACE_ENTRY();
    constexpr std::string_view heading = "MAC Address";
    std::vector<Wire::EthAddr> addresses(currCfg.macAddrs().begin(), currCfg.macAddrs().end());
    std::sort(addresses.begin(), addresses.end());
    renderer.indent(indent).text(heading).endLine();
    renderer.indent(indent).indent(heading.size(), '-').endLine();
    const auto list = renderer.list("macAddrs");
    for (const Wire::EthAddr& address : addresses) {
        std::array<char, Wire::EthAddr::printedSize> buffer;
        const std::string_view text(buffer.data(), address.print(buffer.data()));
        renderer.item(text);
        renderer.indent(indent).text(text).endLine();
    }
    if (addresses.empty()) renderer.indent(indent).text("None").endLine();
}

}  // namespace TrafficPolicyCli
