#include "gather/FieldSetReferences.h"

#include <algorithm>

namespace TrafficPolicyCli {

namespace {

using Classification::FieldSetConfig;
using Classification::StructuredFilter;

template <class Sets>
bool lacksAny(const Sets* configured, const Orb::HashSet2018<Orb::String>& names) {
    return std::any_of(names.begin(), names.end(), [&](const Orb::String& name) {
        return configured == nullptr || !configured->contains(name);
    });
}

bool refersToUndefined(const StructuredFilter& filter, bool isIpv6, const FieldSetConfig* config) {
    const auto* const prefixSets = config == nullptr ? nullptr
                                   : isIpv6          ? &config->fieldSetIpv6Prefix()
                                                     : &config->fieldSetIpPrefix();
    if (lacksAny(prefixSets, filter.srcPrefixSets()) ||
        lacksAny(prefixSets, filter.srcLpmPrefixSets()) ||
        lacksAny(prefixSets, filter.dstPrefixSets()) ||
        lacksAny(prefixSets, filter.dstLpmPrefixSets())) {
        return true;
    }
    const auto* const vlanSets = config == nullptr ? nullptr : &config->fieldSetVlan();
    for (const auto& tag : filter.vlanTags()) {
        if (lacksAny(vlanSets, tag->vlanFieldSets())) return true;
    }
    const auto* const portSets = config == nullptr ? nullptr : &config->fieldSetL4Port();
    for (const auto& [range, protoField] : filter.protocols()) {
        if (!protoField) continue;
        for (const auto& ports : protoField->portFields()) {
            if (lacksAny(portSets, ports->sportFieldSets()) ||
                lacksAny(portSets, ports->dportFieldSets())) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

bool refersToUndefinedFieldSet(const PolicyMap::ClassMapMatch& match,
                               const FieldSetConfig* fieldSetConfig) {
    const StructuredFilter& filter = *match.structuredFilter();
    const bool isIpv6 = match.option() == PolicyMap::ClassMapMatchOption::ipv6;
    if (refersToUndefined(filter, isIpv6, fieldSetConfig)) return true;
    const auto& inner = filter.innerMatch();
    return inner && inner->structuredFilter() &&
           refersToUndefined(*inner->structuredFilter(), inner->af() != Wire::AddressFamily::ipv4,
                             fieldSetConfig);
}

}  // namespace TrafficPolicyCli
