// The counts of one record, as live counters and snapshots hold them.
#pragma once

#include "hive/PolicyMapStatus.h"
#include "state/Values.h"

namespace StateDirectory {

struct Counts {
    Keel::UniqueId uniqueId;
    PolicyMap::PacketAndByte count;
};

inline Keel::UniqueId readUniqueId(const Node& node) { return {node.number({1, ~U64{0}})}; }
inline U64 readCount(const Node& node) { return node.number({}); }

inline void writeUniqueId(Writer& writer, Keel::UniqueId uniqueId) {
    if (uniqueId.value == 0) throw StateError("counts without an identity, expected one");
    writer.number(uniqueId.value);
}

// The keys of counts, as rows of the table of any target that has them as its member `counts`.
template <class Target>
constexpr Key<Target> uniqueIdKey = {
    "uniqueId", [](const Node& node, Target& to) { to.counts.uniqueId = readUniqueId(node); },
    [](Writer& writer, const Target& from) { writeUniqueId(writer, from.counts.uniqueId); },
    Presence::required};
template <class Target>
constexpr Key<Target> packetsKey = {
    "packets", [](const Node& node, Target& to) { to.counts.count.packets = readCount(node); },
    [](Writer& writer, const Target& from) { writer.number(from.counts.count.packets); }};
template <class Target>
constexpr Key<Target> bytesKey = {
    "bytes", [](const Node& node, Target& to) { to.counts.count.bytes = readCount(node); },
    [](Writer& writer, const Target& from) { writer.number(from.counts.count.bytes); }};

struct IntfCounts {
    Counts counts;
};
inline constexpr Key<IntfCounts> intfCountsKeys[] = {uniqueIdKey<IntfCounts>,
                                                     packetsKey<IntfCounts>, bytesKey<IntfCounts>};

// A record with its breakdown by interface, whose entries are IntfCountData or const of it.
template <class IntfData>
struct RecordParts {
    using PerIntf = Orb::RbTreeMap<Wire::IntfId, Orb::Ptr<IntfData>>;
    Counts counts;
    PerIntf perIntfCount;
};

template <class IntfData>
constexpr Key<RecordParts<IntfData>> recordKeys[] = {
    uniqueIdKey<RecordParts<IntfData>>,
    packetsKey<RecordParts<IntfData>>,
    bytesKey<RecordParts<IntfData>>,
    {"perIntfCount",
     [](const Node& node, RecordParts<IntfData>& to) {
         to.perIntfCount = readMap<typename RecordParts<IntfData>::PerIntf>(
             node, intfKey, [](const Node& member, const Wire::IntfId& intfId) {
                 IntfCounts parts;
                 readObject(member, intfCountsKeys, parts);
                 auto data = Orb::make<PolicyMap::IntfCountData>(intfId, parts.counts.uniqueId);
                 data->countDataIs(parts.counts.count);
                 return Orb::Ptr<IntfData>(data);
             });
     },
     [](Writer& writer, const RecordParts<IntfData>& from) {
         writeMap(writer, from.perIntfCount, [&](const auto& data) {
             writeObject(writer, intfCountsKeys, {{data->uniqueId(), data->countData()}});
         });
     }},
};

template <class IntfData>
RecordParts<IntfData> readRecord(const Node& node) {
    RecordParts<IntfData> parts;
    readObject(node, recordKeys<IntfData>, parts);
    return parts;
}

}  // namespace StateDirectory
