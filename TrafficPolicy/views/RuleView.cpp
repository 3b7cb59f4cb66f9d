#include "views/RuleView.h"

#include "orb/Assert.h"
#include "views/MatchView.h"

namespace TrafficPolicyCli {

namespace {

// The status of a rule in the first direction that has one; null: none has.
const PolicyMap::ClassMapStatus* statusOf(const PolicyState& policyState, U32 ruleIndex) {
    for (const Direction* const direction : policyState.kind().directions) {
        const auto* const found = direction->rules(policyState).find(ruleIndex);
        if (found != nullptr && *found) return found->get();
    }
    return nullptr;
}

// Fetches what a rule some places on is shown from.
void fetchAhead(const PolicyState& policyState, U32 ruleIndex) {
    const auto* const far = policyState.classMapConfig().find(ruleIndex + Orb::stepsAhead);
    if (far != nullptr) Orb::fetchSoon(far->get());
    const auto* const near = policyState.classMapConfig().find(ruleIndex + Orb::stepsAhead / 2);
    if (near != nullptr && *near && !policyState.summary()) {
        Orb::fetchSoon((*near)->structuredFilter().get());
    }
}

}  // namespace

void renderRules(textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& policyState,
                 const FieldSetState& fieldSets, U32 indent, const RenderActions& renderActions) {
    ORB_ASSERT(policyState);
    Scratch scratch;
    CriteriaView view{renderer,
                      fieldSets,
                      scratch,
                      {},
                      policyState->detail(),
                      policyState->indentCountPerLevel(),
                      indent + policyState->indentCountPerLevel()};
    U32 ruleIndex = 0;
    for (const auto& match : policyState->classMapConfig()) {
        const U32 i = ruleIndex++;
        fetchAhead(*policyState, i);
        const auto* const status = statusOf(*policyState, i);
        if (status == nullptr || !match) continue;

        const Orb::String& ruleName = status->name();
        const std::string_view matchOption = PolicyMap::matchOptionName(match->option());
        const auto rule = renderer.object();
        renderer.pair("ruleString", ruleName);
        renderer.pair("matchOption", matchOption);
        renderer.indent(indent).text("match ").name(ruleName).text(" ").text(matchOption).endLine();
        if (policyState->summary()) continue;

        SHOW_TRACE(8, "Rendering detailed view of the rule " << ruleName);
        view.matchOption = match->option();
        renderMatches(view, *match);
        renderActions(ruleName, i, view.indent);
    }
}

}  // namespace TrafficPolicyCli
