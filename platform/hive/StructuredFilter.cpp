#include "hive/StructuredFilter.h"

namespace Classification {

ORB_DEFINE_TYPE(VlanRangeSet)
ORB_DEFINE_TYPE(PortField)
ORB_DEFINE_TYPE(ProtoField)
ORB_DEFINE_TYPE(Fragment)
ORB_DEFINE_TYPE(StructuredFilter)
ORB_DEFINE_TYPE(InnerMatch)

StructuredFilter::StructuredFilter() = default;
ORB_DEFINE_SPARSE(StructuredFilter)

bool FilterReference::looksForNames() const {
    const auto hasNames = [](FieldSetKind, const auto& names, const InnerMatch*) {
        return !names.empty();
    };
    return *this && anyFieldSetNames(**this, hasNames);
}

}  // namespace Classification
