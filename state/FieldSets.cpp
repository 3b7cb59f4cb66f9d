// The kinds of sets differ in what their versions hold: a table of keys each. The set around the
// version, and the source of its contents, are read by one code.
#include "state/FieldSets.h"

#include "state/Values.h"

namespace StateDirectory {

using namespace Classification;
using Wire::AddressFamily;

namespace {

// The keys that say where the contents come from, in the table of any kind that has them.
template <class Version>
constexpr Key<Version> contentsSourceKey = {
    "contentsSource", [](const Node& node, Version& to) {
        static constexpr std::string_view words[] = {"other", "static", "bgp", "url"};
        to.contentsSourceIs(static_cast<ContentsSource>(node.oneOf(words)));
    }};
template <class Version>
constexpr Key<Version> urlPathKey = {
    "urlPath", [](const Node& node, Version& to) { to.urlPathIs(readName(node)); }};
template <class Version>
constexpr Key<Version> urlVrfKey = {
    "urlVrf", [](const Node& node, Version& to) { to.urlVrfIs(readName(node)); }};

template <AddressFamily family>
constexpr Key<FieldSetIpPrefixSubConfig> prefixSetKeys[] = {
    contentsSourceKey<FieldSetIpPrefixSubConfig>,
    urlPathKey<FieldSetIpPrefixSubConfig>,
    urlVrfKey<FieldSetIpPrefixSubConfig>,
    {"prefixes", [](const Node& node, auto& to) { to.prefixesIs(readPrefixes(node, family)); }},
    {"exceptPrefixes",
     [](const Node& node, auto& to) { to.exceptPrefixesIs(readPrefixes(node, family)); }},
};

constexpr Key<FieldSetL4PortSubConfig> portSetKeys[] = {
    contentsSourceKey<FieldSetL4PortSubConfig>,
    urlPathKey<FieldSetL4PortSubConfig>,
    urlVrfKey<FieldSetL4PortSubConfig>,
    {"ports",
     [](const Node& node, auto& to) { to.portsIs(readRanges<PortRange>(node, 0, 65535)); }},
};

constexpr Key<FieldSetVlanSubConfig> vlanSetKeys[] = {
    contentsSourceKey<FieldSetVlanSubConfig>,
    urlPathKey<FieldSetVlanSubConfig>,
    urlVrfKey<FieldSetVlanSubConfig>,
    {"vlans", [](const Node& node, auto& to) { to.vlansIs(readRanges<VlanRange>(node, 1, 4094)); }},
};

constexpr Key<FieldSetMacAddrSubConfig> macSetKeys[] = {
    {"macAddrs",
     [](const Node& node, auto& to) {
         using Addresses = Orb::HashSet2018<Wire::EthAddr>;
         to.macAddrsIs(readSet<Addresses>(node, readMacAddress));
     }},
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
