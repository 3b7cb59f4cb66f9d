#include "traffic-policy/ShowTrafficPolicy.h"

#include "counters/CounterGathering.h"
#include "frame/Report.h"
#include "frame/Trace.h"
#include "gather/FieldSetGathering.h"
#include "gather/PolicyGathering.h"
#include "orb/Assert.h"
#include "views/ActionView.h"
#include "views/PolicyView.h"
#include "views/RuleView.h"

namespace TrafficPolicyCli {

using PolicyStatusPtr = Orb::Ptr<const PolicyMap::PolicyMapStatus>;
using RuleStatusPtr = Orb::Ptr<const PolicyMap::ClassMapStatus>;

ORB_DEFINE_TYPE(ShowTrafficPolicyBase)

#define INITIAL(type, name) name##_(std::move(arguments.name)),

ShowTrafficPolicyBase::ShowTrafficPolicyBase(ShowArguments arguments)
    : TRAFFIC_POLICY_SHOW_ARGUMENTS(INITIAL) fieldSetState_(Orb::make<FieldSetState>("")) {}

ShowTrafficPolicyBase::~ShowTrafficPolicyBase() = default;

Orb::Ptr<FieldSetState> ShowTrafficPolicyBase::fieldSetStateIs(const Orb::String& name) {
    fieldSetState_ = Orb::make<FieldSetState>(name);
    return fieldSetState_;
}

void ShowTrafficPolicyBase::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    untilInterrupted([&] {
        if (fieldSetConfig()) cacheFieldSetState();
        cachePoliciesState();
        if (counters()) {
            renderTrafficPolicyCounters(fd, format, revision);
        } else {
            renderTrafficPolicy(fd, format, revision);
        }
    });
}

void ShowTrafficPolicyBase::renderCountAction(textout::RendererV2*, U32,
                                              const Orb::Ptr<const PolicyState>&,
                                              const Orb::Ptr<const PolicyMap::Action>&, U32) {
    SHOW_TRACE_ENTRY();
}

void ShowTrafficPolicyBase::cachePoliciesState() {
    SHOW_TRACE_ENTRY();
    inputCounterHelperIs(createCounterStatusHelper(true));
    gatherPolicies(*this, status().get());
}

void ShowTrafficPolicyBase::cachePolicyState(const Orb::String& policyName) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << policyName);
    gatherPolicy(*this, policyName);
}

void ShowTrafficPolicyBase::cacheIntfStatus(const PolicyStatusPtr&) { SHOW_TRACE_ENTRY(); }
void ShowTrafficPolicyBase::cacheInstalledState(const PolicyStatusPtr&, MatchOption) {
    SHOW_TRACE_ENTRY();
}
void ShowTrafficPolicyBase::cacheInstallError(const PolicyStatusPtr&, MatchOption) {
    SHOW_TRACE_ENTRY();
}

void ShowTrafficPolicyBase::cacheCounters(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    countersInto(policyName, inputDirection, inputCounterHelper().get());
}

void ShowTrafficPolicyBase::countersInto(const Orb::String& policyName, const Direction& direction,
                                         const CounterReader* reader) {
    const Orb::Ptr<PolicyState> policyState = getOrCreatePolicyState(policyName);
    // A policy whose status went while its gathering had given up the lock has no counters.
    const PolicyStatusPtr policyStatus = getPolicyMapStatus(policyName);
    // The summary and the errors view print no count, and spare the operator the wait for them.
    const bool showsCounts = counters() || !(summary() || errors());
    if (reader == nullptr || !policyStatus || !showsCounts) return;
    gatherCounters(*policyState, direction, *reader, *policyStatus);
}

Orb::Ptr<PolicyState> ShowTrafficPolicyBase::getOrCreatePolicyState(const Orb::String&) {
    SHOW_TRACE_ENTRY();
    return nullptr;
}

Orb::Ptr<const CounterReader> ShowTrafficPolicyBase::createCounterStatusHelper(bool) {
    SHOW_TRACE_ENTRY();
    return readerOf(status());
}

PolicyStatusPtr ShowTrafficPolicyBase::getPolicyMapStatus(const Orb::String& policyName) {
    SHOW_TRACE_ENTRY();
    return status() ? status()->policyMapStatus(policyName) : nullptr;
}

void ShowTrafficPolicyBase::cachePolicyMapStatus(const PolicyStatusPtr& policyStatus) {
    SHOW_TRACE_ENTRY();
    if (!policyStatus) return;
    inputDirection.statusIs(*getOrCreatePolicyState(policyStatus->name()), policyStatus);
}

void ShowTrafficPolicyBase::cacheClassMapStatus(const Orb::String& policyName, U32 index,
                                                const RuleStatusPtr& cmapStatus) {
    SHOW_TRACE_ENTRY();
    if (cmapStatus) inputDirection.ruleIs(*getOrCreatePolicyState(policyName), index, cmapStatus);
}

void ShowTrafficPolicyBase::cacheFieldSetState() {
    SHOW_TRACE_ENTRY();
    ORB_ASSERT(fieldSetConfig());
    gatherFieldSets(*fieldSetState(), *fieldSetConfig());
}

void ShowTrafficPolicyBase::cacheClassState(
    const Orb::Ptr<const PolicyMap::PolicyMapSubConfig>& currCfg) {
    SHOW_TRACE_ENTRY();
    gatherRules(*this, *currCfg, otherDirection());
}

OtherDirection ShowTrafficPolicyBase::otherDirection() const { return {}; }

void ShowTrafficPolicyBase::renderPolicyView(const Kind& kind, std::string_view note, U32 fd,
                                             U32 format, U32 revision) {
    const auto rules = [&](textout::RendererV2& renderer,
                           const Orb::Ptr<const PolicyState>& policyState, U32 indent) {
        renderRules(&renderer, policyState, indent, format, revision);
    };
    printReport(fd, format, revision, [&](textout::RendererV2& renderer) {
        renderPolicies(
            renderer, policyState(), kind,
            {policyJsonDictKeyword(), policyFeatureName(), policyName(), errors(), note, rules});
    });
}

void ShowTrafficPolicyBase::renderRules(textout::RendererV2* renderer,
                                        const Orb::Ptr<const PolicyState>& policyState, U32 indent,
                                        U32, U32) {
    SHOW_TRACE_ENTRY();
    TrafficPolicyCli::renderRules(
        *renderer, policyState, *fieldSetState(), indent,
        [&](const Orb::String& ruleName, U32 ruleIndex, U32 actionIndent) {
            renderActions(renderer, ruleName, ruleIndex, policyState, actionIndent);
        });
}

void ShowTrafficPolicyBase::renderActions(textout::RendererV2* renderer,
                                          const Orb::String& ruleName, U32 ruleIndex,
                                          const Orb::Ptr<const PolicyState>& policyState,
                                          U32 indent) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << ruleName << " " << ruleIndex);
    const auto renderCount = [&](const Orb::Ptr<const PolicyMap::Action>& action) {
        renderCountAction(renderer, ruleIndex, policyState, action, indent);
    };
    // By reference, because a copy of the lambda would be an allocation per rule.
    TrafficPolicyCli::renderActions(*renderer, *policyState, ruleName, ruleIndex, indent,
                                    std::ref(renderCount));
}

}  // namespace TrafficPolicyCli
