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
    {"prefixes", [](const Node& node, auto& to) { to.prefixesIs(readPrefixes(node, family)); },
     [](Writer& writer, const auto& from) { writePrefixes(writer, from.prefixes()); }},
    {"exceptPrefixes",
     [](const Node& node, auto& to) { to.exceptPrefixesIs(readPrefixes(node, family)); },
     [](Writer& writer, const auto& from) { writePrefixes(writer, from.exceptPrefixes()); }},
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
constexpr Key<Set> setKeys[] = {
    {"currCfg", [](const Node& node, Set& to) { to.currCfgIs(readVersion<Version, keys>(node)); },
     [](Writer& writer, const Set& from) {
         if (from.currCfg()) writeObject(writer, keys, *from.currCfg());
     }},
};

template <Wanted::FieldSets kind, class SetType, class Version, const auto& keys>
struct FieldSets {
    using Set = SetType;
    using Sets = Orb::HashMap2018<Orb::String, Orb::Ptr<const Set>>;

    static void readInto(const Node& node, Set& set) {
        readObject(node, setKeys<Set, Version, keys>, set);
    }
    static Orb::Ptr<const Set> readSet(const Node& node, const Orb::String& name) {
        auto set = Orb::make<Set>(name);
        readInto(node, *set);
        return set;
    }
    // Those that nobody wants have no version then.
    template <class Map>
    static Map readSets(const Node& node) {
        const Wanted& wanted = node.wanted();
        if (wanted.fieldSets == Wanted::FieldSets::all) {
            return readMap<Map>(node, nameKey, readSet);
        }
        const auto turnOf = [&](const Orb::String& name) {
            return wanted.hasFieldSet(kind, name) ? Turn::now : Turn::never;
        };
        return readMapInTurn<Map, Set>(node, nameKey, turnOf, readInto);
    }
    static void writeSet(Writer& writer, const Set& set) {
        writeObject(writer, setKeys<Set, Version, keys>, set);
    }
    static Sets read(const Node& node) { return readSets<Sets>(node); }
    static void write(Writer& writer, const Sets& sets) {
        writeMap(writer, sets, [&](const auto& set) { writeSet(writer, *set); });
    }
};

using Kind = Wanted::FieldSets;
template <AddressFamily family>
using PrefixSets =
    FieldSets<family == AddressFamily::ipv4 ? Kind::ipv4Prefix : Kind::ipv6Prefix,
              FieldSetIpPrefixConfig, FieldSetIpPrefixSubConfig, prefixSetKeys<family>>;
using PortSets =
    FieldSets<Kind::l4Port, FieldSetL4PortConfig, FieldSetL4PortSubConfig, portSetKeys>;
using VlanSets = FieldSets<Kind::vlan, FieldSetVlanConfig, FieldSetVlanSubConfig, vlanSetKeys>;
using MacSets = FieldSets<Kind::mac, FieldSetMacAddrConfig, FieldSetMacAddrSubConfig, macSetKeys>;

#define KIND_KEY(attribute, ...)                                                               \
    Key<FieldSetConfig> {                                                                      \
#attribute,                                                                                  \
            [](const Node& node, FieldSetConfig& to) {                                         \
                to.attribute##Is(__VA_ARGS__::read(node));                                     \
            }, [](Writer& writer,                                                              \
                  const FieldSetConfig& from) { __VA_ARGS__::write(writer, from.attribute()); } \
    }

constexpr Key<FieldSetConfig> kindKeys[] = {
    KIND_KEY(fieldSetIpPrefix, PrefixSets<AddressFamily::ipv4>),
    KIND_KEY(fieldSetIpv6Prefix, PrefixSets<AddressFamily::ipv6>),
    KIND_KEY(fieldSetL4Port, PortSets),
    KIND_KEY(fieldSetVlan, VlanSets),
};

using Entries = Orb::RbTreeMap<Orb::String, Orb::Ptr<const Orb::PtrInterface>>;

Orb::Ptr<const Orb::PtrInterface> readMacSource(const Node& node, const Orb::String& name) {
    auto source = Orb::make<Orb::Dir>(name);
    source->entryIs(MacSets::readSets<Entries>(node));
    return source;
}

void writeMacSource(Writer& writer, const Orb::PtrInterface& source) {
    writer.object([&] {
        for (const auto& [name, set] : static_cast<const Orb::Dir&>(source).entry()) {
            writer.namedMember(name);
            MacSets::writeSet(writer, static_cast<const MacSets::Set&>(*set));
        }
    });
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

void writeFieldSetConfig(Writer& writer, const FieldSetConfig& config) {
    writeObject(writer, kindKeys, config);
}

void writeMacDir(Writer& writer, const Orb::Dir& dir) {
    writeMap(writer, dir.entry(), [&](const auto& source) { writeMacSource(writer, *source); });
}

Orb::Ptr<const Orb::Dir> emptyMacDir() { return newMacDir(); }

}  // namespace StateDirectory
