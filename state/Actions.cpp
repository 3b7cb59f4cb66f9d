// A table of keys per action, and a table of the actions in the order of their types.
#include "state/Actions.h"

#include <algorithm>

#include "state/Attributes.h"
#include "state/Shared.h"

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
     ATTRIBUTE_WRITER(OtherAction, text), Presence::required},
};

struct ActionForm {
    ActionType type;
    Orb::Ptr<const Action> (*read)(const Node& node);
    void (*write)(Writer& writer, const Action& action);
};

template <ActionType type>
Orb::Ptr<const Action> readPlain(const Node& node) {
    auto action = Orb::make<Action>(type);
    readObject(node, std::span<const Key<Action>>(), *action);
    return action;
}

template <class Type, const auto& keys>
Orb::Ptr<const Action> readForm(const Node& node) {
    auto action = Orb::make<Type>();
    readObject(node, keys, *action);
    return action;
}

template <ActionType type>
constexpr ActionForm plain = {
    type,
    [](const Node& node) { return Shared::value<readPlain<type>>(node); },
    [](Writer& writer, const Action&) { writer.object([] {}); },
};

template <ActionType type, class Type, const auto& keys>
constexpr ActionForm form = {
    type,
    [](const Node& node) { return Shared::value<readForm<Type, keys>>(node); },
    [](Writer& writer, const Action& action) {
        writeObject(writer, keys, static_cast<const Type&>(action));
    },
};

constexpr ActionForm actionForms[] = {
    plain<ActionType::drop>,
    form<ActionType::gotoMatch, GotoAction, gotoKeys>,
    form<ActionType::redirectNexthop, RedirectNexthopAction, nexthopKeys>,
    form<ActionType::redirectNexthopGroup, RedirectNexthopGroupAction, nexthopGroupKeys>,
    form<ActionType::setAggGroup, SetAggGroupAction, aggGroupKeys>,
    form<ActionType::setVrf, SetVrfAction, setVrfKeys>,
    form<ActionType::setDscp, SetDscpAction, setDscpKeys>,
    form<ActionType::setTc, SetTcAction, setTcKeys>,
    form<ActionType::stripHeaderBytes, StripHeaderBytesAction, stripHeaderBytesKeys>,
    form<ActionType::setIdentityTag, SetIdentityTagAction, identityTagKeys>,
    form<ActionType::police, PoliceAction, policeKeys>,
    plain<ActionType::log>,
    form<ActionType::count, CountAction, countKeys>,
    form<ActionType::other, OtherAction, otherKeys>,
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

void writeActions(Writer& writer, const ActionMap& actions) {
    writer.object([&] {
        for (const auto& [type, action] : actions) {
            const std::size_t place = placeOfAction(type);
            if (!action || place == std::size(actionForms)) continue;
            writer.member(actionNames[place]);
            actionForms[place].write(writer, *action);
        }
    });
}

}  // namespace StateDirectory
