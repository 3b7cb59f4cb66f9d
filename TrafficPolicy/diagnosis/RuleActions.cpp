// A rule is put alone into a record, as the gathering would have put all of the policy, because a
// question is about one rule of many.
#include "diagnosis/RuleActions.h"

#include "counters/CounterLookup.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

constexpr auto keyword = "trafficPolicies";
constexpr auto heading = "Traffic policy ";
constexpr bool notAsked = false;

Orb::Ptr<ShowTrafficPolicyBase> showOf(const DiagnosisSources& sources,
                                       const Attachment& attachment, bool isAnywhere, bool detail) {
    const auto& hardware = sources.trafficPolicyHwStatus;
    const bool countsBytes = hardware && hardware->byteCountersSupported();
    const Place place = isAnywhere ? Place::vlan : attachment.place;
    if (place == Place::vlan) {
        return showTrafficPolicyVAclFactory(keyword, heading, sources.config, sources.vlan.status,
                                            nullptr, attachment.policy, notAsked, notAsked, detail,
                                            notAsked, countsBytes, sources.fieldSetConfig, hardware,
                                            nullptr, sources.intfConfigBridged);
    }
    if (place == Place::cpu) {
        return showTrafficPolicyCpuFactory(
            keyword, heading, sources.config, sources.cpu.status, sources.cpu.counter,
            attachment.policy, notAsked, notAsked, detail, notAsked, countsBytes,
            sources.fieldSetConfig, hardware, nullptr, sources.vrfConfig, sources.allVrfConfig,
            sources.l3IntfStatusDir, sources.kernel.status);
    }
    return showTrafficPolicyInterfaceFactory(
        keyword, heading, sources.config, sources.input.status, sources.input.counter,
        attachment.policy, notAsked, notAsked, detail, notAsked, countsBytes,
        sources.fieldSetConfig, hardware, sources.input.policyMapCounters, sources.output.status,
        sources.output.counter, sources.intfConfigInput, sources.intfConfigOutput, nullptr,
        sources.output.policyMapCounters, place == Place::input, place == Place::output);
}

const SideSources& sideOf(const DiagnosisSources& sources, Place place) {
    switch (place) {
        case Place::input:
            return sources.input;
        case Place::output:
            return sources.output;
        case Place::cpu:
            return sources.cpu;
        case Place::vlan:
            break;
    }
    return sources.vlan;
}

}  // namespace

RuleActions::RuleActions(const DiagnosisSources& sources, const Attachment& attachment,
                         bool isAnywhere, bool detail)
    : show_(showOf(sources, attachment, isAnywhere, detail)),
      config_(sources.config ? sources.config->policyMapConfig(attachment.policy) : nullptr),
      policy_(attachment.policy),
      isOutput_(attachment.place == Place::output),
      detail_(detail),
      side_(sideOf(sources, attachment.place)) {
    const bool isCounted = !isAnywhere && attachment.place != Place::vlan;
    if (isCounted) reader_ = show_->createCounterStatusHelper(!isOutput_);
}

const PolicyMap::CountAction* RuleActions::countActionOf(const Orb::String& ruleName) const {
    if (!config_ || !config_->currCfg()) return nullptr;
    const auto* const actions = config_->currCfg()->policyAction().find(ruleName);
    const auto* const action =
        actions == nullptr ? nullptr : (*actions)->action().find(PolicyMap::ActionType::count);
    return action == nullptr ? nullptr : static_cast<const PolicyMap::CountAction*>(action->get());
}

Orb::Ptr<const PolicyMap::PacketDataStatus> RuleActions::liveRecord(
    const Orb::String& ruleName) const {
    const PolicyMap::CountAction* const count = countActionOf(ruleName);
    if (count == nullptr || !reader_) return nullptr;
    const PolicyMap::PolicyMapSmKey key{policy_, ""};
    const Orb::String& counterName = count->counterName();
    if (counterName.empty()) return reader_->classCounterData(key, ruleName);
    const bool isDeclared = config_->currCfg()->namedCounter().contains(counterName);
    return isDeclared ? reader_->namedCounterData(key, counterName) : nullptr;
}

const PolicyMap::ClassMapStatus* RuleActions::statusOf(const Orb::String& ruleName) const {
    const auto* const status = side_.status ? side_.status->policyMapStatus(policy_) : nullptr;
    return status == nullptr ? nullptr : status->classMapStatus(ruleName);
}

std::optional<U64> RuleActions::livePackets(const Orb::String& ruleName) const {
    const auto record = statusOf(ruleName) == nullptr ? nullptr : liveRecord(ruleName);
    if (!record) return std::nullopt;
    return countActionOf(ruleName)->counterName().empty()
               ? getRulePacketCount(record, side_.counter, policy_)
               : getNamedPacketCount(side_.counter, record, policy_);
}

void RuleActions::render(textout::RendererV2& renderer, const Orb::String& ruleName, U32 indent) {
    if (!config_ || !config_->currCfg()) return;
    const auto record = show_->getOrCreatePolicyState(policy_);
    record->policyMapConfigIs(config_);
    record->detailIs(detail_);
    record->indentCountPerLevelIs(3U);
    for (const Orb::String& name : config_->currCfg()->namedCounter()) {
        record->namedCounterIs(name, true);
    }
    // A rule that the platform did not take has a status of its own here, and no count.
    const auto* const taken = statusOf(ruleName);
    const Orb::Ptr<const PolicyMap::ClassMapStatus> ruleStatus =
        taken != nullptr ? Orb::Ptr<const PolicyMap::ClassMapStatus>(taken)
                         : Orb::make<PolicyMap::ClassMapStatus>(ruleName);
    const auto live = taken != nullptr ? liveRecord(ruleName) : nullptr;
    if (isOutput_) {
        auto& onInterface = static_cast<PolicyStateInterface&>(*record);
        onInterface.counterOutputIs(side_.counter);
        onInterface.classMapStatusOutputIs(0, ruleStatus);
        if (live) {
            onInterface.outputClassCountersIs(live->name(), live);
            onInterface.outputNamedCountersIs(live->name(), live);
        }
    } else {
        record->counterIs(side_.counter);
        record->classMapStatusInputIs(0, ruleStatus);
        if (live) {
            record->inputClassCountersIs(live->name(), live);
            record->inputNamedCountersIs(live->name(), live);
        }
    }
    show_->renderActions(&renderer, ruleName, 0, record, indent);
}

}  // namespace TrafficPolicyCli::Diagnosis
