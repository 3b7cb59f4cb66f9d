#include "counters/CounterLookup.h"

#include "frame/Trace.h"

namespace TrafficPolicyCli {

using PolicyMap::IntfCountData;
using PolicyMap::PacketAndByte;
using PolicyMap::PacketDataStatus;
using TrafficPolicy::Counter;
using TrafficPolicy::CounterKeyView;
using TrafficPolicy::NamedCounterVersion;

namespace {

// kind: ", class " or ", counter ", with the name that goes behind it.
U64 since(U64 snapshot, U64 live, const Orb::String& policyName, std::string_view kind,
          const Orb::String& name) {
    if (live >= snapshot) return live - snapshot;
    SHOW_TRACE(1,
               "Counter value for policy " << policyName << kind << name << " has moved backwards");
    return 0;
}

const NamedCounterVersion* versionOf(const Orb::Ptr<const Counter>& counter,
                                     const PacketDataStatus& data, const Orb::String& policyName) {
    return counter ? counter->namedSnapshot(CounterKeyView{policyName, data.name()}) : nullptr;
}

U64 namedCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
               const Orb::String& policyName, U64 PacketAndByte::*member) {
    const U64 live = data.count().*member;
    const NamedCounterVersion* const version = versionOf(counter, data, policyName);
    if (version == nullptr || version->uniqueId() != data.uniqueId()) return live;
    return since(version->totalCount().*member, live, policyName, ", counter ", data.name());
}

U64 interfaceCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                   const IntfCountData& intfData, const Orb::String& policyName,
                   U64 PacketAndByte::*member) {
    const U64 live = intfData.countData().*member;
    const NamedCounterVersion* const version = versionOf(counter, data, policyName);
    const IntfCountData* const snapshot =
        version != nullptr ? version->perIntfCount(intfData.intfId()) : nullptr;
    if (snapshot == nullptr || snapshot->uniqueId() != intfData.uniqueId()) return live;
    return since(snapshot->countData().*member, live, policyName, ", counter ", data.name());
}

}  // namespace

Orb::Ptr<const PacketDataStatus> getUnnamedCounterData(const PolicyState& policyState,
                                                       const Direction& direction,
                                                       const Orb::String& className,
                                                       U32 ruleIndex) {
    const auto* const record = direction.classCounters(policyState).find(className, ruleIndex);
    return record == nullptr ? nullptr : *record;
}

Orb::Ptr<const PacketDataStatus> getNamedCounterData(const PolicyState& policyState,
                                                     const Direction& direction,
                                                     const Orb::String& counterName) {
    const auto* const record = direction.namedCounters(policyState).find(counterName);
    return record == nullptr ? nullptr : *record;
}

U64 getRulePacketCount(const Orb::Ptr<const PacketDataStatus>& data,
                       const Orb::Ptr<const Counter>& counter,
                       const Orb::String& policyName) noexcept {
    const U64 live = data->count().packets;
    const TrafficPolicy::CounterVersion* const version =
        counter ? counter->snapshot(CounterKeyView{policyName, data->name()}) : nullptr;
    if (version == nullptr || version->uniqueId != data->uniqueId()) return live;
    return since(version->packets, live, policyName, ", class ", data->name());
}

U64 getNamedPacketCount(const Orb::Ptr<const Counter>& counter,
                        const Orb::Ptr<const PacketDataStatus>& data,
                        const Orb::String& policyName) noexcept {
    return namedCount(counter, *data, policyName, &PacketAndByte::packets);
}

U64 getNamedByteCount(const Orb::Ptr<const Counter>& counter,
                      const Orb::Ptr<const PacketDataStatus>& data,
                      const Orb::String& policyName) noexcept {
    return namedCount(counter, *data, policyName, &PacketAndByte::bytes);
}

U64 getInterfacePacketCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                            const IntfCountData& intfData, const Orb::String& policyName) noexcept {
    SHOW_TRACE_ENTRY();
    return interfaceCount(counter, data, intfData, policyName, &PacketAndByte::packets);
}

U64 getInterfaceByteCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                          const IntfCountData& intfData, const Orb::String& policyName) noexcept {
    SHOW_TRACE_ENTRY();
    return interfaceCount(counter, data, intfData, policyName, &PacketAndByte::bytes);
}

}  // namespace TrafficPolicyCli
