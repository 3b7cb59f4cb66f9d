// The configured field sets by kind: what a kind is called, where its sets stand, and what a
// version of one holds. Whatever walks all kinds does so by the rows of this file.
#pragma once

#include <string_view>

#include "hive/FieldSets.h"
#include "orb/Dir.h"

namespace TrafficPolicyCli::Diagnosis {

enum class FieldSetKind : U8 { ipv4Prefix, ipv6Prefix, l4Port, vlan, mac };

// What texts and JSON call a kind.
struct FieldSetKindWords {
    std::string_view label;
    std::string_view key;
};
constexpr FieldSetKindWords wordsOf(FieldSetKind kind) {
    switch (kind) {
        case FieldSetKind::ipv4Prefix:
            return {"IPv4 prefix", "ipv4Prefix"};
        case FieldSetKind::ipv6Prefix:
            return {"IPv6 prefix", "ipv6Prefix"};
        case FieldSetKind::l4Port:
            return {"L4 port", "l4Port"};
        case FieldSetKind::vlan:
            return {"VLAN", "vlan"};
        case FieldSetKind::mac:
            return {"MAC", "mac"};
    }
    return {};
}
constexpr std::string_view labelOf(FieldSetKind kind) { return wordsOf(kind).label; }
constexpr std::string_view keyOf(FieldSetKind kind) { return wordsOf(kind).key; }

// Calls visit(kind, setsOf) for each kind of which rules can name sets; setsOf(config) are the sets
// by name.
template <class Visit>
void forEachKindOfRules(Visit visit) {
    using Config = Classification::FieldSetConfig;
    visit(
        FieldSetKind::ipv4Prefix,
        [](const Config& config) -> auto& { return config.fieldSetIpPrefix(); });
    visit(
        FieldSetKind::ipv6Prefix,
        [](const Config& config) -> auto& { return config.fieldSetIpv6Prefix(); });
    visit(
        FieldSetKind::l4Port,
        [](const Config& config) -> auto& { return config.fieldSetL4Port(); });
    visit(
        FieldSetKind::vlan, [](const Config& config) -> auto& { return config.fieldSetVlan(); });
}

// Calls visit(source, name, set) for each MAC set, of which no rule names one. A null directory has
// none.
template <class Visit>
void forEachMacSet(const Orb::Ptr<const Orb::Dir>& macDir, Visit visit) {
    if (!macDir) return;
    for (const auto& [sourceName, entry] : macDir->entry()) {
        const auto source = Orb::ptrCast<const Orb::Dir>(entry);
        if (!source) continue;
        for (const auto& [name, object] : source->entry()) {
            const auto set = Orb::ptrCast<const Classification::FieldSetMacAddrConfig>(object);
            if (set) visit(sourceName, name, set);
        }
    }
}

// What a version holds; and what it takes out of that again, where its kind can.
inline const auto& entriesOf(const Classification::FieldSetIpPrefixSubConfig& version) {
    return version.prefixes();
}
inline const auto& exceptionsOf(const Classification::FieldSetIpPrefixSubConfig& version) {
    return version.exceptPrefixes();
}
inline const auto& entriesOf(const Classification::FieldSetL4PortSubConfig& version) {
    return version.ports();
}
inline const auto& entriesOf(const Classification::FieldSetVlanSubConfig& version) {
    return version.vlans();
}
inline const auto& entriesOf(const Classification::FieldSetMacAddrSubConfig& version) {
    return version.macAddrs();
}

enum class FieldSetContents : U8 { undefined, noVersion, none, some };

// Of a set of a kind of which rules can name sets. A null configuration has none.
inline FieldSetContents contentsOf(const Orb::Ptr<const Classification::FieldSetConfig>& config,
                                   FieldSetKind wanted, const Orb::String& name) {
    auto contents = FieldSetContents::undefined;
    if (!config) return contents;
    forEachKindOfRules([&](FieldSetKind kind, auto setsOf) {
        const auto* const set = kind == wanted ? setsOf(*config).find(name) : nullptr;
        if (set == nullptr) return;
        const auto& version = (*set)->currCfg();
        contents = !version                      ? FieldSetContents::noVersion
                   : entriesOf(*version).empty() ? FieldSetContents::none
                                                 : FieldSetContents::some;
    });
    return contents;
}

}  // namespace TrafficPolicyCli::Diagnosis
