#include "cli/PacketWords.h"

#include <algorithm>
#include <array>
#include <optional>

#include "base/Number.h"
#include "cli/Filters.h"
#include "hive/StructuredFilter.h"
#include "names/AclNameMap.h"

namespace Cli {

namespace {

using namespace Classification;
using TrafficPolicyCli::AskedPoint;
using TrafficPolicyCli::Diagnosis::Field;
using TrafficPolicyCli::Diagnosis::fieldAt;
using TrafficPolicyCli::Diagnosis::fieldName;
using TrafficPolicyCli::Diagnosis::FieldValue;
using TrafficPolicyCli::Diagnosis::innerFields;
using TrafficPolicyCli::Diagnosis::Packet;
using TrafficPolicyCli::Diagnosis::tcpFlagNames;
using MatchOption = PolicyMap::ClassMapMatchOption;

[[noreturn]] void refuse(const Token& token, const std::string& why, const std::string& expected) {
    throw CommandError(token.position, inQuotes(token.text) + " " + why, expected);
}

template <class Range>
U32 numberOf(const Token& token, bool /*isIpv4*/) {
    if (const auto number = Base::parseNumber(token.text, Range::bounds)) {
        return static_cast<U32>(*number);
    }
    const auto fault = Base::numberFault(token.text, Range::bounds);
    refuse(token, std::string(fault.wrong),
           fault.right.empty() ? "a number " + Range::bounds.stringValue() : fault.right);
}

// A value by its name, or its number.
template <class Range, class NameOf>
U32 namedNumber(const Token& token, const NameOf& nameOf, const std::string& example) {
    for (U32 value = 0; value <= Range::bounds.highest; ++value) {
        if (nameOf(value) == token.text) return value;
    }
    const auto number = Base::parseNumber(token.text, Range::bounds);
    if (!number) {
        refuse(token, "is unknown",
               "a number " + Range::bounds.stringValue() + ", or a name, as " + example);
    }
    return static_cast<U32>(*number);
}

U32 protocolNumber(const Token& token, bool isIpv4) {
    const auto names = AclNameMap::instance();
    const auto nameOf = [&](U32 value) -> std::string_view {
        if (value == 58 && !isIpv4 && (token.text == "icmp" || token.text == "icmpv6")) {
            return token.text;
        }
        return isIpv4 ? names->ipv4ProtocolName(value) : names->ipv6ProtocolName(value);
    };
    return namedNumber<ProtocolRange>(token, nameOf, "tcp");
}

U32 dscpNumber(const Token& token, bool /*isIpv4*/) {
    const auto names = AclNameMap::instance();
    return namedNumber<DscpRange>(
        token, [&](U32 dscp) { return names->dscpName(dscp); }, "ef");
}

// Calls visit with each part of a list with commas.
template <class Visit>
void eachPart(std::string_view text, const Visit& visit) {
    for (;;) {
        const std::size_t comma = text.find(',');
        visit(text.substr(0, comma));
        if (comma == std::string_view::npos) return;
        text.remove_prefix(comma + 1);
    }
}

U32 flagsOf(const Token& token, bool /*isIpv4*/) {
    U32 flags = 0;
    if (token.text == "none") return flags;
    eachPart(token.text, [&](std::string_view name) {
        const auto* const found = std::ranges::find(tcpFlagNames, name);
        if (found == std::end(tcpFlagNames)) {
            refuse(token, "is no list of TCP flags",
                   "fin, syn, rst, psh, ack, urg, as syn,ack; or none");
        }
        flags |= U32{1} << (found - std::begin(tcpFlagNames));
    });
    return flags;
}

// Fragments are told by their offset plus 1; 0 is what is no fragment.
U32 fragmentOf(const Token& token, bool /*isIpv4*/) {
    if (token.text == "no") return 0;
    const auto number = Base::parseNumber(token.text, FragmentOffsetRange::bounds);
    if (!number) {
        refuse(token, "is no fragment offset",
               "no, or the offset in units of 8 bytes, " +
                   FragmentOffsetRange::bounds.stringValue() + ", 0 for the first");
    }
    return static_cast<U32>(*number) + 1;
}

U32 isYes(const Token& token, bool /*isIpv4*/) { return token.label == "yes" ? 1 : 0; }

// How the words of the fields are read that stand for one number, in the order in which they are
// looked at.
struct FieldWord {
    Field field;
    U32 (*number)(const Token& token, bool isIpv4);
};
constexpr FieldWord fieldWords[] = {
    {Field::sourcePort, numberOf<PortRange>},
    {Field::destinationPort, numberOf<PortRange>},
    {Field::icmpType, numberOf<IcmpTypeRange>},
    {Field::icmpCode, numberOf<IcmpCodeRange>},
    {Field::ecn, numberOf<EcnRange>},
    {Field::ttl, numberOf<TtlRange>},
    {Field::length, numberOf<PacketLengthRange>},
    {Field::ipOptions, isYes},
    {Field::tracked, isYes},
    {Field::bgpNeighbor, isYes},
    {Field::protocol, protocolNumber},
    {Field::dscp, dscpNumber},
    {Field::tcpFlags, flagsOf},
    {Field::fragment, fragmentOf},
};

// One header as it was typed: for each field the keyword and the value.
struct TypedField {
    const Token* keyword = nullptr;
    const Token* value = nullptr;
};

class PacketReader {
  public:
    explicit PacketReader(const Match& match) : match_(match) {
        sort();
        const bool isIpv4 = familyOf(false) != MatchOption::ipv6;
        if (!family_[0]) {
            throw CommandError(endOfWords(), "the family of the packet is not known",
                               "source, destination or family");
        }
        packet_.emplace(*family_[0]);
        header(false, isIpv4);
        if (inner_ == nullptr) return;
        const bool isInnerIpv4 = familyOf(true) != MatchOption::ipv6;
        if (family_[1]) packet_->numberIs(Field::innerFamily, isInnerIpv4 ? 4 : 6);
        header(true, isInnerIpv4);
        if (!packet_->hasInner()) {
            throw CommandError(endOfWords(), "nothing is told of the inner packet",
                               "a field of it, as inner source 10.1.2.3");
        }
    }

    Packet packet() {
        const auto contradiction = packet_->settle();
        if (!contradiction) return *packet_;
        const bool isInner =
            contradiction->field >= Field::innerFamily || isInnerField(contradiction->field);
        const Token* keyword = isInner ? inner_ : nullptr;
        for (const bool inner : {false, true}) {
            for (U32 i = 0; i < innerFields; ++i) {
                const auto field = static_cast<Field>(i);
                const Token* const typed = typed_[inner ? 1 : 0][i].keyword;
                if (typed != nullptr && fieldAt(field, inner) == contradiction->field) {
                    keyword = typed;
                }
            }
        }
        throw CommandError(keyword == nullptr ? endOfWords() : keyword->position,
                           std::string(contradiction->why),
                           "fields that a packet can have together");
    }

  private:
    std::size_t endOfWords() const { return match_.tokens.back().position + 1; }

    // Says which field each word is of.
    void sort() {
        const auto& tokens = match_.tokens;
        std::size_t at = 0;
        while (tokens[at].label != "packet") ++at;
        at += tokens[at + 1].label == "interface" ? 4 : 3;  // behind the point
        const Token* detail = nullptr;
        while (at < tokens.size()) {
            const Token& keyword = tokens[at];
            if (keyword.label == "inner") {
                once(inner_, keyword);
                ++at;
            } else if (keyword.label == "detail") {
                once(detail, keyword);
                ++at;
            } else {
                TypedField& typed = typedOf(keyword.label, inner_ != nullptr);
                once(typed.keyword, keyword);
                typed.value = &tokens[at + 1];
                at += 2;
            }
        }
    }
    static void once(const Token*& word, const Token& keyword) {
        if (word != nullptr) refuseTwice(keyword);
        word = &keyword;
    }
    [[noreturn]] static void refuseTwice(const Token& keyword) {
        throw CommandError(keyword.position, "\"" + std::string(keyword.label) + "\" stands twice",
                           "it once");
    }

    TypedField& typedOf(std::string_view name, bool isInner) {
        if (name == "family") return typedFamily_[isInner ? 1 : 0];
        U32 index = 0;
        while (fieldName(static_cast<Field>(index)) != name) ++index;
        return typed_[isInner ? 1 : 0][index];
    }
    const TypedField& typedOf(Field field, bool isInner) const {
        return typed_[isInner ? 1 : 0][static_cast<std::size_t>(field)];
    }

    // The family of a header, by its word and its addresses, which must agree.
    MatchOption familyOf(bool isInner) {
        if (const Token* const word = typedFamily_[isInner ? 1 : 0].value) {
            namedFamily(*word, isInner);
        }
        for (const Field field : {Field::source, Field::destination}) {
            if (const Token* const value = typedOf(field, isInner).value) {
                address(field, *value, isInner);
            }
        }
        return family_[isInner ? 1 : 0].value_or(MatchOption::ipv4);
    }

    void namedFamily(const Token& word, bool isInner) {
        auto& family = family_[isInner ? 1 : 0];
        for (const MatchOption option : PolicyMap::matchOptions) {
            if (matchOptionName(option) == word.label) family = option;
        }
        const bool isIp = family == MatchOption::ipv4 || family == MatchOption::ipv6;
        if (isInner && !isIp) refuse(word, "is in no tunnel", "ipv4 or ipv6");
    }

    void address(Field field, const Token& value, bool isInner) {
        auto& family = family_[isInner ? 1 : 0];
        const auto address = Wire::IpGenAddr::parse(value.text);
        if (!address) {
            refuse(value, "is no address", "an address, as 10.1.2.3 or 2001:db8::1");
        }
        const bool isIpv4 = address->family() == Wire::AddressFamily::ipv4;
        const auto option = isIpv4 ? MatchOption::ipv4 : MatchOption::ipv6;
        if (family && *family != option) {
            refuse(value, "is of another family than the words before",
                   "an address of the family " + std::string(matchOptionName(*family)));
        }
        family = option;
        addresses_.push_back({fieldAt(field, isInner), FieldValue::address(*address)});
    }

    void header(bool isInner, bool isIpv4) {
        for (const auto& [field, value] : addresses_) packet_->valueIs(field, value);
        addresses_.clear();
        for (const FieldWord& word : fieldWords) {
            const Token* const value = typedOf(word.field, isInner).value;
            if (value == nullptr) continue;
            packet_->numberIs(fieldAt(word.field, isInner), word.number(*value, isIpv4));
        }
        if (const Token* const value = typedOf(Field::vlan, isInner).value) {
            if (isInner) refuse(*value, "is in no tunnel", "vlan before inner");
            tags(*value);
        }
    }

    void tags(const Token& token) {
        std::vector<U32> tags;
        if (token.text != "none") {
            eachPart(token.text, [&](std::string_view part) {
                const auto number = Base::parseNumber(part, VlanRange::bounds);
                if (!number || tags.size() == 2) {
                    refuse(token, "is no tag",
                           "VLANs " + VlanRange::bounds.stringValue() +
                               ", as 10, or 10,20 for two tags; or none");
                }
                tags.push_back(static_cast<U32>(*number) + 1);
            });
        }
        packet_->numberIs(Field::vlan, tags.empty() ? 0 : tags[0]);
        packet_->numberIs(Field::secondVlan, tags.size() < 2 ? 0 : tags[1]);
    }

    struct Value {
        Field field;
        FieldValue value;
    };

    const Match& match_;
    const Token* inner_ = nullptr;
    std::array<std::array<TypedField, innerFields>, 2> typed_{};
    std::array<TypedField, 2> typedFamily_{};
    std::array<std::optional<MatchOption>, 2> family_{};
    std::vector<Value> addresses_;
    std::optional<Packet> packet_;
};

}  // namespace

AskedPoint pointOf(const Match& match) {
    using Kind = AskedPoint::Kind;
    if (const Token* const intf = match.find("INTF")) {
        return {match.has("output") ? Kind::output : Kind::input, intf->text};
    }
    if (const Token* const vrf = match.find("VRF")) return {Kind::cpu, vrf->text};
    if (const Token* const vlan = match.find("VLAN"))
        return {Kind::vlan, std::to_string(oneVlan(*vlan))};
    return {Kind::policy, match.name()};
}

Packet packetOf(const Match& match) { return PacketReader(match).packet(); }

}  // namespace Cli
