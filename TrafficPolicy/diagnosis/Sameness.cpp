#include "diagnosis/Sameness.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

using Classification::StructuredFilter;
using PolicyMap::Action;
using PolicyMap::ActionType;
using PolicyMap::ClassMapMatch;
using MatchOption = PolicyMap::ClassMapMatchOption;

namespace {

// A class, so that each part sees the others. Sets are the same in any order, and pointers when
// what they point to is.
struct Same {
    template <class T>
    static bool of(const T& a, const T& b) {
        return a == b;
    }
    template <class T>
    static bool of(const Orb::Ptr<T>& a, const Orb::Ptr<T>& b) {
        return a.get() == b.get() || (a && b && of(*a, *b));
    }
    template <class Key, class Value>
    static bool of(const Orb::HashMap2018<Key, Value>& a, const Orb::HashMap2018<Key, Value>& b) {
        if (a.size() != b.size()) return false;
        U32 place = 0;
        return std::ranges::all_of(a, [&](const auto& entry) {
            if constexpr (std::is_void_v<Value>) {
                return b.find(entry, place++) != nullptr;
            } else {
                const Value* const other = b.find(entry.key, place++);
                return other != nullptr && of(entry.value, *other);
            }
        });
    }
    template <class Value>
    static bool of(const Orb::Array<Value>& a, const Orb::Array<Value>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                          [](const Value& x, const Value& y) { return of(x, y); });
    }
    template <class Key>
    static bool of(const Orb::RbTreeSet<Key>& a, const Orb::RbTreeSet<Key>& b) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end());
    }

    static bool of(const Classification::VlanRangeSet& a, const Classification::VlanRangeSet& b) {
        return of(a.vlans(), b.vlans()) && of(a.vlanFieldSets(), b.vlanFieldSets());
    }
    static bool of(const Classification::PortField& a, const Classification::PortField& b) {
        return of(a.sport(), b.sport()) && of(a.sportFieldSets(), b.sportFieldSets()) &&
               of(a.dport(), b.dport()) && of(a.dportFieldSets(), b.dportFieldSets());
    }
    static bool of(const Classification::IcmpTypeRange& a, const Classification::IcmpTypeRange& b) {
        return a == b && of(a.codes, b.codes);
    }
    static bool of(const Classification::ProtoField& a, const Classification::ProtoField& b) {
        return of(a.portFields(), b.portFields()) && of(a.tcpFlags(), b.tcpFlags()) &&
               of(a.icmpTypes(), b.icmpTypes());
    }
    static bool of(const Classification::Fragment& a, const Classification::Fragment& b) {
        return a.type() == b.type() && of(a.offset(), b.offset());
    }
    static bool of(const Classification::InnerMatch& a, const Classification::InnerMatch& b) {
        return a.af() == b.af() && a.encapType() == b.encapType() &&
               of(a.structuredFilter(), b.structuredFilter());
    }
    static bool of(const StructuredFilter& a, const StructuredFilter& b);
};

struct Criterion {
    std::string_view key;
    std::string_view label;
    bool (*isSame)(const StructuredFilter& a, const StructuredFilter& b);
};
#define CRITERION(attribute, text)                                                           \
    {                                                                                        \
#attribute, text,                                                                    \
            [](const StructuredFilter& a,                                                    \
               const StructuredFilter& b) { return Same::of(a.attribute(), b.attribute()); } \
    }
constexpr Criterion criteria[] = {
    CRITERION(vlanTags, "VLAN tags"),
    CRITERION(sources, "source prefix"),
    CRITERION(srcPrefixSets, "source prefix sets"),
    CRITERION(sourceLpms, "source longest match"),
    CRITERION(srcLpmPrefixSets, "source longest match sets"),
    CRITERION(destinations, "destination prefix"),
    CRITERION(dstPrefixSets, "destination prefix sets"),
    CRITERION(destinationLpms, "destination longest match"),
    CRITERION(dstLpmPrefixSets, "destination longest match sets"),
    CRITERION(protocols, "protocol"),
    CRITERION(length, "length"),
    CRITERION(fragment, "fragment"),
    CRITERION(dscp, "DSCP"),
    CRITERION(ecn, "ECN"),
    CRITERION(ttl, "TTL"),
    CRITERION(neighborsProtocol, "neighbors protocol"),
    CRITERION(l4Protocol, "layer-4 protocol"),
    CRITERION(ipOptions, "IP options"),
    CRITERION(tracked, "tracked"),
    CRITERION(otherCriteria, "other criteria"),
    CRITERION(innerMatch, "packet inside"),
};
#undef CRITERION

bool Same::of(const StructuredFilter& a, const StructuredFilter& b) {
    return std::ranges::all_of(criteria,
                               [&](const Criterion& criterion) { return criterion.isSame(a, b); });
}
// Says whether two actions of one class have the same attributes.
template <class Kind, class... Get>
bool sameActions(const Action& a, const Action& b, Get... get) {
    const auto& x = static_cast<const Kind&>(a);
    const auto& y = static_cast<const Kind&>(b);
    return (Same::of(get(x), get(y)) && ...);
}

#define GET(attribute) [](const auto& action) -> decltype(auto) { return action.attribute(); }
bool sameActions(const Action& a, const Action& b) {
    using namespace PolicyMap;
    switch (a.actionType()) {
        case ActionType::gotoMatch:
            return sameActions<GotoAction>(a, b, GET(matchName));
        case ActionType::redirectNexthop:
            return sameActions<RedirectNexthopAction>(a, b, GET(recursive), GET(nexthops),
                                                      GET(vrfName), GET(resolvedNexthops));
        case ActionType::redirectNexthopGroup:
            return sameActions<RedirectNexthopGroupAction>(a, b, GET(nexthopGroups));
        case ActionType::setAggGroup:
            return sameActions<SetAggGroupAction>(a, b, GET(groups), GET(interfaces));
        case ActionType::setVrf:
            return sameActions<SetVrfAction>(a, b, GET(vrfName));
        case ActionType::setDscp:
            return sameActions<SetDscpAction>(a, b, GET(dscp));
        case ActionType::setTc:
            return sameActions<SetTcAction>(a, b, GET(tc));
        case ActionType::stripHeaderBytes:
            return sameActions<StripHeaderBytesAction>(a, b, GET(stripHeaderBytes));
        case ActionType::setIdentityTag:
            return sameActions<SetIdentityTagAction>(a, b, GET(idTag), GET(innerIdTag));
        case ActionType::police:
            return sameActions<PoliceAction>(a, b, GET(rate), GET(rateUnit), GET(burstSize),
                                             GET(burstUnit));
        case ActionType::count:
            return sameActions<CountAction>(a, b, GET(counterName));
        case ActionType::other:
            return sameActions<OtherAction>(a, b, GET(text));
        case ActionType::drop:
        case ActionType::log:
        case ActionType::lastReserved:
            break;
    }
    return true;
}
#undef GET

void addMatch(MatchOption family, const ClassMapMatch* a, const ClassMapMatch* b,
              RuleDifference& difference) {
    const StructuredFilter* const x = a == nullptr ? nullptr : a->structuredFilter().get();
    const StructuredFilter* const y = b == nullptr ? nullptr : b->structuredFilter().get();
    if ((a == nullptr) != (b == nullptr) || (x == nullptr) != (y == nullptr)) {
        difference.criteria.push_back({family, "criteria", "criteria"});
        return;
    }
    if (x == y) return;
    for (const Criterion& criterion : criteria) {
        if (criterion.isSame(*x, *y)) continue;
        difference.criteria.push_back({family, criterion.key, criterion.label});
    }
}

// The value of a record by key; null: there is none, or no record.
template <class Map, class Key>
auto* valueOf(const Map* map, const Key& key) {
    const auto* const found = map == nullptr ? nullptr : map->find(key);
    return found == nullptr ? nullptr : found->get();
}

}  // namespace

RuleDifference differenceOf(const Rule& before, const Rule& after) {
    RuleDifference difference;
    const auto* const matchBefore = before.config == nullptr ? nullptr : &before.config->match();
    const auto* const matchAfter = after.config == nullptr ? nullptr : &after.config->match();
    for (const MatchOption family :
         {MatchOption::ipv4, MatchOption::ipv6, MatchOption::mac, MatchOption::mpls}) {
        addMatch(family, valueOf(matchBefore, family), valueOf(matchAfter, family), difference);
    }
    const auto* const actionBefore =
        before.actions == nullptr ? nullptr : &before.actions->action();
    const auto* const actionAfter = after.actions == nullptr ? nullptr : &after.actions->action();
    for (std::size_t place = 0; place < std::size(PolicyMap::actionNames); ++place) {
        const ActionType type = PolicyMap::actionAt(place);
        const Action* const a = valueOf(actionBefore, type);
        const Action* const b = valueOf(actionAfter, type);
        if (a == b || (a != nullptr && b != nullptr && sameActions(*a, *b))) continue;
        difference.actions.push_back(type);
    }
    return difference;
}

}  // namespace TrafficPolicyCli::Diagnosis
