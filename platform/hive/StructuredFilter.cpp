#include "hive/StructuredFilter.h"

namespace Classification {

ORB_DEFINE_TYPE(VlanRangeSet)
ORB_DEFINE_TYPE(PortField)
ORB_DEFINE_TYPE(ProtoField)
ORB_DEFINE_TYPE(Fragment)
ORB_DEFINE_TYPE(StructuredFilter)
ORB_DEFINE_TYPE(InnerMatch)

StructuredFilter::StructuredFilter() = default;
StructuredFilter::~StructuredFilter() = default;

bool StructuredFilter::refersToFieldSets() const {
    if (srcPrefixSets() || srcLpmPrefixSets() || dstPrefixSets() || dstLpmPrefixSets()) return true;
    for (const auto& tag : vlanTags()) {
        if (tag->vlanFieldSets()) return true;
    }
    for (const auto& [range, protoField] : protocols()) {
        if (!protoField) continue;
        for (const auto& ports : protoField->portFields()) {
            if (ports->sportFieldSets() || ports->dportFieldSets()) return true;
        }
    }
    return innerMatch() && innerMatch()->structuredFilter() &&
           innerMatch()->structuredFilter()->refersToFieldSets();
}

}  // namespace Classification
