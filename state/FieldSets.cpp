// The kinds of sets differ in what their versions hold: a table of keys each. The set around the
// version, and the source of its contents, are read by one code.
#include "state/FieldSets.h"

#include "state/Attributes.h"

namespace StateDirectory {

using namespace Classification;
using Wire::AddressFamily;

namespace {

template <AddressFamily family>
constexpr Key<FieldSetIpPrefixSubConfig> prefixSetKeys[] = {
    ATTRIBUTE_KEY(FieldSetIpPrefixSubConfig, contentsSource),
    ATTRIBUTE_KEY(FieldSetIpPrefixSubConfig, urlPath),
    ATTRIBUTE_KEY(FieldSetIpPrefixSubConfig, urlVrf),
    {"prefixes", [](const Node& node, auto& to) { to.prefixesIs(readPrefixes(node, family)); }},
    {"exceptPrefixes",
     [](const Node& node, auto& to) { to.exceptPrefixesIs(readPrefixes(node, family)); }},
};

constexpr Key<FieldSetL4PortSubConfig> portSetKeys[] = {
    ATTRIBUTE_KEY(FieldSetL4PortSubConfig, contentsSource),
    ATTRIBUTE_KEY(FieldSetL4PortSubConfig, urlPath),
    ATTRIBUTE_KEY(FieldSetL4PortSubConfig, urlVrf),
    ATTRIBUTE_KEY(FieldSetL4PortSubConfig, ports),
};

constexpr Key<FieldSetVlanSubConfig> vlanSetKeys[] = {
    ATTRIBUTE_KEY(FieldSetVlanSubConfig, contentsSource),
    ATTRIBUTE_KEY(FieldSetVlanSubConfig, urlPath),
    ATTRIBUTE_KEY(FieldSetVlanSubConfig, urlVrf),
    ATTRIBUTE_KEY(FieldSetVlanSubConfig, vlans),
};

constexpr Key<FieldSetMacAddrSubConfig> macSetKeys[] = {
    ATTRIBUTE_KEY(FieldSetMacAddrSubConfig, macAddrs),
};

template <class Version, const auto& keys>
Orb::Ptr<const Version> readVersion(const Node& node) {
    auto version = Orb::make<Version>();
    if constexpr (std::is_base_of_v<FieldSetSubConfig, Version>) {
        version->contentsSourceIs(ContentsSource::configured);
    }
    readObject(node, keys, *version);
    return version;
}

template <class Set, class Version, const auto& keys>
Orb::Ptr<const Set> readFieldSet(const Node& node, const Orb::String& name) {
    static constexpr Key<Set> setKeys[] = {
        {"currCfg",
         [](const Node& version, Set& to) { to.currCfgIs(readVersion<Version, keys>(version)); }},
    };
    auto set = Orb::make<Set>(name);
    readObject(node, setKeys, *set);
    return set;
}

template <class Set, class Version, const auto& keys>
auto readFieldSets(const Node& node) {
    using Sets = Orb::HashMap2018<Orb::String, Orb::Ptr<const Set>>;
    return readMap<Sets>(node, nameKey, readFieldSet<Set, Version, keys>);
}

template <AddressFamily family>
auto readPrefixSets(const Node& node) {
    return readFieldSets<FieldSetIpPrefixConfig, FieldSetIpPrefixSubConfig, prefixSetKeys<family>>(
        node);
}

constexpr Key<FieldSetConfig> kindKeys[] = {
    {"fieldSetIpPrefix",
     [](const Node& node, FieldSetConfig& to) {
         to.fieldSetIpPrefixIs(readPrefixSets<AddressFamily::ipv4>(node));
     }},
    {"fieldSetIpv6Prefix",
     [](const Node& node, FieldSetConfig& to) {
         to.fieldSetIpv6PrefixIs(readPrefixSets<AddressFamily::ipv6>(node));
     }},
    {"fieldSetL4Port",
     [](const Node& node, FieldSetConfig& to) {
         to.fieldSetL4PortIs(
             readFieldSets<FieldSetL4PortConfig, FieldSetL4PortSubConfig, portSetKeys>(node));
     }},
    {"fieldSetVlan",
     [](const Node& node, FieldSetConfig& to) {
         to.fieldSetVlanIs(
             readFieldSets<FieldSetVlanConfig, FieldSetVlanSubConfig, vlanSetKeys>(node));
     }},
};

using Entries = Orb::RbTreeMap<Orb::String, Orb::Ptr<const Orb::PtrInterface>>;

Orb::Ptr<const Orb::PtrInterface> readMacSource(const Node& node, const Orb::String& name) {
    auto source = Orb::make<Orb::Dir>(name);
    source->entryIs(readMap<Entries>(
        node, nameKey, readFieldSet<FieldSetMacAddrConfig, FieldSetMacAddrSubConfig, macSetKeys>));
    return source;
}

Orb::Ptr<Orb::Dir> newMacDir() { return Orb::make<Orb::Dir>("fieldSetMacAddr"); }

}  // namespace

Orb::Ptr<const FieldSetConfig> readFieldSetConfig(const Node& node) {
    auto config = Orb::make<FieldSetConfig>();
    readObject(node, kindKeys, *config);
    return config;
}

Orb::Ptr<const Orb::Dir> readMacDir(const Node& node) {
    auto dir = newMacDir();
    dir->entryIs(readMap<Entries>(node, nameKey, readMacSource));
    return dir;
}

Orb::Ptr<const Orb::Dir> emptyMacDir() { return newMacDir(); }

}  // namespace StateDirectory
