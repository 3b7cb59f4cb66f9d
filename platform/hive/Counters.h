// Live counter records, the readers over the stores that hold them, and the snapshots that a clear
// leaves. Counts are unsigned 64-bit numbers of packets and bytes.
#pragma once

#include <optional>
#include <set>
#include <string_view>

#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "orb/Seconds.h"
#include "orb/Type.h"
#include "wire/IntfId.h"

namespace Keel {

// The identity of a live record; a record that is created anew gets another. 0 is no identity.
struct UniqueId {
    U64 value = 0;
    friend auto operator<=>(const UniqueId&, const UniqueId&) = default;
    Orb::String stringValue() const { return std::to_string(value); }
};

}  // namespace Keel

namespace PolicyMap {

class PolicyMapStatus;
class PolicyMapTypeStatus;

struct PacketAndByte {
    U64 packets = 0;
    U64 bytes = 0;
    friend bool operator==(const PacketAndByte&, const PacketAndByte&) = default;
    Orb::String stringValue() const {
        return std::to_string(packets) + " packets " + std::to_string(bytes) + " bytes";
    }
};

// The counts of one interface within a counter, with the identity of their own record.
class ORB_EXPORT IntfCountData : public Orb::PtrInterface {
    ORB_TYPE(IntfCountData)
    ORB_CONSTRUCTIBLE(IntfCountData, Wire::IntfId, Keel::UniqueId)
    ORB_KEY(intfId, Wire::IntfId)
    ORB_KEY(uniqueId, Keel::UniqueId)
    ORB_ATTRIBUTE(countData, PacketAndByte)

    IntfCountData(Wire::IntfId intfId, Keel::UniqueId uniqueId)
        : intfId_(std::move(intfId)), uniqueId_(uniqueId) {}
};

// One live counter record: of a rule (named after it) or of a named counter.
class ORB_EXPORT PacketDataStatus : public Orb::PtrInterface {
    ORB_TYPE(PacketDataStatus)
    ORB_CONSTRUCTIBLE(PacketDataStatus, Orb::Name, Keel::UniqueId)
    ORB_KEY(name, Orb::Name)
    ORB_KEY(uniqueId, Keel::UniqueId)
    ORB_ATTRIBUTE(count, PacketAndByte)
    ORB_ATTRIBUTE(perIntfCount, Orb::RbTreeMap<Wire::IntfId, Orb::Ptr<const IntfCountData>>)

    PacketDataStatus(Orb::Name name, Keel::UniqueId uniqueId)
        : name_(std::move(name)), uniqueId_(uniqueId) {}
};

// The key of one policy in a reader; the second string is empty for traffic policies.
struct PolicyMapSmKey {
    Orb::String policyName;
    Orb::String instance;
};

// Reads the counter records of one store.
class ORB_EXPORT PolicyMapCounterStatusReaderBase : public Orb::PtrInterface {
    ORB_TYPE(PolicyMapCounterStatusReaderBase)

    // The live record of a rule or of a named counter; null when the store has none.
    virtual Orb::Ptr<const PacketDataStatus> classCounterData(
        const PolicyMapSmKey& key, const Orb::String& className) const = 0;
    virtual Orb::Ptr<const PacketDataStatus> namedCounterData(
        const PolicyMapSmKey& key, const Orb::String& counterName) const = 0;
    // How many rule records, and named ones, the store has of a policy.
    virtual U32 numClasses(const PolicyMapSmKey& key) const = 0;
    virtual U32 numNamedCounters(const PolicyMapSmKey& key) const = 0;
    // Whether the store has a record of the rule, and which interfaces it has of a named counter
    // (nothing: no such counter), be their counts available or not.
    virtual bool hasClassCounter(const PolicyMapSmKey& key, const Orb::String& className) const;
    virtual std::optional<std::set<Wire::IntfId>> namedCounterIntfs(
        const PolicyMapSmKey& key, const Orb::String& counterName) const;
};

// Over the status tree of the state database. A null tree reads as empty.
class ORB_EXPORT PolicyMapHiveCounterStatusReader : public PolicyMapCounterStatusReaderBase {
    ORB_DERIVED_TYPE(PolicyMapHiveCounterStatusReader, PolicyMapCounterStatusReaderBase)
    ORB_CONSTRUCTIBLE(PolicyMapHiveCounterStatusReader, Orb::Ptr<const PolicyMapTypeStatus>)
    ORB_KEY(status, Orb::Ptr<const PolicyMapTypeStatus>)

    explicit PolicyMapHiveCounterStatusReader(Orb::Ptr<const PolicyMapTypeStatus> status);
    ~PolicyMapHiveCounterStatusReader() override;
    // A new reader, marked notification-active.
    static Orb::Ptr<PolicyMapHiveCounterStatusReader> PolicyMapHiveCounterStatusReaderIs(
        const Orb::Ptr<const PolicyMapTypeStatus>& status);

    Orb::Ptr<const PacketDataStatus> classCounterData(const PolicyMapSmKey& key,
                                                      const Orb::String& className) const override;
    Orb::Ptr<const PacketDataStatus> namedCounterData(
        const PolicyMapSmKey& key, const Orb::String& counterName) const override;
    U32 numClasses(const PolicyMapSmKey& key) const override;
    U32 numNamedCounters(const PolicyMapSmKey& key) const override;

  private:
    const PolicyMapStatus* policyOf(const PolicyMapSmKey& key) const;

    // The policy that was asked for last, valid while the tree has this change count, and where its
    // next rule is likely to be: records are asked for policy by policy, rule by rule.
    mutable const PolicyMapStatus* lastPolicy_ = nullptr;
    mutable U64 lastChangeCount_ = 0;
    mutable U32 nextClass_ = 0;
};

}  // namespace PolicyMap

namespace TrafficPolicy {

// The names by which a snapshot is kept. A view of them finds it without copying a string.
struct CounterKeyView {
    std::string_view policyName;
    std::string_view counterName;
    U64 hashValue() const { return Orb::hashOf(policyName) * 31 + Orb::hashOf(counterName); }
};

struct CounterKey {
    Orb::String policyName;
    Orb::String className;
    friend auto operator<=>(const CounterKey&, const CounterKey&) = default;
    friend bool operator==(const CounterKey&, const CounterKey&) = default;
    friend bool operator==(const CounterKey& key, const CounterKeyView& view) {
        return key.policyName == view.policyName && key.className == view.counterName;
    }
    U64 hashValue() const { return CounterKeyView{policyName, className}.hashValue(); }
    Orb::String stringValue() const { return policyName + "/" + className; }
};

struct NamedCounterKey {
    Orb::String policyName;
    Orb::String counterName;
    friend auto operator<=>(const NamedCounterKey&, const NamedCounterKey&) = default;
    friend bool operator==(const NamedCounterKey&, const NamedCounterKey&) = default;
    friend bool operator==(const NamedCounterKey& key, const CounterKeyView& view) {
        return key.policyName == view.policyName && key.counterName == view.counterName;
    }
    U64 hashValue() const { return CounterKeyView{policyName, counterName}.hashValue(); }
    Orb::String stringValue() const { return policyName + "/" + counterName; }
};

// A rule counter as it was when it was cleared: the identity of its record, and its packets.
struct CounterVersion {
    Keel::UniqueId uniqueId;
    U64 packets = 0;
    friend bool operator==(const CounterVersion&, const CounterVersion&) = default;
    Orb::String stringValue() const {
        return uniqueId.stringValue() + ": " + std::to_string(packets) + " packets";
    }
};

// A named counter as it was when it was cleared.
class ORB_EXPORT NamedCounterVersion : public Orb::PtrInterface {
    ORB_KEYED_TYPE(NamedCounterVersion, uniqueId, Keel::UniqueId)
    ORB_ATTRIBUTE(totalCount, PolicyMap::PacketAndByte)
    // perIntfCountIs(intfId, uniqueId) makes an entry with that identity.
    ORB_ATTRIBUTE(perIntfCount, Orb::RbTreeMap<Wire::IntfId, Orb::Ptr<PolicyMap::IntfCountData>>)
};

// A clear: when it was, and whose.
struct Clear {
    Orb::Seconds time{0};  // 0: never
    Orb::String user;      // empty: not known
    Orb::String terminal;  // as "pts/3"; empty: none, or not known
    bool isKnown() const { return time.count() > 0 && !user.empty(); }
    friend bool operator==(const Clear&, const Clear&) = default;
    Orb::String stringValue() const { return std::to_string(time.count()) + " " + user; }
};

// The snapshots of one target that the last clears left.
class ORB_EXPORT Counter : public Orb::PtrInterface {
    ORB_TYPE(Counter)
    ORB_CONSTRUCTIBLE(Counter)
    ORB_ATTRIBUTE(snapshot, Orb::HashMap2018<CounterKey, CounterVersion>)
    // namedSnapshotIs(key, uniqueId) makes an empty version with that identity.
    ORB_ATTRIBUTE(namedSnapshot, Orb::HashMap2018<NamedCounterKey, Orb::Ptr<NamedCounterVersion>>)
    ORB_ATTRIBUTE(timestamp, Orb::Seconds)  // of the last clear; 0: never cleared
    // Whose that clear was; empty: not known.
    ORB_ATTRIBUTE(user, Orb::String)
    ORB_ATTRIBUTE(terminal, Orb::String)
    // Of policies that were cleared alone since then.
    ORB_ATTRIBUTE(policyClear, Orb::HashMap2018<Orb::String, Clear>)

    // The last clear of a policy.
    Clear lastClear(const Orb::String& policyName) const {
        const Clear* const own = policyClear(policyName);
        return own != nullptr ? *own : Clear{timestamp(), user(), terminal()};
    }
};

}  // namespace TrafficPolicy
