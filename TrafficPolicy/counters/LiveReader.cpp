#include "counters/LiveReader.h"

#include "reef/PolicyMapReefCounterStatusReader.h"

namespace TrafficPolicyCli {

Orb::Ptr<const PolicyMap::PolicyMapCounterStatusReaderBase> liveReaderOf(
    const DiagnosisSources& sources, const SideSources& side) {
    if (&side != &sources.cpu) {
        if (!sources.trafficPolicyHwStatus) return nullptr;
        if (sources.trafficPolicyHwStatus->countersInReef()) {
            return Orb::make<PolicyMap::PolicyMapReefCounterStatusReader>(side.policyMapCounters);
        }
    }
    return PolicyMap::PolicyMapHiveCounterStatusReader::PolicyMapHiveCounterStatusReaderIs(
        side.status);
}

}  // namespace TrafficPolicyCli
