// The number that is shown for a counter: its live value less what it was at the last clear. A
// snapshot counts only while the live record is the one that was cleared, and a live value below
// its snapshot is shown as 0. A null snapshot store reads as never cleared. Nothing here throws.
#pragma once

#include "model/Side.h"

namespace TrafficPolicyCli {

// The live record of a rule, or of a named counter, that was gathered for the direction; null when
// there is none. ruleIndex: of the rule, where the record is looked for first.
Orb::Ptr<const PolicyMap::PacketDataStatus> getUnnamedCounterData(const PolicyState& policyState,
                                                                  const Direction& direction,
                                                                  const Orb::String& className,
                                                                  U32 ruleIndex);
Orb::Ptr<const PolicyMap::PacketDataStatus> getNamedCounterData(const PolicyState& policyState,
                                                                const Direction& direction,
                                                                const Orb::String& counterName);

// The packets of a rule.
U64 getRulePacketCount(const Orb::Ptr<const PolicyMap::PacketDataStatus>& data,
                       const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                       const Orb::String& policyName) noexcept;
// The packets, and bytes, of a named counter in total.
U64 getNamedPacketCount(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                        const Orb::Ptr<const PolicyMap::PacketDataStatus>& data,
                        const Orb::String& policyName) noexcept;
U64 getNamedByteCount(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                      const Orb::Ptr<const PolicyMap::PacketDataStatus>& data,
                      const Orb::String& policyName) noexcept;
// The same of one interface of a named counter; its snapshot has an identity of its own.
U64 getInterfacePacketCount(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                            const PolicyMap::PacketDataStatus& data,
                            const PolicyMap::IntfCountData& intfData,
                            const Orb::String& policyName) noexcept;
U64 getInterfaceByteCount(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                          const PolicyMap::PacketDataStatus& data,
                          const PolicyMap::IntfCountData& intfData,
                          const Orb::String& policyName) noexcept;

// Whether a live count that is shown as 0 is below its snapshot. countsBytes: bytes are shown too.
bool isRuleBelowSnapshot(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                         const PolicyMap::PacketDataStatus& data,
                         const Orb::String& policyName) noexcept;
bool isNamedBelowSnapshot(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                          const PolicyMap::PacketDataStatus& data, const Orb::String& policyName,
                          bool countsBytes) noexcept;
bool isInterfaceBelowSnapshot(const Orb::Ptr<const TrafficPolicy::Counter>& counter,
                              const PolicyMap::PacketDataStatus& data,
                              const PolicyMap::IntfCountData& intfData,
                              const Orb::String& policyName, bool countsBytes) noexcept;

}  // namespace TrafficPolicyCli
