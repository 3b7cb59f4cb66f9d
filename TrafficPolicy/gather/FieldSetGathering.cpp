#include "gather/FieldSetGathering.h"

namespace TrafficPolicyCli {

namespace {

// Calls count(name, version) for every set that has a current version.
template <class Sets, class Count>
void countEach(const Sets& sets, Count count) {
    for (const auto& [name, set] : sets) {
        if (set->currCfg()) count(name, *set->currCfg());
    }
}

void countPrefixes(PrefixFieldSetState& state,
                   const Classification::FieldSetIpPrefixSubConfig& version) {
    state.totalAcceptPrefixesIs(version.prefixes().size());
    state.totalExceptPrefixesIs(version.exceptPrefixes().size());
}

}  // namespace

void gatherFieldSets(FieldSetState& sizes, const Classification::FieldSetConfig& config) {
    countEach(config.fieldSetL4Port(), [&](const auto& name, const auto& version) {
        sizes.l4PortFieldSetIs(name)->totalEntriesIs(version.numPorts());
    });
    countEach(config.fieldSetIpPrefix(), [&](const auto& name, const auto& version) {
        countPrefixes(*sizes.ipPrefixFieldSetIs(name), version);
    });
    countEach(config.fieldSetIpv6Prefix(), [&](const auto& name, const auto& version) {
        countPrefixes(*sizes.ipv6PrefixFieldSetIs(name), version);
    });
    countEach(config.fieldSetVlan(), [&](const auto& name, const auto& version) {
        sizes.vlanFieldSetIs(name)->totalEntriesIs(version.numVlans());
    });
}

}  // namespace TrafficPolicyCli
