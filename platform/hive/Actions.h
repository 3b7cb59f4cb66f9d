// The actions of a rule. A rule has at most one of each type.
#pragma once

#include "hive/Ranges.h"
#include "orb/RbTreeMap.h"
#include "orb/Type.h"
#include "wire/IpGenPrefix.h"

namespace PolicyMap {

// The order of these is the order in which the actions of a rule are shown. 13 to 27 are reserved:
// no action of such a type can be shown.
enum class ActionType : U8 {
    drop = 0,
    gotoMatch = 1,
    redirectNexthop = 2,
    redirectNexthopGroup = 3,
    setAggGroup = 4,
    setVrf = 5,
    setDscp = 6,
    setTc = 7,
    stripHeaderBytes = 8,
    setIdentityTag = 9,
    police = 10,
    log = 11,
    count = 12,
    lastReserved = 27,
    other = 28,
};

// The names in documents of the action types that have a meaning, in their order.
inline constexpr std::string_view actionNames[] = {
    "drop",    "gotoMatch", "redirectNexthop",  "redirectNexthopGroup", "setAggGroup", "setVrf",
    "setDscp", "setTc",     "stripHeaderBytes", "setIdentityTag",       "police",      "log",
    "count",   "other",
};

// The place of a type among those that have a meaning, and the type at a place.
constexpr std::size_t placeOfAction(ActionType type) {
    const auto number = static_cast<std::size_t>(type);
    return type == ActionType::other             ? std::size(actionNames) - 1
           : number + 1 < std::size(actionNames) ? number
                                                 : std::size(actionNames);
}
constexpr ActionType actionAt(std::size_t place) {
    return place + 1 == std::size(actionNames) ? ActionType::other : static_cast<ActionType>(place);
}

// Says whether a table has a row for each action type, in their order. For static_assert.
template <class Row, std::size_t count>
constexpr bool isRowPerAction(const Row (&rows)[count]) {
    for (std::size_t i = 0; i < count; ++i) {
        if (rows[i].type != actionAt(i)) return false;
    }
    return count == std::size(actionNames);
}

class ORB_EXPORT Action : public Orb::PtrInterface {
    ORB_KEYED_TYPE(Action, actionType, ActionType)
};

// Drop, and log, have no parameters: a plain Action of the type.

class ORB_EXPORT GotoAction : public Action {
    ORB_DERIVED_TYPE(GotoAction, Action)
    ORB_CONSTRUCTIBLE(GotoAction)
    ORB_ATTRIBUTE(matchName, Orb::String)  // the rule to go on with; empty: the next one

    GotoAction() : Action(ActionType::gotoMatch) {}
};

class ORB_EXPORT RedirectNexthopAction : public Action {
    ORB_DERIVED_TYPE(RedirectNexthopAction, Action)
    ORB_CONSTRUCTIBLE(RedirectNexthopAction)
    ORB_ATTRIBUTE(recursive, bool)
    ORB_ATTRIBUTE(nexthops, Orb::RbTreeSet<Wire::IpGenAddr>)
    ORB_ATTRIBUTE(vrfName,
                  Orb::String)  // the VRF of the next hops when it is another; may be empty
    ORB_ATTRIBUTE(resolvedNexthops, Orb::RbTreeSet<Wire::IpGenAddr>)  // of recursive ones

    RedirectNexthopAction() : Action(ActionType::redirectNexthop) {}
};

class ORB_EXPORT RedirectNexthopGroupAction : public Action {
    ORB_DERIVED_TYPE(RedirectNexthopGroupAction, Action)
    ORB_CONSTRUCTIBLE(RedirectNexthopGroupAction)
    ORB_ATTRIBUTE(nexthopGroups, Orb::RbTreeSet<Orb::String>)

    RedirectNexthopGroupAction() : Action(ActionType::redirectNexthopGroup) {}
};

// Redirects to aggregation groups of tool interfaces, to tool interfaces, or both.
class ORB_EXPORT SetAggGroupAction : public Action {
    ORB_DERIVED_TYPE(SetAggGroupAction, Action)
    ORB_CONSTRUCTIBLE(SetAggGroupAction)
    ORB_ATTRIBUTE(groups, Orb::RbTreeSet<Orb::String>)
    ORB_ATTRIBUTE(interfaces, Orb::RbTreeSet<Orb::String>)

    SetAggGroupAction() : Action(ActionType::setAggGroup) {}
};

class ORB_EXPORT SetVrfAction : public Action {
    ORB_DERIVED_TYPE(SetVrfAction, Action)
    ORB_CONSTRUCTIBLE(SetVrfAction)
    ORB_ATTRIBUTE(vrfName, Orb::String)

    SetVrfAction() : Action(ActionType::setVrf) {}
};

class ORB_EXPORT SetDscpAction : public Action {
    ORB_DERIVED_TYPE(SetDscpAction, Action)
    ORB_CONSTRUCTIBLE(SetDscpAction)
    ORB_ATTRIBUTE(dscp, U8)  // as Classification::DscpRange

    SetDscpAction() : Action(ActionType::setDscp) {}
};

class ORB_EXPORT SetTcAction : public Action {
    ORB_DERIVED_TYPE(SetTcAction, Action)
    ORB_CONSTRUCTIBLE(SetTcAction)
    static constexpr Base::Bounds bounds{0, 7};
    ORB_ATTRIBUTE(tc, U8)

    SetTcAction() : Action(ActionType::setTc) {}
};

class ORB_EXPORT StripHeaderBytesAction : public Action {
    ORB_DERIVED_TYPE(StripHeaderBytesAction, Action)
    ORB_CONSTRUCTIBLE(StripHeaderBytesAction)
    ORB_ATTRIBUTE(stripHeaderBytes, Orb::String)  // the outer tags to remove, as configured

    StripHeaderBytesAction() : Action(ActionType::stripHeaderBytes) {}
};

class ORB_EXPORT SetIdentityTagAction : public Action {
    ORB_DERIVED_TYPE(SetIdentityTagAction, Action)
    ORB_CONSTRUCTIBLE(SetIdentityTagAction)
    static constexpr Base::Bounds bounds{1, 4094};
    static constexpr Base::Bounds innerBounds{0, 4094};
    ORB_ATTRIBUTE(idTag, U16)
    ORB_ATTRIBUTE(innerIdTag, U16)  // 0: none

    SetIdentityTagAction() : Action(ActionType::setIdentityTag) {}
};

enum class RateUnit : U8 { bps = 0, kbps = 1, mbps = 2, gbps = 3, pps = 4 };
enum class BurstUnit : U8 { bytes = 0, kbytes = 1, mbytes = 2, packets = 3 };

// The printed names of units, in the order of their values.
inline constexpr std::string_view rateUnitNames[] = {"bps", "kbps", "mbps", "gbps", "pps"};
inline constexpr std::string_view burstUnitNames[] = {"bytes", "kbytes", "mbytes", "packets"};

class ORB_EXPORT PoliceAction : public Action {
    ORB_DERIVED_TYPE(PoliceAction, Action)
    ORB_CONSTRUCTIBLE(PoliceAction)
    ORB_ATTRIBUTE(rate, U64)
    ORB_ATTRIBUTE(rateUnit, RateUnit)
    ORB_ATTRIBUTE(burstSize, U64)
    ORB_ATTRIBUTE(burstUnit, BurstUnit)

    PoliceAction() : Action(ActionType::police) {}
};

class ORB_EXPORT CountAction : public Action {
    ORB_DERIVED_TYPE(CountAction, Action)
    ORB_CONSTRUCTIBLE(CountAction)
    ORB_ATTRIBUTE(counterName, Orb::Name)  // a named counter; empty: the rule's own counter

    CountAction() : Action(ActionType::count) {}
};

// What the configuration of a switch says beyond these actions, word for word: "reject", "mirror
// session1". What it does to a packet is not known.
class ORB_EXPORT OtherAction : public Action {
    ORB_DERIVED_TYPE(OtherAction, Action)
    ORB_CONSTRUCTIBLE(OtherAction)
    ORB_ATTRIBUTE(text, Orb::String)

    OtherAction() : Action(ActionType::other) {}
};

// The classes above. One that is missing here does not link.
#define POLICY_MAP_ACTIONS(DO)     \
    DO(Action)                     \
    DO(GotoAction)                 \
    DO(RedirectNexthopAction)      \
    DO(RedirectNexthopGroupAction) \
    DO(SetAggGroupAction)          \
    DO(SetVrfAction)               \
    DO(SetDscpAction)              \
    DO(SetTcAction)                \
    DO(StripHeaderBytesAction)     \
    DO(SetIdentityTagAction)       \
    DO(PoliceAction)               \
    DO(CountAction)                \
    DO(OtherAction)

}  // namespace PolicyMap
