// Counts the entries of every configured field set, so that the views need not count while
// printing.
#include "frame/Trace.h"
#include "orb/Assert.h"
#include "traffic-policy/ShowTrafficPolicy.h"

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

void ShowTrafficPolicyBase::cacheFieldSetState() {
    SHOW_TRACE_ENTRY();
    ORB_ASSERT(fieldSetConfig());
    countEach(fieldSetConfig()->fieldSetL4Port(), [this](const auto& name, const auto& version) {
        fieldSetState()->l4PortFieldSetIs(name)->totalEntriesIs(version.numPorts());
    });
    countEach(fieldSetConfig()->fieldSetIpPrefix(), [this](const auto& name, const auto& version) {
        countPrefixes(*fieldSetState()->ipPrefixFieldSetIs(name), version);
    });
    countEach(fieldSetConfig()->fieldSetIpv6Prefix(),
              [this](const auto& name, const auto& version) {
                  countPrefixes(*fieldSetState()->ipv6PrefixFieldSetIs(name), version);
              });
    countEach(fieldSetConfig()->fieldSetVlan(), [this](const auto& name, const auto& version) {
        fieldSetState()->vlanFieldSetIs(name)->totalEntriesIs(version.numVlans());
    });
}

}  // namespace TrafficPolicyCli
