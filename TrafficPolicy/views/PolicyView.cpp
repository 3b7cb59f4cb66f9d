#include "views/PolicyView.h"

#include "counters/NamedCounterView.h"

namespace TrafficPolicyCli {

namespace {

constexpr U32 listIndent = 3;
constexpr U32 ruleIndent = 6;

void renderWarnings(textout::RendererV2& renderer, const PolicyState& record) {
    if (record.undefinedFieldSet()) {
        renderer.text("WARNING: One or more match rules are using an undefined field-set.")
            .endLine();
    }
    if (record.undefinedCounter()) {
        renderer
            .text(
                "WARNING: One or more match rules are using an undefined named counter. Hits "
                "against these rule will not be counted until counter is defined")
            .endLine();
    }
}

void renderPolicy(ShowTrafficPolicyBase& show, const PolicyViewKind& kind,
                  textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& record) {
    renderer.text(show.policyFeatureName()).name(record->name()).endLine();
    {
        const auto policy = renderer.object(record->name());
        kind.renderModel(renderer, record, listIndent);
        if (!record->errors()) {
            renderNamedCounter(renderer, record, ruleIndent);
            const auto rules = renderer.list("rules");
            show.renderRules(&renderer, record, ruleIndent, renderer.format(), renderer.revision());
        }
    }
    renderWarnings(renderer, *record);
}

}  // namespace

void renderPolicies(ShowTrafficPolicyBase& show, const PolicyViewKind& kind, std::string_view note,
                    U32 fd, U32 format, U32 revision) {
    textout::TextOutBuffer out(fd);
    textout::RendererV2 renderer(out, format, revision);
    renderer.documentBegin();
    renderer.text(note);
    bool installationFailed = false;
    {
        const auto policies = renderer.object(show.policyJsonDictKeyword());
        for (const auto& [name, record] : show.policyState()) {
            if (!show.policyName().empty() && name != show.policyName()) continue;
            renderPolicy(show, kind, renderer, record);
            installationFailed = installationFailed || kind.showsFailure(*record);
        }
    }
    if (installationFailed && !show.errors()) {
        renderer.text("WARNING: Policy installation failed. See \"show traffic-policy ")
            .text(kind.commandWord)
            .text(" errors\" for details about the failures.\n");
    }
    renderer.documentEnd();
    renderer.flush();
}

void renderRulesModel(textout::RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderer.indent(indent)
        .text("Total number of rules configured: ")
        .number(record.ruleCount())
        .endLine();
}

}  // namespace TrafficPolicyCli
