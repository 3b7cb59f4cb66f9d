// The rules of one policy: a line with name and address family, then criteria and actions.
#include "frame/Trace.h"
#include "orb/Assert.h"
#include "traffic-policy/ShowTrafficPolicy.h"
#include "views/MatchView.h"

namespace TrafficPolicyCli {

namespace {

using ClassMapStatuses = Orb::Array<Orb::Ptr<const PolicyMap::ClassMapStatus>>;

const PolicyMap::ClassMapStatus* statusAt(const ClassMapStatuses& statuses, U32 ruleIndex) {
    const auto* const found = statuses.find(ruleIndex);
    return found == nullptr ? nullptr : found->get();
}

}  // namespace

void ShowTrafficPolicyBase::renderRules(textout::RendererV2* renderer,
                                        const Orb::Ptr<const PolicyState>& policyState, U32 indent,
                                        U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    ORB_ASSERT(policyState);
    const auto onInterfaces = Orb::ptrCast<const PolicyStateInterface>(policyState);
    const Orb::Ptr<const FieldSetState> fieldSets = fieldSetState();
    const U32 ruleIndent = indent + policyState->indentCountPerLevel();
    U32 ruleIndex = 0;
    for (const auto& match : policyState->classMapConfig()) {
        const U32 i = ruleIndex++;
        const auto* status = statusAt(policyState->classMapStatusInput(), i);
        if (status == nullptr && onInterfaces) {
            status = statusAt(onInterfaces->classMapStatusOutput(), i);
        }
        if (status == nullptr || !match) continue;

        const Orb::String& ruleName = status->name();
        const std::string_view matchOption = PolicyMap::matchOptionName(match->option());
        const auto rule = renderer->object();
        renderer->pair("ruleString", ruleName);
        renderer->pair("matchOption", matchOption);
        renderer->indent(indent).text("match ").name(ruleName).text(" ").text(matchOption);
        renderer->endLine();
        if (policyState->summary()) continue;

        SHOW_TRACE(8, "Rendering detailed view of the rule " << ruleName);
        renderMatches(*renderer, fieldSets, policyState, match, policyState->detail(), ruleIndent,
                      revision, format);
        renderActions(renderer, ruleName, i, policyState, ruleIndent);
    }
}

}  // namespace TrafficPolicyCli
