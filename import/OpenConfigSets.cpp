#include "import/OpenConfigSets.h"

#include <algorithm>
#include <bitset>
#include <memory>

#include "import/OpenConfigEntry.h"

namespace Import {

using namespace Classification;
using Wire::AddressFamily;

namespace {

constexpr std::size_t portCount = 65536;
using Ports = std::bitset<portCount>;

class SetsReader {
  public:
    SetsReader(FieldSetConfig& config, Findings& findings) : config_(config), findings_(findings) {}

    const PartlyReadSets& partlyRead() const { return partlyRead_; }

    void readPrefixSet(const JsonTree& tree, AddressFamily family) {
        isWhole_ = true;
        const ModelLeaves leaves(&tree);
        auto version = Orb::make<FieldSetIpPrefixSubConfig>();
        version->contentsSourceIs(ContentsSource::configured);
        forEachPrefix(leaves.find("prefix"), family,
                      [&](const Wire::IpGenPrefix& prefix) { version->prefixesIs(prefix); });
        forEachPrefix(leaves.find("exclude-prefix"), family,
                      [&](const Wire::IpGenPrefix& prefix) { version->exceptPrefixesIs(prefix); });
        readRest(tree, leaves);
        noteUnlessWhole(leaves, family == AddressFamily::ipv4 ? partlyRead_.ipv4Prefixes
                                                              : partlyRead_.ipv6Prefixes);
        const Orb::String name = nameOf(leaves.text("name"));
        auto set = Orb::make<FieldSetIpPrefixConfig>(name);
        set->currCfgIs(Orb::Ptr<const FieldSetIpPrefixSubConfig>(version));
        const Orb::Ptr<const FieldSetIpPrefixConfig> made = set;
        if (family == AddressFamily::ipv4) {
            config_.fieldSetIpPrefixIs(name, made);
        } else {
            config_.fieldSetIpv6PrefixIs(name, made);
        }
    }

    // A field set of ports has no exceptions, so they are taken out of the ranges.
    void readPortSet(const JsonTree& tree) {
        isWhole_ = true;
        const ModelLeaves leaves(&tree);
        const auto ports = std::make_unique<Ports>();
        setPorts(leaves.find("port"), *ports, true);
        setPorts(leaves.find("exclude-port"), *ports, false);
        readRest(tree, leaves);
        noteUnlessWhole(leaves, partlyRead_.ports);
        auto version = Orb::make<FieldSetL4PortSubConfig>();
        version->contentsSourceIs(ContentsSource::configured);
        for (U32 low = 0; low < portCount;) {
            U32 end = low;
            while (end < portCount && ports->test(end)) ++end;
            if (end != low) version->portsIs(PortRange(low, end - 1));
            low = std::max(end, low + 1);
        }
        const Orb::String name = nameOf(leaves.text("name"));
        auto set = Orb::make<FieldSetL4PortConfig>(name);
        set->currCfgIs(Orb::Ptr<const FieldSetL4PortSubConfig>(version));
        config_.fieldSetL4PortIs(name, Orb::Ptr<const FieldSetL4PortConfig>(set));
    }

  private:
    template <class Enter>
    void forEachPrefix(const Leaf* leaf, AddressFamily family, const Enter& enter) {
        if (leaf == nullptr) return;
        for (std::size_t i = 0; i < leaf->values.size(); ++i) {
            const auto prefix = Wire::IpGenPrefix::parse(leaf->values[i]);
            if (prefix && prefix->family() == family) {
                enter(prefix->masked());
            } else {
                leftOut(*leaf, i, "prefix");
            }
        }
    }

    void setPorts(const Leaf* leaf, Ports& ports, bool value) {
        if (leaf == nullptr) return;
        for (std::size_t i = 0; i < leaf->values.size(); ++i) {
            const std::string& text = leaf->values[i];
            const std::optional<NumericalRange> range =
                text == "ANY" ? NumericalRange(0, portCount - 1)
                              : parsePortRange(text, PortRange::bounds);
            if (!range) {
                leftOut(*leaf, i, "port");
                continue;
            }
            for (U32 port = range->low; port <= range->high; ++port) ports.set(port, value);
        }
    }

    // What is no part of the model may take members out of the set, or bring some in.
    void readRest(const JsonTree& tree, const ModelLeaves& leaves) {
        static constexpr std::string_view known[] = {
            "name", "description", "prefix", "exclude-prefix", "port", "exclude-port"};
        for (const auto& [name, leaf] : leaves) {
            if (std::ranges::find(known, name) != std::end(known)) continue;
            findings_.add(FindingKind::notUnderstood, leaf->place, name, leaf->written());
            isWhole_ = false;
        }
        forEachContainer(tree, [&](const std::string& name, const JsonTree& container) {
            findings_.add(FindingKind::notUnderstood, container.place(), name, "");
            isWhole_ = false;
        });
    }

    void noteUnlessWhole(const ModelLeaves& leaves, std::set<std::string>& names) const {
        if (!isWhole_) names.insert(leaves.text("name"));
    }

    void leftOut(const Leaf& leaf, std::size_t index, const char* what) {
        isWhole_ = false;
        findings_.add(
            FindingKind::notUnderstood,
            leaf.values.size() == 1 ? leaf.place : pointerTo(leaf.place, std::to_string(index)),
            what, leaf.values[index]);
    }

    FieldSetConfig& config_;
    Findings& findings_;
    bool isWhole_ = true;  // the set that is read
    PartlyReadSets partlyRead_;
};

}  // namespace

PartlyReadSets readFieldSets(const JsonTree* definedSets, FieldSetConfig& config,
                             Findings& findings) {
    if (definedSets == nullptr) return {};
    SetsReader reader(config, findings);
    const auto forEachSet = [&](const std::string& name, const auto& read) {
        const JsonTree* const sets = definedSets->child(name + "s");
        const JsonTree* const list = sets == nullptr ? nullptr : sets->child(name);
        if (list == nullptr) return;
        for (const auto& entry : list->entries()) read(*entry);
    };
    forEachSet("ipv4-prefix-set",
               [&](const JsonTree& tree) { reader.readPrefixSet(tree, AddressFamily::ipv4); });
    forEachSet("ipv6-prefix-set",
               [&](const JsonTree& tree) { reader.readPrefixSet(tree, AddressFamily::ipv6); });
    forEachSet("port-set", [&](const JsonTree& tree) { reader.readPortSet(tree); });
    return reader.partlyRead();
}

}  // namespace Import
