#include "import/OpenConfigEntry.h"

#include <algorithm>
#include <functional>

#include "base/Number.h"
#include "import/FilterDraft.h"
#include "import/Identities.h"

namespace Import {

using namespace Classification;
using Option = ClassMapMatchOption;

namespace {

struct Context {
    FilterDraft& draft;
    const ModelLeaves& leaves;
    const PartlyReadSets& partlyRead;
};

// Reads a leaf into the draft. False: it cannot be said there.
using Read = bool (*)(const Leaf& leaf, const Context& context);

enum class Values : U8 { one, several };

struct Row {
    std::string_view leaf;
    Read read;
    Values values = Values::one;
};

std::optional<U32> numberIn(const Leaf& leaf, Base::Bounds bounds) {
    const auto number = Base::parseNumber(leaf.text(), bounds);
    return number ? std::optional(static_cast<U32>(*number)) : std::nullopt;
}

// Prefixes or names of sets: a filter has one form of each side.
template <auto isPresent, auto enter>
bool readAddress(const Leaf& leaf, const Context& context) {
    StructuredFilter& filter = context.draft.filter();
    const auto prefix = prefixOf(leaf.text());
    if (!prefix || prefix->family() != context.draft.addressFamily() || isPresent(filter)) {
        return false;
    }
    enter(filter, *prefix);
    return true;
}

bool readSource(const Leaf& leaf, const Context& context) {
    return readAddress<[](const StructuredFilter& filter) {
        return filter.sources() || filter.srcPrefixSets();
    },
                       [](StructuredFilter& filter, const Wire::IpGenPrefix& prefix) {
                           filter.sourcesIs(prefix);
                       }>(leaf, context);
}
bool readDestination(const Leaf& leaf, const Context& context) {
    return readAddress<[](const StructuredFilter& filter) {
        return filter.destinations() || filter.dstPrefixSets();
    },
                       [](StructuredFilter& filter, const Wire::IpGenPrefix& prefix) {
                           filter.destinationsIs(prefix);
                       }>(leaf, context);
}
bool isPartlyRead(const Leaf& leaf, const Context& context) {
    const bool isIpv4 = context.draft.addressFamily() == Wire::AddressFamily::ipv4;
    return (isIpv4 ? context.partlyRead.ipv4Prefixes : context.partlyRead.ipv6Prefixes)
        .contains(leaf.text());
}
bool readSourceSet(const Leaf& leaf, const Context& context) {
    StructuredFilter& filter = context.draft.filter();
    if (filter.sources() || isPartlyRead(leaf, context)) return false;
    filter.srcPrefixSetsIs(Orb::String(nameOf(leaf.text())));
    return true;
}
bool readDestinationSet(const Leaf& leaf, const Context& context) {
    StructuredFilter& filter = context.draft.filter();
    if (filter.destinations() || isPartlyRead(leaf, context)) return false;
    filter.dstPrefixSetsIs(Orb::String(nameOf(leaf.text())));
    return true;
}

bool readProtocol(const Leaf& leaf, const Context& context) {
    const auto protocol = protocolNumber(leaf.text());
    if (protocol) context.draft.protocols = {*protocol};
    return protocol.has_value();
}

bool readDscps(const Leaf& leaf, const Context& context) {
    Orb::HashSet2018<DscpRange> values;
    for (const std::string& text : leaf.values) {
        const auto number = Base::parseNumber(text, DscpRange::bounds);
        if (!number) return false;
        values.is(DscpRange(static_cast<U32>(*number), static_cast<U32>(*number)));
    }
    // Both leaves have to hold.
    if (context.draft.filter().dscp()) return false;
    context.draft.filter().dscpIs(std::move(values));
    return true;
}

// IPv6 data tell the length of the payload, the criterion is about the packet.
bool readLength(const Leaf& leaf, const Context& context) {
    constexpr U32 ipv6Header = 40;
    const bool isIpv6 = context.draft.option() == Option::ipv6;
    const U32 header = isIpv6 ? ipv6Header : 0;
    const auto length = numberIn(leaf, {0, PacketLengthRange::bounds.highest - header});
    if (!length) return false;
    context.draft.filter().lengthIs(PacketLengthRange(*length + header, *length + header));
    return true;
}

bool readHopLimit(const Leaf& leaf, const Context& context) {
    const auto hops = numberIn(leaf, TtlRange::bounds);
    if (hops) context.draft.filter().ttlIs(TtlRange(*hops, *hops));
    return hops.has_value();
}

bool readFragmentOffsets(const Leaf& leaf, const Context& context) {
    auto fragment = Orb::make<Fragment>(FragmentType::matchOffset);
    for (const std::string& text : leaf.values) {
        const auto range = parsePortRange(text, FragmentOffsetRange::bounds);
        if (!range) return false;
        fragment->offsetIs(FragmentOffsetRange(range->low, range->high));
    }
    if (context.draft.filter().fragment()) return false;
    context.draft.filter().fragmentIs(Orb::Ptr<const Fragment>(fragment));
    return true;
}

template <auto numberOf, auto target>
bool readIcmp(const Leaf& leaf, const Context& context) {
    const auto number = numberOf(leaf.text(), context.draft.option() == Option::ipv6);
    if (number) context.draft.*target = NumericalRange(*number, *number);
    return number.has_value();
}

template <auto target>
bool readPorts(const Leaf& leaf, const Context& context) {
    if (leaf.text() == "ANY") return true;
    const auto range = parsePortRange(leaf.text(), PortRange::bounds);
    if (range) (context.draft.*target).is(PortRange(range->low, range->high));
    return range.has_value();
}

// Ports and sets of ports are alternatives in a criterion, and both have to hold in an entry.
template <auto target, auto ports>
bool readPortSet(const Leaf& leaf, const Context& context) {
    if (context.draft.*ports || context.partlyRead.ports.contains(leaf.text())) return false;
    (context.draft.*target).is(Orb::String(nameOf(leaf.text())));
    return true;
}

constexpr U32 expressibleFlags = 0x3f;

bool isMode(const Context& context, std::string_view mode) {
    const std::string told = context.leaves.text("detail-mode");
    return told.empty() || told == mode;
}

// Flags of which one, or all, are set. What to ask of several without a mode is not known.
bool readTcpFlags(const Leaf& leaf, const Context& context) {
    const std::string mode = context.leaves.text("explicit-detail-match-mode");
    const bool isAll = mode == "ALL";
    if (!isMode(context, "EXPLICIT") || context.draft.tcpFlags) return false;
    if (!isAll && mode != "ANY" && leaf.values.size() > 1) return false;
    U16 bits = 0;
    for (const std::string& text : leaf.values) {
        const auto bit = tcpFlagBit(text);
        if (!bit || (*bit & ~expressibleFlags) != 0) {
            context.draft.protocols = {tcpProtocol};
            return false;
        }
        bits |= static_cast<U16>(*bit);
    }
    for (U16 bit = 1; !isAll && bit != 0 && bit <= expressibleFlags; bit *= 2) {
        if ((bits & bit) != 0) context.draft.tcpFlags.is(TcpFlagAndMask{bit, bit});
    }
    if (isAll && bits != 0) context.draft.tcpFlags.is(TcpFlagAndMask{bits, bits});
    return true;
}

bool readBuiltin(const Leaf& leaf, const Context& context) {
    if (!isMode(context, "BUILTIN") || context.draft.tcpFlags) return false;
    if (leaf.text() == "FRAGMENT") {
        if (context.draft.filter().fragment()) return false;
        context.draft.filter().fragmentIs(
            Orb::Ptr<const Fragment>(Orb::make<Fragment>(FragmentType::matchAll)));
        return true;
    }
    for (const TcpFlag& flag : tcpFlags) {
        const bool isIt = (leaf.text() == "TCP_INITIAL" && flag.name == "initial-syn") ||
                          (leaf.text() == "TCP_ESTABLISHED" && flag.name == "established");
        if (!isIt) continue;
        context.draft.tcpFlags.is(TcpFlagAndMask{flag.bit, flag.bit});
        return true;
    }
    return false;
}

// A mode says nothing by itself.
bool readDetailMode(const Leaf& leaf, const Context& context) {
    if (leaf.text() == "EXPLICIT") {
        return context.leaves.find("builtin-detail") == nullptr;
    }
    return leaf.text() == "BUILTIN" && context.leaves.find("explicit-tcp-flags") == nullptr;
}
bool readMatchMode(const Leaf& leaf, const Context&) {
    return leaf.text() == "ANY" || leaf.text() == "ALL";
}

constexpr Row ipRows[] = {
    {"source-address", readSource},
    {"source-ip-address", readSource},
    {"destination-address", readDestination},
    {"destination-ip-address", readDestination},
    {"source-address-prefix-set", readSourceSet},
    {"destination-address-prefix-set", readDestinationSet},
    {"protocol", readProtocol},
    {"dscp", readDscps},
    {"dscp-set", readDscps, Values::several},
    {"length", readLength},
    {"hop-limit", readHopLimit},
    {"fragment-offsets", readFragmentOffsets, Values::several},
};

constexpr Row icmpRows[] = {
    {"type", readIcmp<icmpTypeNumber, &FilterDraft::icmpTypes>},
    {"code", readIcmp<icmpCodeNumber, &FilterDraft::icmpCodes>},
};

constexpr Row transportRows[] = {
    {"source-port", readPorts<&FilterDraft::sourcePorts>},
    {"destination-port", readPorts<&FilterDraft::destinationPorts>},
    {"source-port-set", readPortSet<&FilterDraft::sourcePortSets, &FilterDraft::sourcePorts>},
    {"destination-port-set",
     readPortSet<&FilterDraft::destinationPortSets, &FilterDraft::destinationPorts>},
    {"explicit-tcp-flags", readTcpFlags, Values::several},
    {"tcp-flags", readTcpFlags, Values::several},
    {"builtin-detail", readBuiltin},
    {"detail-mode", readDetailMode},
    {"explicit-detail-match-mode", readMatchMode},
};

bool readEtherType(const Leaf& leaf, const Context& context) {
    const auto number = etherTypeNumber(leaf.text());
    return number && context.draft.option() != Option::mac &&
           familyOf(*number) == context.draft.option();
}
constexpr Row l2Rows[] = {{"ethertype", readEtherType}};

class EntryReader {
  public:
    EntryReader(const JsonTree& entry, const PartlyReadSets& partlyRead, Findings& findings)
        : entry_(entry), partlyRead_(partlyRead), findings_(findings) {}

    Orb::Ptr<const StructuredFilter> filterOf(Option option, const std::vector<Option>& families,
                                              std::string_view type) {
        FilterDraft draft(option);
        if (!isKnownType(type)) draft.other(type.empty() ? "no type" : "type " + std::string(type));
        forEachContainer(entry_, [&](const std::string& name, const JsonTree& container) {
            if (name == "actions" || isForAnother(name, option, families)) return;
            readContainer(draft, name, container);
        });
        readOwnLeaves(draft);
        return draft.take();
    }

    void readActions(Rule& rule) {
        const JsonTree* const container = entry_.child("actions");
        if (container == nullptr) return;
        for (const auto& [name, leaf] : ModelLeaves(container)) readAction(rule, name, *leaf);
        forEachContainer(*container, [&](const std::string& name, const JsonTree& child) {
            carryBelow(child, name, [&](const std::string& text) { carryAction(rule, text); });
        });
    }

  private:
    void readAction(Rule& rule, std::string_view name, const Leaf& leaf) {
        const std::string& text = leaf.text();
        const bool isForwarding = name == "forwarding-action" && leaf.values.size() == 1;
        const bool isLogging = name == "log-action" && leaf.values.size() == 1;
        if ((isForwarding && text == "ACCEPT") || (isLogging && text == "LOG_NONE")) return;
        if (isLogging && text == "LOG_SYSLOG") {
            rule.logs = true;
        } else if (isForwarding && text == "DROP") {
            rule.drops = true;
        } else {
            const bool isReject = isForwarding && text == "REJECT";
            rule.drops = rule.drops || isReject;
            carryAction(rule, isReject ? "reject" : std::string(name) + " " + leaf.written());
            findings_.add(FindingKind::carried, leaf.place, name, leaf.written());
        }
    }

    static void carryAction(Rule& rule, const std::string& text) {
        rule.other += (rule.other.empty() ? "" : ", ") + text;
    }

    // A container that a rule of another family of the same entry speaks of.
    static bool isForAnother(const std::string& name, Option option,
                             const std::vector<Option>& families) {
        const Option of = name == "ipv4"   ? Option::ipv4
                          : name == "ipv6" ? Option::ipv6
                          : name == "mpls" ? Option::mpls
                                           : option;
        return of != option && std::ranges::find(families, of) != families.end();
    }

    static std::span<const Row> rowsOf(const std::string& name, Option option) {
        if (name == "l2") return l2Rows;
        if (!isIp(option)) return {};
        if (name == "transport") return transportRows;
        const bool isOwn = name == (option == Option::ipv4 ? "ipv4" : "ipv6");
        if (isOwn || name == "ip") return ipRows;
        return {};
    }

    void readContainer(FilterDraft& draft, const std::string& name, const JsonTree& container) {
        // The model's own leaves speak for themselves.
        static constexpr std::string_view known[] = {"l2",   "ip",        "ipv4",
                                                     "ipv6", "transport", "mpls"};
        if (std::ranges::find(known, name) == std::end(known)) {
            carryCriteria(draft, name, container);
            return;
        }
        const std::span<const Row> rows = rowsOf(name, draft.option());
        readLeaves(draft, rows, container, "");
        const bool hasIcmp = rows.data() == std::begin(ipRows);
        const std::string own = draft.option() == Option::ipv4 ? "icmpv4" : "icmpv6";
        forEachContainer(container, [&](const std::string& below, const JsonTree& child) {
            if (!hasIcmp || below != own) {
                carryCriteria(draft, below, child);
                return;
            }
            readLeaves(draft, icmpRows, child, own + " ");
            forEachContainer(child, [&](const std::string& more, const JsonTree& addition) {
                carryCriteria(draft, own + " " + more, addition);
            });
        });
    }

    void readLeaves(FilterDraft& draft, std::span<const Row> rows, const JsonTree& container,
                    const std::string& before) {
        const ModelLeaves leaves(&container);
        for (const auto& [name, leaf] : leaves) {
            const auto row = std::ranges::find(rows, name, &Row::leaf);
            const bool isSaid = row != rows.end() &&
                                (leaf->values.size() == 1 || row->values == Values::several) &&
                                row->read(*leaf, {draft, leaves, partlyRead_});
            if (!isSaid) carry(draft, before + std::string(name), *leaf);
        }
    }

    // What stands in the entry itself is known, or an addition to the model that may restrict it.
    void readOwnLeaves(FilterDraft& draft) {
        static constexpr std::string_view known[] = {"sequence-id", "description",
                                                     "matched-packets", "matched-octets"};
        for (const auto& [name, leaf] : ModelLeaves(&entry_)) {
            if (std::ranges::find(known, name) != std::end(known)) continue;
            carry(draft, std::string(name), *leaf);
        }
    }

    void carry(FilterDraft& draft, const std::string& name, const Leaf& leaf) {
        draft.other(name + " " + leaf.written());
        findings_.add(FindingKind::carried, leaf.place, name, leaf.written());
    }

    void carryCriteria(FilterDraft& draft, const std::string& name, const JsonTree& container) {
        carryBelow(container, name, [&](const std::string& text) { draft.other(text); });
    }

    // An addition to the model: all that it says. One that holds nothing says something by being
    // there.
    void carryBelow(const JsonTree& container, const std::string& name,
                    const std::function<void(const std::string&)>& carryText) {
        if (container.isEmpty()) {
            carryText(name);
            findings_.add(FindingKind::carried, container.place(), name, "");
        }
        for (const auto& [leafName, leaf] : ModelLeaves(&container)) {
            const std::string statement = name + " " + std::string(leafName);
            carryText(statement + " " + leaf->written());
            findings_.add(FindingKind::carried, leaf->place, statement, leaf->written());
        }
        for (const auto& entry : container.entries()) carryBelow(*entry, name, carryText);
        forEachContainer(container, [&](const std::string& below, const JsonTree& child) {
            const bool isReference = below == "interface-ref";
            carryBelow(child, isReference ? name : name + " " + below, carryText);
        });
    }

    const JsonTree& entry_;
    const PartlyReadSets& partlyRead_;
    Findings& findings_;
};

bool contains(const std::vector<Option>& families, Option option) {
    return std::ranges::find(families, option) != families.end();
}

bool hasLeaves(const JsonTree* container) {
    bool hasLeaf = false;
    if (container != nullptr) {
        container->forEachLeaf([&](const auto&, const auto&) { hasLeaf = true; });
    }
    return hasLeaf;
}

// What the containers of an entry of a set of several families speak of.
std::vector<Option> familiesOfContainers(const JsonTree& entry) {
    const auto has = [&](const char* name) { return hasLeaves(entry.child(name)); };
    std::vector<Option> families;
    if (has("ipv4")) families.push_back(Option::ipv4);
    if (has("ipv6")) families.push_back(Option::ipv6);
    if (has("mpls")) families.push_back(Option::mpls);
    if (!families.empty()) return families;
    if (has("ip")) {
        const ModelLeaves ip(entry.child("ip"));
        for (const char* const leaf : {"source-ip-address", "destination-ip-address"}) {
            const auto prefix = prefixOf(ip.text(leaf));
            if (!prefix) continue;
            return {prefix->family() == Wire::AddressFamily::ipv4 ? Option::ipv4 : Option::ipv6};
        }
        return {Option::ipv4, Option::ipv6};
    }
    if (has("transport")) return {Option::ipv4, Option::ipv6};
    return familiesOfType("");
}

std::vector<Option> familiesOf(const JsonTree& entry, std::string_view type) {
    std::vector<Option> families = familiesOfType(type);
    if (families.size() > 1) families = familiesOfContainers(entry);
    const auto etherType = etherTypeNumber(ModelLeaves(entry.child("l2")).text("ethertype"));
    if (etherType && contains(families, familyOf(*etherType))) return {familyOf(*etherType)};
    return families;
}

}  // namespace

void forEachContainer(const JsonTree& tree,
                      const std::function<void(const std::string&, const JsonTree&)>& visit) {
    for (const auto& [name, child] : tree.children()) {
        if (name != "config" && name != "state") {
            visit(name, *child);
            continue;
        }
        for (const auto& [below, addition] : child->children()) visit(below, *addition);
    }
}

ModelLeaves::ModelLeaves(const JsonTree* container) {
    if (container == nullptr) return;
    for (const char* const name : {"state", "config"}) {
        if (const JsonTree* const child = container->child(name)) add(*child);
    }
    add(*container);
}

void ModelLeaves::add(const JsonTree& container) {
    for (const auto& [name, leaf] : container.leaves()) {
        leaf.isUsed = true;
        leaves_.try_emplace(name, &leaf);
    }
}

std::vector<ClassMapMatchOption> familiesOfType(std::string_view type) {
    if (type == "ACL_IPV4") return {Option::ipv4};
    if (type == "ACL_IPV6") return {Option::ipv6};
    if (type == "ACL_MPLS") return {Option::mpls};
    return {Option::ipv4, Option::ipv6, Option::mac, Option::mpls};
}

bool isKnownType(std::string_view type) {
    return familiesOfType(type).size() == 1 || type == "ACL_L2" || type == "ACL_MIXED";
}

std::optional<NumericalRange> parsePortRange(std::string_view text, Base::Bounds bounds) {
    const auto numberOf = [&](std::string_view digits) {
        const std::size_t first = std::min(digits.find_first_not_of('0'), digits.size() - 1);
        return Base::parseNumber(digits.empty() ? digits : digits.substr(first), bounds);
    };
    const std::size_t dots = text.find("..");
    const auto low = numberOf(text.substr(0, dots));
    const auto high = dots == text.npos ? low : numberOf(text.substr(dots + 2));
    if (!low || !high || *low > *high) return std::nullopt;
    return NumericalRange(static_cast<U32>(*low), static_cast<U32>(*high));
}

Rule ruleOfEntry(const JsonTree& entry, std::string_view type, const PartlyReadSets& partlyRead,
                 Findings& findings) {
    EntryReader reader(entry, partlyRead, findings);
    Rule rule;
    const std::vector<Option> families = familiesOf(entry, type);
    for (const Option option : families) {
        rule.matches.push_back({option, reader.filterOf(option, families, type)});
    }
    reader.readActions(rule);
    return rule;
}

}  // namespace Import
