// Prints the actions of single rules as the policy views do, with their live counts.
#pragma once

#include "diagnosis/Attachments.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli::Diagnosis {

class RuleActions {
  public:
    // What is counted at the attachment's place is shown; isAnywhere: nothing is, as the policy is
    // asked wherever it is.
    RuleActions(const DiagnosisSources& sources, const Attachment& attachment, bool isAnywhere,
                bool detail);

    // The object "actions" of the rule, or lines that begin at the column. Nothing for a rule
    // without actions.
    void render(textout::RendererV2& renderer, const Orb::String& ruleName, U32 indent);

    // The packets that the rule's own counter, or the counter that it counts into, has counted
    // since the last clear; nothing when it counts nowhere, or there is no live record.
    std::optional<U64> livePackets(const Orb::String& ruleName) const;

  private:
    const PolicyMap::CountAction* countActionOf(const Orb::String& ruleName) const;
    const PolicyMap::ClassMapStatus* statusOf(const Orb::String& ruleName) const;
    // Null when the rule counts nowhere, or the platform has no such record.
    Orb::Ptr<const PolicyMap::PacketDataStatus> liveRecord(const Orb::String& ruleName) const;

    Orb::Ptr<ShowTrafficPolicyBase> show_;
    Orb::Ptr<const PolicyMap::PolicyMapConfig> config_;
    Orb::Ptr<const CounterReader> reader_;
    Orb::String policy_;
    bool isOutput_;
    bool detail_;
    const SideSources& side_;
};

}  // namespace TrafficPolicyCli::Diagnosis
