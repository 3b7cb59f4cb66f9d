#include "hive/FieldSets.h"

#include <algorithm>
#include <vector>

namespace Classification {

ORB_DEFINE_TYPE(FieldSetSubConfig)
ORB_DEFINE_TYPE(FieldSetIpPrefixSubConfig)
ORB_DEFINE_TYPE(FieldSetL4PortSubConfig)
ORB_DEFINE_TYPE(FieldSetVlanSubConfig)
ORB_DEFINE_TYPE(FieldSetMacAddrSubConfig)
ORB_DEFINE_TYPE(FieldSetIpPrefixConfig)
ORB_DEFINE_TYPE(FieldSetL4PortConfig)
ORB_DEFINE_TYPE(FieldSetVlanConfig)
ORB_DEFINE_TYPE(FieldSetMacAddrConfig)
ORB_DEFINE_TYPE(FieldSetConfig)

namespace {

template <class Range>
U64 distinctMembers(const Orb::HashSet2018<Range>& ranges) {
    std::vector<Range> sorted(ranges.begin(), ranges.end());
    std::sort(sorted.begin(), sorted.end());
    U64 count = 0;
    U64 next = 0;  // the lowest number not counted yet
    for (const Range& range : sorted) {
        const U64 low = std::max<U64>(range.low, next);
        const U64 end = U64{range.high} + 1;
        if (end > low) {
            count += end - low;
            next = end;
        }
    }
    return count;
}

}  // namespace

U64 FieldSetL4PortSubConfig::numPorts() const { return distinctMembers(ports()); }
U64 FieldSetVlanSubConfig::numVlans() const { return distinctMembers(vlans()); }

}  // namespace Classification
