// A table of keys per action, and a table of the actions in the order of their types.
#include "state/Actions.h"

#include <algorithm>

#include "state/Values.h"

namespace StateDirectory {

using namespace PolicyMap;

namespace {

using AddressSet = Orb::RbTreeSet<Wire::IpGenAddr>;
using NameSet = Orb::RbTreeSet<Orb::String>;

constexpr Key<GotoAction> gotoKeys[] = {
    {"matchName", [](const Node& node, GotoAction& to) { to.matchNameIs(readName(node)); }},
};

constexpr Key<RedirectNexthopAction> nexthopKeys[] = {
    {"recursive",
     [](const Node& node, RedirectNexthopAction& to) { to.recursiveIs(node.boolean()); }},
    {"nexthops",
     [](const Node& node, RedirectNexthopAction& to) {
         to.nexthopsIs(readSet<AddressSet>(node, readAddress));
     }},
    {"vrfName", [](const Node& node, RedirectNexthopAction& to) { to.vrfNameIs(readName(node)); }},
    {"resolvedNexthops",
     [](const Node& node, RedirectNexthopAction& to) {
         to.resolvedNexthopsIs(readSet<AddressSet>(node, readAddress));
     }},
};

constexpr Key<RedirectNexthopGroupAction> nexthopGroupKeys[] = {
    {"nexthopGroups",
     [](const Node& node, RedirectNexthopGroupAction& to) {
         to.nexthopGroupsIs(readNames<NameSet>(node));
     }},
};

constexpr Key<SetAggGroupAction> aggGroupKeys[] = {
    {"groups",
     [](const Node& node, SetAggGroupAction& to) { to.groupsIs(readNames<NameSet>(node)); }},
    {"interfaces",
     [](const Node& node, SetAggGroupAction& to) { to.interfacesIs(readNames<NameSet>(node)); }},
};

constexpr Key<SetVrfAction> setVrfKeys[] = {
    {"vrfName", [](const Node& node, SetVrfAction& to) { to.vrfNameIs(readName(node)); },
     Presence::required},
};

constexpr Key<SetDscpAction> setDscpKeys[] = {
    {"dscp",
     [](const Node& node, SetDscpAction& to) { to.dscpIs(static_cast<U8>(node.number(0, 63))); },
     Presence::required},
};

constexpr Key<SetTcAction> setTcKeys[] = {
    {"tc", [](const Node& node, SetTcAction& to) { to.tcIs(static_cast<U8>(node.number(0, 7))); },
     Presence::required},
};

constexpr Key<StripHeaderBytesAction> stripHeaderBytesKeys[] = {
    {"stripHeaderBytes",
     [](const Node& node, StripHeaderBytesAction& to) { to.stripHeaderBytesIs(readName(node)); },
     Presence::required},
};

constexpr Key<SetIdentityTagAction> identityTagKeys[] = {
    {"idTag",
     [](const Node& node, SetIdentityTagAction& to) {
         to.idTagIs(static_cast<U16>(node.number(1, 4094)));
     },
     Presence::required},
    {"innerIdTag",
     [](const Node& node, SetIdentityTagAction& to) {
         to.innerIdTagIs(static_cast<U16>(node.number(0, 4094)));
     }},
};

constexpr Key<PoliceAction> policeKeys[] = {
    {"rate", [](const Node& node, PoliceAction& to) { to.rateIs(node.number(0, ~U64{0})); },
     Presence::required},
    {"rateUnit",
     [](const Node& node, PoliceAction& to) {
         to.rateUnitIs(static_cast<RateUnit>(node.oneOf(rateUnitNames)));
     },
     Presence::required},
    {"burstSize",
     [](const Node& node, PoliceAction& to) { to.burstSizeIs(node.number(0, ~U64{0})); },
     Presence::required},
    {"burstUnit",
     [](const Node& node, PoliceAction& to) {
         to.burstUnitIs(static_cast<BurstUnit>(node.oneOf(burstUnitNames)));
     },
     Presence::required},
};

constexpr Key<CountAction> countKeys[] = {
    {"counterName", [](const Node& node, CountAction& to) { to.counterNameIs(readName(node)); }},
};

template <ActionType type>
Orb::Ptr<const Action> readPlain(const Node& node) {
    auto action = Orb::make<Action>(type);
    readObject(node, std::span<const Key<Action>>(), *action);
    return action;
}

template <class Type, const auto& keys>
Orb::Ptr<const Action> readAs(const Node& node) {
    auto action = Orb::make<Type>();
    readObject(node, keys, *action);
    return action;
}

struct ActionForm {
    std::string_view name;
    Orb::Ptr<const Action> (*read)(const Node& node);
};

// By action type.
constexpr ActionForm actionForms[] = {
    {"drop", readPlain<ActionType::drop>},
    {"gotoMatch", readAs<GotoAction, gotoKeys>},
    {"redirectNexthop", readAs<RedirectNexthopAction, nexthopKeys>},
    {"redirectNexthopGroup", readAs<RedirectNexthopGroupAction, nexthopGroupKeys>},
    {"setAggGroup", readAs<SetAggGroupAction, aggGroupKeys>},
    {"setVrf", readAs<SetVrfAction, setVrfKeys>},
    {"setDscp", readAs<SetDscpAction, setDscpKeys>},
    {"setTc", readAs<SetTcAction, setTcKeys>},
    {"stripHeaderBytes", readAs<StripHeaderBytesAction, stripHeaderBytesKeys>},
    {"setIdentityTag", readAs<SetIdentityTagAction, identityTagKeys>},
    {"police", readAs<PoliceAction, policeKeys>},
    {"log", readPlain<ActionType::log>},
    {"count", readAs<CountAction, countKeys>},
};

ActionType actionTypeKey(const Node& member, std::string_view key) {
    const auto* const form =
        std::find_if(std::begin(actionForms), std::end(actionForms),
                     [key](const ActionForm& known) { return known.name == key; });
    if (form != std::end(actionForms)) return static_cast<ActionType>(form - actionForms);
    std::vector<std::string_view> names;
    for (const ActionForm& known : actionForms) names.push_back(known.name);
    member.parent().refuseKey(key, names);
}

}  // namespace

ActionMap readActions(const Node& node) {
    return readMap<ActionMap>(node, actionTypeKey, [](const Node& member, ActionType type) {
        return actionForms[static_cast<U8>(type)].read(member);
    });
}

}  // namespace StateDirectory
