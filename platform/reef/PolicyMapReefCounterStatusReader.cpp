#include "reef/PolicyMapReefCounterStatusReader.h"

#include "reef/CorruptionDetectedException.h"
#include "reef/ReefValueMapBase.h"

namespace PolicyMap {

ORB_DEFINE_TYPE(PolicyMapReefCounterStatusReader)

namespace {

// What read() gives for the store; a value of nothing when there is no store that can be read.
template <class Read>
auto readOrNothing(const Orb::Ptr<const Counters::PolicyMapTypeCounters>& counters,
                   const Read& read) -> decltype(read(*counters)) {
    if (!counters || !counters->manager()->damage().empty()) return {};
    try {
        return read(*counters);
    } catch (const Cairn::CorruptionDetectedException& exception) {
        ReefValueMapBase::handleCorruptionDetected(exception.what(), counters->manager());
        return {};
    }
}

}  // namespace

PolicyMapReefCounterStatusReader::PolicyMapReefCounterStatusReader(
    Orb::Ptr<const Counters::PolicyMapTypeCounters> counters)
    : counters_(std::move(counters)) {}

PolicyMapReefCounterStatusReader::~PolicyMapReefCounterStatusReader() = default;

Orb::Ptr<const PacketDataStatus> PolicyMapReefCounterStatusReader::classCounterData(
    const PolicyMapSmKey& key, const Orb::String& className) const {
    return readOrNothing(counters_, [&](const auto& counters) {
        return counters.classCounterData(key.policyName, className);
    });
}

Orb::Ptr<const PacketDataStatus> PolicyMapReefCounterStatusReader::namedCounterData(
    const PolicyMapSmKey& key, const Orb::String& counterName) const {
    return readOrNothing(counters_, [&](const auto& counters) {
        return counters.namedCounterData(key.policyName, counterName);
    });
}

U32 PolicyMapReefCounterStatusReader::numClasses(const PolicyMapSmKey& key) const {
    return readOrNothing(counters_,
                         [&](const auto& counters) { return counters.numClasses(key.policyName); });
}

U32 PolicyMapReefCounterStatusReader::numNamedCounters(const PolicyMapSmKey& key) const {
    return readOrNothing(
        counters_, [&](const auto& counters) { return counters.numNamedCounters(key.policyName); });
}

bool PolicyMapReefCounterStatusReader::hasClassCounter(const PolicyMapSmKey& key,
                                                       const Orb::String& className) const {
    return counters_ && counters_->hasClassCounter(key.policyName, className);
}

std::optional<std::set<Wire::IntfId>> PolicyMapReefCounterStatusReader::namedCounterIntfs(
    const PolicyMapSmKey& key, const Orb::String& counterName) const {
    if (!counters_) return std::nullopt;
    return counters_->namedCounterIntfs(key.policyName, counterName);
}

}  // namespace PolicyMap
