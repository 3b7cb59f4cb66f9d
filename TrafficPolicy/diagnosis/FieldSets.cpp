#include "diagnosis/FieldSets.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

struct KindWords {
    std::string_view label;
    std::string_view key;
};
constexpr KindWords kindWords[] = {{"IPv4 prefix", "ipv4Prefix"},
                                   {"IPv6 prefix", "ipv6Prefix"},
                                   {"L4 port", "l4Port"},
                                   {"VLAN", "vlan"},
                                   {"MAC", "mac"}};

// isEmpty: says so of a version.
template <class Sets, class IsEmpty>
FieldSets::Contents contentsIn(const Sets& sets, const Orb::String& name, IsEmpty isEmpty) {
    const auto* const set = sets.find(name);
    if (set == nullptr) return FieldSets::Contents::undefined;
    const auto& version = (*set)->currCfg();
    if (!version) return FieldSets::Contents::noVersion;
    return isEmpty(*version) ? FieldSets::Contents::none : FieldSets::Contents::some;
}

}  // namespace

std::string_view labelOf(FieldSetKind kind) {
    return kindWords[static_cast<std::size_t>(kind)].label;
}
std::string_view keyOf(FieldSetKind kind) { return kindWords[static_cast<std::size_t>(kind)].key; }

FieldSets::Contents FieldSets::contentsOf(FieldSetKind kind, const Orb::String& name) const {
    if (config_ == nullptr) return Contents::undefined;
    const auto hasNoPrefix = [](const auto& version) { return version.prefixes().empty(); };
    switch (kind) {
        case FieldSetKind::ipv4Prefix:
            return contentsIn(config_->fieldSetIpPrefix(), name, hasNoPrefix);
        case FieldSetKind::ipv6Prefix:
            return contentsIn(config_->fieldSetIpv6Prefix(), name, hasNoPrefix);
        case FieldSetKind::l4Port:
            return contentsIn(config_->fieldSetL4Port(), name,
                              [](const auto& version) { return version.ports().empty(); });
        case FieldSetKind::vlan:
            return contentsIn(config_->fieldSetVlan(), name,
                              [](const auto& version) { return version.vlans().empty(); });
        case FieldSetKind::mac:
            break;  // no rule names one
    }
    return Contents::undefined;
}

}  // namespace TrafficPolicyCli::Diagnosis
