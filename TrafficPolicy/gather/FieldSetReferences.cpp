#include "gather/FieldSetReferences.h"

#include <algorithm>

namespace TrafficPolicyCli {

namespace {

using Classification::FieldSetConfig;
using Classification::InnerMatch;
using FieldSetNames = Orb::HashSet2018<Orb::String>;

template <class Sets>
bool lacksAny(const Sets& configured, const FieldSetNames& names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const Orb::String& name) { return !configured.contains(name); });
}

bool lacksAny(const FieldSetConfig& config, Classification::FieldSetKind kind, bool isIpv6,
              const FieldSetNames& names) {
    switch (kind) {
        case Classification::FieldSetKind::prefix:
            return lacksAny(isIpv6 ? config.fieldSetIpv6Prefix() : config.fieldSetIpPrefix(),
                            names);
        case Classification::FieldSetKind::vlan:
            return lacksAny(config.fieldSetVlan(), names);
        case Classification::FieldSetKind::l4Port:
            return lacksAny(config.fieldSetL4Port(), names);
    }
    return false;
}

}  // namespace

bool refersToUndefinedFieldSet(const PolicyMap::ClassMapMatch& match,
                               const FieldSetConfig* fieldSetConfig) {
    const auto isUndefined = [&](Classification::FieldSetKind kind, const FieldSetNames& names,
                                 const InnerMatch* inner) {
        if (fieldSetConfig == nullptr) return !names.empty();
        const bool isIpv6 = inner == nullptr
                                ? match.option() == PolicyMap::ClassMapMatchOption::ipv6
                                : inner->af() != Wire::AddressFamily::ipv4;
        return lacksAny(*fieldSetConfig, kind, isIpv6, names);
    };
    return anyFieldSetNames(*match.structuredFilter(), isUndefined);
}

}  // namespace TrafficPolicyCli
