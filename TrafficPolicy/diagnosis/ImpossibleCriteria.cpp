// Criteria that no packet meets: a thing is asked of a protocol that does not have it.
#include <algorithm>
#include <span>

#include "diagnosis/Problems.h"
#include "names/AclNameMap.h"

namespace TrafficPolicyCli::Diagnosis {

using Classification::ProtocolRange;
using Classification::ProtoField;
using Classification::StructuredFilter;

namespace {

// IP protocol numbers (IANA "Protocol Numbers").
constexpr U32 icmp = 1;
constexpr U32 tcp = 6;
constexpr U32 udp = 17;
constexpr U32 portProtocols[] = {tcp, udp, 33, 132, 136};  // with DCCP, SCTP, UDP-Lite
constexpr U32 flagProtocols[] = {tcp};
constexpr U32 icmpProtocols[] = {icmp, 58};

bool isIn(const ProtocolRange& range, U32 protocol) {
    return range.low <= protocol && protocol <= range.high;
}

bool namesPorts(const ProtoField& field) {
    return !field.portFields().empty() &&
           std::ranges::none_of(field.portFields(), [](const auto& ports) {
               return ports->sport().empty() && ports->sportFieldSets().empty() &&
                      ports->dport().empty() && ports->dportFieldSets().empty();
           });
}

// Something of the layer-4 header that only some protocols have.
struct Thing {
    std::string_view text;
    bool (*isAsked)(const ProtoField& field);
    std::span<const U32> protocols;

    bool fits(const ProtocolRange& range) const {
        return std::ranges::any_of(protocols, [&](U32 one) { return isIn(range, one); });
    }
};
const Thing things[] = {
    {"ports", namesPorts, portProtocols},
    {"TCP flags", [](const ProtoField& field) { return !field.tcpFlags().empty(); }, flagProtocols},
    {"ICMP types", [](const ProtoField& field) { return !field.icmpTypes().empty(); },
     icmpProtocols},
};

Orb::String protocolText(const ProtocolRange& range, bool isIpv6) {
    const auto names = AclNameMap::instance();
    const std::string_view name = range.low != range.high ? std::string_view()
                                  : isIpv6                ? names->ipv6ProtocolName(range.low)
                                                          : names->ipv4ProtocolName(range.low);
    return "protocol " + (name.empty() ? range.stringValue() : Orb::String(name));
}

// Only fragments that are not the first match: they have no layer-4 header.
bool matchesLaterFragmentsOnly(const StructuredFilter& filter) {
    const auto& fragment = filter.fragment();
    return fragment && fragment->type() == Classification::FragmentType::matchOffset &&
           !fragment->offset().empty() &&
           std::ranges::none_of(fragment->offset(),
                                [](const auto& range) { return range.low == 0; });
}

// Says whether some protocol of the range has all that is asked.
bool isPossible(const ProtocolRange& range, const ProtoField& field) {
    constexpr U32 protocols[] = {icmp, tcp, udp, 33, 58, 132, 136};
    return std::ranges::any_of(protocols, [&](U32 protocol) {
        return isIn(range, protocol) && std::ranges::all_of(things, [&](const Thing& thing) {
                   return !thing.isAsked(field) ||
                          std::ranges::find(thing.protocols, protocol) != thing.protocols.end();
               });
    });
}

class ImpossibleSearch {
  public:
    ImpossibleSearch(Orb::String before, bool isIpv6, std::vector<Orb::String>& found)
        : before_(std::move(before)), isIpv6_(isIpv6), found_(found) {}

    void findIn(const StructuredFilter& filter) {
        for (const auto& [range, field] : filter.protocols()) {
            if (field) findUnder(range, *field, filter);
        }
        const auto lacks = [&](U32 protocol) {
            return !filter.protocols().empty() &&
                   std::ranges::none_of(filter.protocols(), [&](const auto& entry) {
                       return isIn(entry.key, protocol);
                   });
        };
        const bool isBgp = filter.l4Protocol() == Classification::L4Protocol::bgp;
        if (isBgp && lacks(tcp)) add("BGP beside protocols without TCP");
        if (filter.innerMatch() && lacks(udp)) {
            add("an inner packet beside protocols without UDP");
        }
        if (!matchesLaterFragmentsOnly(filter)) return;
        if (isBgp) add("BGP in fragments that are not the first");
        if (filter.innerMatch()) add("an inner packet in fragments that are not the first");
    }

  private:
    void add(const Orb::String& text) { found_.push_back(before_ + text + ": no packet has that"); }

    void findUnder(const ProtocolRange& range, const ProtoField& field,
                   const StructuredFilter& filter) {
        Orb::String asked;
        Orb::String impossible;
        for (const Thing& thing : things) {
            if (!thing.isAsked(field)) continue;
            asked.append(asked.empty() ? "" : " and ").append(thing.text);
            if (thing.fits(range)) continue;
            impossible.append(impossible.empty() ? "" : " and ").append(thing.text);
        }
        if (asked.empty()) return;
        if (!isPossible(range, field)) {
            add((impossible.empty() ? asked : impossible) + " under " +
                protocolText(range, isIpv6_));
        } else if (matchesLaterFragmentsOnly(filter)) {
            add(asked + " in fragments that are not the first");
        }
    }

    Orb::String before_;
    bool isIpv6_;
    std::vector<Orb::String>& found_;
};

}  // namespace

std::vector<Orb::String> impossibleCriteria(const PolicyMap::ClassMapMatch& match) {
    std::vector<Orb::String> found;
    const auto& filter = match.structuredFilter();
    if (!filter) return found;
    ImpossibleSearch("", match.option() == MatchOption::ipv6, found).findIn(*filter);
    const auto& inner = filter->innerMatch();
    if (inner && inner->structuredFilter()) {
        ImpossibleSearch("inner packet: ", inner->af() == Wire::AddressFamily::ipv6, found)
            .findIn(*inner->structuredFilter());
    }
    return found;
}

}  // namespace TrafficPolicyCli::Diagnosis
