#include "hive/StructuredFilter.h"

namespace Classification {

StructuredFilter::StructuredFilter() = default;
StructuredFilter::~StructuredFilter() = default;

}  // namespace Classification
