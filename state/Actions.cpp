// A table of keys per action, and a table of the actions in the order of their types.
#include "state/Actions.h"

#include <algorithm>

#include "state/Attributes.h"

namespace StateDirectory {

using namespace PolicyMap;

namespace {

constexpr Key<GotoAction> gotoKeys[] = {
    ATTRIBUTE_KEY(GotoAction, matchName),
};

constexpr Key<RedirectNexthopAction> nexthopKeys[] = {
    ATTRIBUTE_KEY(RedirectNexthopAction, recursive),
    ATTRIBUTE_KEY(RedirectNexthopAction, nexthops),
    ATTRIBUTE_KEY(RedirectNexthopAction, vrfName),
    ATTRIBUTE_KEY(RedirectNexthopAction, resolvedNexthops),
};

constexpr Key<RedirectNexthopGroupAction> nexthopGroupKeys[] = {
    ATTRIBUTE_KEY(RedirectNexthopGroupAction, nexthopGroups),
};

constexpr Key<SetAggGroupAction> aggGroupKeys[] = {
    ATTRIBUTE_KEY(SetAggGroupAction, groups),
    ATTRIBUTE_KEY(SetAggGroupAction, interfaces),
};

constexpr Key<SetVrfAction> setVrfKeys[] = {
    ATTRIBUTE_KEY(SetVrfAction, vrfName, Presence::required),
};

constexpr Key<SetDscpAction> setDscpKeys[] = {
    NUMBER_KEY(SetDscpAction, dscp, Classification::DscpRange::bounds, Presence::required),
};

constexpr Key<SetTcAction> setTcKeys[] = {
    NUMBER_KEY(SetTcAction, tc, SetTcAction::bounds, Presence::required),
};

constexpr Key<StripHeaderBytesAction> stripHeaderBytesKeys[] = {
    ATTRIBUTE_KEY(StripHeaderBytesAction, stripHeaderBytes, Presence::required),
};

constexpr Key<SetIdentityTagAction> identityTagKeys[] = {
    NUMBER_KEY(SetIdentityTagAction, idTag, SetIdentityTagAction::bounds, Presence::required),
    NUMBER_KEY(SetIdentityTagAction, innerIdTag, SetIdentityTagAction::innerBounds),
};

constexpr Key<PoliceAction> policeKeys[] = {
    ATTRIBUTE_KEY(PoliceAction, rate, Presence::required),
    ATTRIBUTE_KEY(PoliceAction, rateUnit, Presence::required),
    ATTRIBUTE_KEY(PoliceAction, burstSize, Presence::required),
    ATTRIBUTE_KEY(PoliceAction, burstUnit, Presence::required),
};

constexpr Key<CountAction> countKeys[] = {
    ATTRIBUTE_KEY(CountAction, counterName),
};

constexpr Key<OtherAction> otherKeys[] = {
    {"text", [](const Node& node, OtherAction& to) { to.textIs(readText(node)); },
     Presence::required},
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
    ActionType type;
    Orb::Ptr<const Action> (*read)(const Node& node);
};

constexpr ActionForm actionForms[] = {
    {ActionType::drop, readPlain<ActionType::drop>},
    {ActionType::gotoMatch, readAs<GotoAction, gotoKeys>},
    {ActionType::redirectNexthop, readAs<RedirectNexthopAction, nexthopKeys>},
    {ActionType::redirectNexthopGroup, readAs<RedirectNexthopGroupAction, nexthopGroupKeys>},
    {ActionType::setAggGroup, readAs<SetAggGroupAction, aggGroupKeys>},
    {ActionType::setVrf, readAs<SetVrfAction, setVrfKeys>},
    {ActionType::setDscp, readAs<SetDscpAction, setDscpKeys>},
    {ActionType::setTc, readAs<SetTcAction, setTcKeys>},
    {ActionType::stripHeaderBytes, readAs<StripHeaderBytesAction, stripHeaderBytesKeys>},
    {ActionType::setIdentityTag, readAs<SetIdentityTagAction, identityTagKeys>},
    {ActionType::police, readAs<PoliceAction, policeKeys>},
    {ActionType::log, readPlain<ActionType::log>},
    {ActionType::count, readAs<CountAction, countKeys>},
    {ActionType::other, readAs<OtherAction, otherKeys>},
};
static_assert(isRowPerAction(actionForms));

ActionType actionTypeKey(const Node& member, std::string_view key) {
    const auto* const name = std::ranges::find(actionNames, key);
    if (name == std::end(actionNames)) member.parent().refuseKey(key, actionNames);
    return actionAt(static_cast<std::size_t>(name - actionNames));
}

}  // namespace

ActionMap readActions(const Node& node) {
    return readMap<ActionMap>(node, actionTypeKey, [](const Node& member, ActionType type) {
        return actionForms[placeOfAction(type)].read(member);
    });
}

}  // namespace StateDirectory
