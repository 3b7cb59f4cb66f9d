// The counters of one direction in a counter store: looked up by name, or walked policy by policy.
#pragma once

#include <vector>

#include "reef/Direction.h"
#include "reef/StoreManager.h"

namespace Reef {
struct PolicyEntry;
}

namespace PolicyMap::Counters {

// The key of one policy's counters.
struct PolicyMapKey {
    Orb::String policyName;
};

// The counters of one policy as they were when they were read.
struct PolicyMapCounters {
    std::vector<Orb::Ptr<const PacketDataStatus>> namedCounter;
    std::vector<Orb::Ptr<const PacketDataStatus>> classCounter;
};

// Every operation reads the store and may throw Cairn::CorruptionDetectedException: its caller
// hands the exception's message and manager() to ReefValueMapBase::handleCorruptionDetected. Every
// record is copied once; one that is not available is left out, and counted by
// manager()->recordsNotAvailable(). A policy that the store does not have has no counters.
class ORB_EXPORT PolicyMapTypeCounters : public Orb::PtrInterface {
    ORB_TYPE(PolicyMapTypeCounters)
    ORB_CONSTRUCTIBLE(PolicyMapTypeCounters, Orb::Ptr<Reef::StoreManager>, Direction)
    ORB_KEY(manager, Orb::Ptr<Reef::StoreManager>)
    ORB_KEY(direction, Direction)

    PolicyMapTypeCounters(Orb::Ptr<Reef::StoreManager> manager, Direction direction);
    ~PolicyMapTypeCounters() override;

    // All policies of the direction, ascending by name.
    std::vector<PolicyMapKey> policyMapKeys() const;
    PolicyMapCounters policyMapCounters(const PolicyMapKey& key) const;

    // The record of a rule or of a named counter, the latter with its interfaces; null when the
    // store has none, or when it is not available.
    Orb::Ptr<const PacketDataStatus> classCounterData(const Orb::String& policyName,
                                                      const Orb::String& className) const;
    Orb::Ptr<const PacketDataStatus> namedCounterData(const Orb::String& policyName,
                                                      const Orb::String& counterName) const;
    // How many the store has of them, whether available or not.
    U32 numClasses(const Orb::String& policyName) const;
    U32 numNamedCounters(const Orb::String& policyName) const;
    // Whether it has a rule's record, and of which interfaces a named counter's (nothing: it has no
    // such counter), whether available or not.
    bool hasClassCounter(const Orb::String& policyName, const Orb::String& className) const;
    std::optional<std::set<Wire::IntfId>> namedCounterIntfs(const Orb::String& policyName,
                                                            const Orb::String& counterName) const;

  private:
    const Reef::PolicyEntry* policyOf(std::string_view name) const;
    Orb::Ptr<const PacketDataStatus> dataOf(U32 counter) const;

    // The policy that was asked for last: records are asked for policy by policy. A store that was
    // read never changes its directory.
    mutable const Reef::PolicyEntry* lastPolicy_ = nullptr;
};

}  // namespace PolicyMap::Counters
