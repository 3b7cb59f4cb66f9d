#include "import/OpenConfigEntry.h"

#include <algorithm>

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
};

// Reads a leaf into the draft. False: it cannot be said there.
using Read = bool (*)(const Leaf& leaf, const Context& context);

struct Row {
    std::string_view leaf;
    Read read;
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
bool readSourceSet(const Leaf& leaf, const Context& context) {
    StructuredFilter& filter = context.draft.filter();
    if (filter.sources()) return false;
    filter.srcPrefixSetsIs(Orb::String(nameOf(leaf.text())));
    return true;
}
bool readDestinationSet(const Leaf& leaf, const Context& context) {
    StructuredFilter& filter = context.draft.filter();
    if (filter.destinations()) return false;
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
    if (context.draft.*ports) return false;
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
    {"dscp-set", readDscps},
    {"length", readLength},
    {"hop-limit", readHopLimit},
    {"fragment-offsets", readFragmentOffsets},
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
    {"explicit-tcp-flags", readTcpFlags},
    {"tcp-flags", readTcpFlags},
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
    EntryReader(const JsonTree& entry, Findings& findings) : entry_(entry), findings_(findings) {}

    Orb::Ptr<const StructuredFilter> filterOf(Option option, const std::vector<Option>& families) {
        FilterDraft draft(option);
        for (const auto& [name, container] : entry_.children()) {
            if (name == "config" || name == "state" || name == "actions") continue;
            if (isForAnother(name, option, families)) continue;
            readContainer(draft, name, *container);
        }
        readOwnLeaves(draft);
        return draft.take();
    }

    void readActions(Rule& rule) {
        const JsonTree* const container = entry_.child("actions");
        for (const auto& [name, leaf] : ModelLeaves(container)) {
            const std::string& text = leaf->text();
            const bool isForwarding = name == "forwarding-action";
            if (isForwarding && text == "ACCEPT") continue;
            if (name == "log-action" && text == "LOG_NONE") continue;
            if (name == "log-action" && text == "LOG_SYSLOG") {
                rule.logs = true;
            } else if (isForwarding && text == "DROP") {
                rule.drops = true;
            } else {
                const bool isReject = isForwarding && text == "REJECT";
                rule.drops = rule.drops || isReject;
                carryAction(rule, isReject ? "reject" : std::string(name) + " " + leaf->written());
                findings_.add(FindingKind::carried, leaf->place, name, leaf->written());
            }
        }
        if (container != nullptr)
            carryBelow(*container, "", [&](const std::string& text) { carryAction(rule, text); });
    }

  private:
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
        const std::span<const Row> rows = rowsOf(name, draft.option());
        // The model's own leaves speak for themselves.
        static constexpr std::string_view known[] = {"l2",   "ip",        "ipv4",
                                                     "ipv6", "transport", "mpls"};
        const bool isKnown = std::ranges::find(known, name) != std::end(known);
        readLeaves(draft, rows, container, isKnown ? "" : name + " ");
        const bool hasIcmp = rows.data() == std::begin(ipRows);
        const std::string own = draft.option() == Option::ipv4 ? "icmpv4" : "icmpv6";
        for (const auto& [below, child] : container.children()) {
            if (below == "config" || below == "state") continue;
            if (hasIcmp && below == own) {
                readLeaves(draft, icmpRows, *child, own + " ");
            } else if (below == "interface-ref") {
                readLeaves(draft, {}, *child, name + " ");
            } else {
                carryBelow(*child, below + " ",
                           [&](const std::string& text) { draft.other(text); });
            }
        }
    }

    void readLeaves(FilterDraft& draft, std::span<const Row> rows, const JsonTree& container,
                    const std::string& before) {
        const ModelLeaves leaves(&container);
        for (const auto& [name, leaf] : leaves) {
            const auto row = std::ranges::find(rows, name, &Row::leaf);
            if (row != rows.end() && row->read(*leaf, {draft, leaves})) continue;
            carry(draft, before + std::string(name), *leaf);
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

    template <class Carry>
    void carryBelow(const JsonTree& container, const std::string& before, const Carry& carryText) {
        container.forEachLeaf([&](const std::string& way, const Leaf& leaf) {
            if (leaf.isUsed) return;
            leaf.isUsed = true;
            const std::string name = before + way.substr(way.rfind('/') + 1);
            carryText(name + " " + leaf.written());
            findings_.add(FindingKind::carried, leaf.place, name, leaf.written());
        });
    }

    const JsonTree& entry_;
    Findings& findings_;
};

bool contains(const std::vector<Option>& families, Option option) {
    return std::ranges::find(families, option) != families.end();
}

// What the containers of an entry of a set of mixed families speak of.
std::vector<Option> familiesOfContainers(const JsonTree& entry) {
    const auto has = [&](const char* name) {
        const JsonTree* const container = entry.child(name);
        return container != nullptr && !container->isEmpty();
    };
    std::vector<Option> families;
    if (has("ipv4")) families.push_back(Option::ipv4);
    if (has("ipv6")) families.push_back(Option::ipv6);
    if (has("mpls")) families.push_back(Option::mpls);
    if (!families.empty()) return families;
    if (const ModelLeaves ip(entry.child("ip")); ip.begin() != ip.end()) {
        for (const char* const leaf : {"source-ip-address", "destination-ip-address"}) {
            const auto prefix = prefixOf(ip.text(leaf));
            if (!prefix) continue;
            return {prefix->family() == Wire::AddressFamily::ipv4 ? Option::ipv4 : Option::ipv6};
        }
        return {Option::ipv4, Option::ipv6};
    }
    if (has("transport")) return {Option::ipv4, Option::ipv6};
    return {Option::ipv4, Option::ipv6, Option::mac, Option::mpls};
}

std::vector<Option> familiesOf(const JsonTree& entry, std::string_view type) {
    std::vector<Option> families =
        type == "ACL_MIXED" ? familiesOfContainers(entry) : familiesOfType(type);
    const auto etherType = etherTypeNumber(ModelLeaves(entry.child("l2")).text("ethertype"));
    if (etherType && contains(families, familyOf(*etherType))) return {familyOf(*etherType)};
    return families;
}

}  // namespace

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

Rule ruleOfEntry(const JsonTree& entry, std::string_view type, Findings& findings) {
    EntryReader reader(entry, findings);
    Rule rule;
    const std::vector<Option> families = familiesOf(entry, type);
    for (const Option option : families) {
        rule.matches.push_back({option, reader.filterOf(option, families)});
    }
    reader.readActions(rule);
    return rule;
}

}  // namespace Import
