#include "import/SonicRule.h"

#include <algorithm>
#include <charconv>

#include "base/Number.h"
#include "import/FilterDraft.h"

namespace Import {

using namespace Classification;
using Option = ClassMapMatchOption;

namespace {

constexpr Families ipv4Only = {Option::ipv4};
constexpr Families ipv6Only = {Option::ipv6};
constexpr Families ip = {Option::ipv4, Option::ipv6};
constexpr Families all = {Option::ipv4, Option::ipv6, Option::mac, Option::mpls};
constexpr Families notIpv4 = {Option::ipv6, Option::mac, Option::mpls};
constexpr Families notIpv6 = {Option::ipv4, Option::mac, Option::mpls};
constexpr Families notIp = {Option::mac, Option::mpls};
constexpr Families macOnly = {Option::mac};

std::optional<U32> numberOf(std::string_view text, Base::Bounds bounds) {
    const auto number = parseAnyNumber(text, bounds);
    return number ? std::optional(static_cast<U32>(*number)) : std::nullopt;
}

// The families of the packets that a field can match.
Families anyFamily(const std::string&) { return all; }
Families ipv4Family(const std::string&) { return ipv4Only; }
Families ipv6Family(const std::string&) { return ipv6Only; }
Families ipFamilies(const std::string&) { return ip; }
Families etherTypeFamily(const std::string& text) {
    const auto number = numberOf(text, {0, 0xffff});
    return number ? Families{familyOf(*number)} : all;
}
// Those of an IP type that is known.
std::optional<Families> familiesOfIpType(const std::string& text) {
    static const std::map<std::string_view, Families> types = {
        {"ANY", all},
        {"IP", ip},
        {"NON_IP", notIp},
        {"IPV4ANY", ipv4Only},
        {"NON_IPV4", notIpv4},
        {"IPV6ANY", ipv6Only},
        {"NON_IPV6", notIpv6},
        {"ARP", macOnly},
        {"ARP_REQUEST", macOnly},
        {"ARP_REPLY", macOnly},
    };
    const auto found = types.find(text);
    return found == types.end() ? std::nullopt : std::optional(found->second);
}
Families ipTypeFamilies(const std::string& text) { return familiesOfIpType(text).value_or(all); }

// Reads a field into the draft. False: it cannot be said there.
using ReadField = bool (*)(const std::string& text, FilterDraft& draft);

template <bool isSource>
bool readPrefix(const std::string& text, FilterDraft& draft) {
    const auto prefix = prefixOf(text);
    const auto& present = isSource ? draft.filter().sources() : draft.filter().destinations();
    if (!prefix || prefix->family() != draft.addressFamily() || present) return false;
    if constexpr (isSource) {
        draft.filter().sourcesIs(*prefix);
    } else {
        draft.filter().destinationsIs(*prefix);
    }
    return true;
}

template <auto ports>
bool readPort(const std::string& text, FilterDraft& draft) {
    const auto port = numberOf(text, PortRange::bounds);
    if (!port || draft.*ports) return false;
    (draft.*ports).is(PortRange(*port, *port));
    return true;
}
template <auto ports>
bool readPortRange(const std::string& text, FilterDraft& draft) {
    const auto range = Base::parseRange(text, PortRange::bounds);
    if (!range || draft.*ports) return false;
    (draft.*ports).is(PortRange(static_cast<U32>(range->low), static_cast<U32>(range->high)));
    return true;
}

bool readProtocol(const std::string& text, FilterDraft& draft) {
    const auto protocol = numberOf(text, ProtocolRange::bounds);
    if (!protocol) return false;
    const std::vector<U32> told = {*protocol};
    if (!draft.protocols.empty() && draft.protocols != told) return false;
    draft.protocols = told;
    return true;
}

struct ValueAndMask {
    U32 value;
    U32 mask;
};
std::optional<ValueAndMask> valueAndMask(const std::string& text, U32 highest, U32 wholeMask) {
    const std::size_t slash = text.find('/');
    const auto value = numberOf(text.substr(0, slash), {0, highest});
    const auto mask = slash == text.npos ? std::optional(wholeMask)
                                         : numberOf(text.substr(slash + 1), {0, highest});
    if (!value || !mask) return std::nullopt;
    return ValueAndMask{*value & *mask, *mask};
}

// Of all eight bits six can be asked for; the others are carried beside these. Whether a mask of no
// bit still asks for TCP is not told.
bool readTcpFlags(const std::string& text, FilterDraft& draft) {
    constexpr U32 expressible = 0x3f;
    const auto flags = valueAndMask(text, 0xff, 0xff);
    if (!flags || flags->mask == 0) return false;
    if (draft.protocols.empty()) draft.protocols = {tcpProtocol};
    const auto mask = static_cast<U16>(flags->mask & expressible);
    if (mask != 0) {
        draft.tcpFlags.is(TcpFlagAndMask{mask, static_cast<U16>(flags->value & expressible)});
    }
    return (flags->mask & ~expressible) == 0;
}

bool readDscp(const std::string& text, FilterDraft& draft) {
    const auto dscp = valueAndMask(text, DscpRange::bounds.highest, DscpRange::bounds.highest);
    if (!dscp) return false;
    for (U32 low = 0; low <= DscpRange::bounds.highest; ++low) {
        U32 end = low;
        while (end <= DscpRange::bounds.highest && (end & dscp->mask) == dscp->value) ++end;
        if (end != low) draft.filter().dscpIs(DscpRange(low, end - 1));
        low = end;
    }
    return true;
}

template <auto target>
bool readIcmp(const std::string& text, FilterDraft& draft) {
    const auto number = numberOf(text, IcmpTypeRange::bounds);
    if (number) draft.*target = NumericalRange(*number, *number);
    return number.has_value();
}

bool readEtherType(const std::string& text, FilterDraft& draft) {
    const auto number = numberOf(text, {0, 0xffff});
    return number && draft.option() != Option::mac && familyOf(*number) == draft.option();
}

bool readIpType(const std::string& text, FilterDraft& draft) {
    const auto families = familiesOfIpType(text);
    return families && *families != macOnly && families->contains(draft.option());
}

bool readVlan(const std::string& text, FilterDraft& draft) {
    const auto id = numberOf(text, VlanRange::bounds);
    if (!id) return false;
    auto tag = Orb::make<VlanRangeSet>();
    tag->vlansIs(VlanRange(*id, *id));
    draft.filter().vlanTagsIs(0, Orb::Ptr<const VlanRangeSet>(tag));
    return true;
}

struct FieldRow {
    std::string_view field;
    Families (*families)(const std::string& text);
    bool isIpOnly;  // no words for it in rules of other families
    ReadField read;
};

constexpr FieldRow rows[] = {
    {"SRC_IP", ipv4Family, true, readPrefix<true>},
    {"DST_IP", ipv4Family, true, readPrefix<false>},
    {"SRC_IPV6", ipv6Family, true, readPrefix<true>},
    {"DST_IPV6", ipv6Family, true, readPrefix<false>},
    {"IP_PROTOCOL", ipFamilies, true, readProtocol},
    {"NEXT_HEADER", ipv6Family, true, readProtocol},
    {"L4_SRC_PORT", ipFamilies, true, readPort<&FilterDraft::sourcePorts>},
    {"L4_DST_PORT", ipFamilies, true, readPort<&FilterDraft::destinationPorts>},
    {"L4_SRC_PORT_RANGE", ipFamilies, true, readPortRange<&FilterDraft::sourcePorts>},
    {"L4_DST_PORT_RANGE", ipFamilies, true, readPortRange<&FilterDraft::destinationPorts>},
    {"TCP_FLAGS", ipFamilies, true, readTcpFlags},
    {"DSCP", ipFamilies, true, readDscp},
    {"ICMP_TYPE", ipv4Family, true, readIcmp<&FilterDraft::icmpTypes>},
    {"ICMP_CODE", ipv4Family, true, readIcmp<&FilterDraft::icmpCodes>},
    {"ICMPV6_TYPE", ipv6Family, true, readIcmp<&FilterDraft::icmpTypes>},
    {"ICMPV6_CODE", ipv6Family, true, readIcmp<&FilterDraft::icmpCodes>},
    {"ETHER_TYPE", etherTypeFamily, false, readEtherType},
    {"IP_TYPE", ipTypeFamilies, false, readIpType},
    {"VLAN_ID", anyFamily, false, readVlan},
};

const FieldRow* rowOf(std::string_view field) {
    const auto* const row = std::ranges::find(rows, field, &FieldRow::field);
    return row == std::end(rows) ? nullptr : row;
}

// Of the table's families those that all fields can match. When there are none, the rule makes no
// sense there: it stays of the table's families, and what does not fit is carried.
Families familiesOf(const SonicFields& fields, const SonicTableForm& form) {
    Families families = form.families;
    const bool hasIpv6Field = std::ranges::any_of(fields, [](const auto& field) {
        const FieldRow* const row = rowOf(field.first);
        return row != nullptr && row->families == ipv6Family;
    });
    if (form.takesIpv6Fields && hasIpv6Field) families.insert(Option::ipv6);
    for (const auto& [field, text] : fields) {
        const FieldRow* const row = rowOf(field);
        if (row == nullptr) continue;
        const Families common = families & row->families(text);
        if (!common.isEmpty()) families = common;
    }
    return families;
}

bool isAction(const std::string& field) { return field.ends_with("_ACTION"); }

std::string upperCase(std::string text) {
    for (char& character : text) {
        if (character >= 'a' && character <= 'z') character -= 'a' - 'A';
    }
    return text;
}

class RuleReader {
  public:
    RuleReader(const SonicFields& fields, const SonicTableForm& form, const std::string& place,
               Findings& findings)
        : fields_(fields), form_(form), place_(place), findings_(findings) {}

    Orb::Ptr<const StructuredFilter> filterOf(Option option) {
        FilterDraft draft(option);
        for (const auto& [field, text] : fields_) {
            if (isPriority(field) || isAction(field) || isEmptyHash(field)) continue;
            const FieldRow* const row = rowOf(field);
            const bool isSaid = row != nullptr && (!row->isIpOnly || isIp(option)) &&
                                row->families(text).contains(option) && row->read(text, draft);
            if (!isSaid) carry(draft, field, text);
        }
        readServices(draft);
        return draft.take();
    }

    void readActions(Rule& rule) {
        for (const auto& [field, text] : fields_) {
            if (isAction(field)) readAction(rule, field, text);
        }
    }

  private:
    // However it is written: findings tell of it.
    static bool isPriority(const std::string& field) {
        return field.size() == std::string_view("PRIORITY").size() &&
               upperCase(field) == "PRIORITY";
    }

    // A hash cannot be empty: a field stands for that.
    static bool isEmptyHash(const std::string& field) { return field == "NULL"; }

    void carry(FilterDraft& draft, const std::string& field, const std::string& text) {
        draft.other(field + " " + text);
        findings_.add(FindingKind::carried, place_ + " " + field, field, text);
    }

    // Services whose port is the same everywhere (IANA "Service Name and Port Number Registry").
    void readServices(FilterDraft& draft) {
        if (!form_.isOfServices) return;
        struct Service {
            std::string_view name;
            U32 protocol;
            U32 port;
        };
        static constexpr Service known[] = {{"SSH", tcpProtocol, 22}, {"NTP", udpProtocol, 123}};
        const std::string name = form_.services.size() == 1 ? form_.services.front() : "";
        const auto* const service = std::ranges::find(known, name, &Service::name);
        const bool isFree = draft.destinationPorts.empty() && !draft.icmpTypes && !draft.icmpCodes;
        if (service != std::end(known) && isFree && isIp(draft.option()) &&
            (draft.protocols.empty() || draft.protocols == std::vector<U32>{service->protocol})) {
            draft.protocols = {service->protocol};
            draft.destinationPorts.is(PortRange(service->port, service->port));
            return;
        }
        std::string text;
        for (const std::string& told : form_.services) text += (text.empty() ? "" : ",") + told;
        if (text.empty()) text = "not told";
        carry(draft, "services", text);
    }

    void readAction(Rule& rule, const std::string& field, const std::string& text) {
        if (field == "PACKET_ACTION" && readPacketAction(rule, text)) return;
        if (field == "REDIRECT_ACTION" && readNexthops(rule, text)) return;
        static constexpr std::pair<std::string_view, std::string_view> mirrors[] = {
            {"MIRROR_ACTION", "mirror"},
            {"MIRROR_INGRESS_ACTION", "mirror ingress"},
            {"MIRROR_EGRESS_ACTION", "mirror egress"},
        };
        const auto* const mirror = std::ranges::find(
            mirrors, field, &std::pair<std::string_view, std::string_view>::first);
        const std::string words = mirror == std::end(mirrors) ? field : std::string(mirror->second);
        rule.other += (rule.other.empty() ? "" : ", ") + words + " " + text;
        findings_.add(FindingKind::carried, place_ + " " + field, field, text);
    }

    // Says whether the action is understood.
    static bool readPacketAction(Rule& rule, const std::string& text) {
        constexpr std::string_view redirect = "REDIRECT:";
        const std::string action = upperCase(text);
        if (action == "FORWARD" || action == "ACCEPT") return true;
        if (action == "DROP") return rule.drops = true;
        return action.starts_with(redirect) && readNexthops(rule, text.substr(redirect.size()));
    }

    static bool readNexthops(Rule& rule, const std::string& text) {
        const std::vector<std::string> nexthops = commaSeparated(text);
        const bool areAddresses = std::ranges::all_of(nexthops, [](const auto& nexthop) {
            return Wire::IpGenAddr::parse(nexthop).has_value();
        });
        if (nexthops.empty() || !areAddresses || !rule.redirectNexthops.empty()) return false;
        rule.redirectNexthops = nexthops;
        return true;
    }

    const SonicFields& fields_;
    const SonicTableForm& form_;
    const std::string& place_;
    Findings& findings_;
};

}  // namespace

Rule ruleOfHash(const SonicFields& fields, const SonicTableForm& form, const std::string& place,
                Findings& findings) {
    RuleReader reader(fields, form, place, findings);
    Rule rule;
    familiesOf(fields, form).forEach([&](Option option) {
        rule.matches.push_back({option, reader.filterOf(option)});
    });
    reader.readActions(rule);
    return rule;
}

std::vector<std::string> commaSeparated(std::string_view text) {
    std::vector<std::string> parts;
    while (!text.empty()) {
        const std::size_t comma = std::min(text.find(','), text.size());
        std::string_view part = text.substr(0, comma);
        while (part.starts_with(' ')) part.remove_prefix(1);
        while (part.ends_with(' ')) part.remove_suffix(1);
        if (!part.empty()) parts.emplace_back(part);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return parts;
}

std::optional<U64> parseAnyNumber(std::string_view text, Base::Bounds bounds) {
    if (!text.starts_with("0x") && !text.starts_with("0X")) {
        return Base::parseNumber(text, bounds);
    }
    U64 number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data() + 2, end, number, 16);
    if (result.ec != std::errc() || result.ptr != end || !bounds.holds(number)) return std::nullopt;
    return number;
}

}  // namespace Import
