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

// The snapshots that apply to live records; null: none does.
const TrafficPolicy::CounterVersion* ruleSnapshot(const Orb::Ptr<const Counter>& counter,
                                                  const PacketDataStatus& data,
                                                  const Orb::String& policyName) {
    const TrafficPolicy::CounterVersion* const version =
        counter ? counter->snapshot(CounterKeyView{policyName, data.name()}) : nullptr;
    return version != nullptr && version->uniqueId == data.uniqueId() ? version : nullptr;
}

const NamedCounterVersion* versionOf(const Orb::Ptr<const Counter>& counter,
                                     const PacketDataStatus& data, const Orb::String& policyName) {
    return counter ? counter->namedSnapshot(CounterKeyView{policyName, data.name()}) : nullptr;
}

const PacketAndByte* namedSnapshot(const Orb::Ptr<const Counter>& counter,
                                   const PacketDataStatus& data, const Orb::String& policyName) {
    const NamedCounterVersion* const version = versionOf(counter, data, policyName);
    if (version == nullptr || version->uniqueId() != data.uniqueId()) return nullptr;
    return &version->totalCount();
}

const PacketAndByte* interfaceSnapshot(const Orb::Ptr<const Counter>& counter,
                                       const PacketDataStatus& data, const IntfCountData& intfData,
                                       const Orb::String& policyName) {
    const NamedCounterVersion* const version = versionOf(counter, data, policyName);
    const IntfCountData* const snapshot =
        version != nullptr ? version->perIntfCount(intfData.intfId()) : nullptr;
    if (snapshot == nullptr || snapshot->uniqueId() != intfData.uniqueId()) return nullptr;
    return &snapshot->countData();
}

U64 countOf(const PacketAndByte& counts, const PacketAndByte* snapshot,
            const PacketDataStatus& data, const Orb::String& policyName,
            U64 PacketAndByte::*member) {
    const U64 live = counts.*member;
    if (snapshot == nullptr) return live;
    return since(snapshot->*member, live, policyName, ", counter ", data.name());
}

bool isBelow(const PacketAndByte& counts, const PacketAndByte* snapshot, bool countsBytes) {
    return snapshot != nullptr &&
           (counts.packets < snapshot->packets || (countsBytes && counts.bytes < snapshot->bytes));
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
    const auto* const snapshot = ruleSnapshot(counter, *data, policyName);
    if (snapshot == nullptr) return live;
    return since(snapshot->packets, live, policyName, ", class ", data->name());
}

U64 getNamedPacketCount(const Orb::Ptr<const Counter>& counter,
                        const Orb::Ptr<const PacketDataStatus>& data,
                        const Orb::String& policyName) noexcept {
    return countOf(data->count(), namedSnapshot(counter, *data, policyName), *data, policyName,
                   &PacketAndByte::packets);
}

U64 getNamedByteCount(const Orb::Ptr<const Counter>& counter,
                      const Orb::Ptr<const PacketDataStatus>& data,
                      const Orb::String& policyName) noexcept {
    return countOf(data->count(), namedSnapshot(counter, *data, policyName), *data, policyName,
                   &PacketAndByte::bytes);
}

U64 getInterfacePacketCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                            const IntfCountData& intfData, const Orb::String& policyName) noexcept {
    SHOW_TRACE_ENTRY();
    return countOf(intfData.countData(), interfaceSnapshot(counter, data, intfData, policyName),
                   data, policyName, &PacketAndByte::packets);
}

U64 getInterfaceByteCount(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                          const IntfCountData& intfData, const Orb::String& policyName) noexcept {
    SHOW_TRACE_ENTRY();
    return countOf(intfData.countData(), interfaceSnapshot(counter, data, intfData, policyName),
                   data, policyName, &PacketAndByte::bytes);
}

bool isRuleBelowSnapshot(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                         const Orb::String& policyName) noexcept {
    const auto* const snapshot = ruleSnapshot(counter, data, policyName);
    return snapshot != nullptr && data.count().packets < snapshot->packets;
}

bool isNamedBelowSnapshot(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                          const Orb::String& policyName, bool countsBytes) noexcept {
    return isBelow(data.count(), namedSnapshot(counter, data, policyName), countsBytes);
}

bool isInterfaceBelowSnapshot(const Orb::Ptr<const Counter>& counter, const PacketDataStatus& data,
                              const IntfCountData& intfData, const Orb::String& policyName,
                              bool countsBytes) noexcept {
    return isBelow(intfData.countData(), interfaceSnapshot(counter, data, intfData, policyName),
                   countsBytes);
}

}  // namespace TrafficPolicyCli
