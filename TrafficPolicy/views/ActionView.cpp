// A row per action type, with the function that prints an action of it.
#include "views/ActionView.h"

#include <array>

#include "orb/Assert.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {

namespace {

using PolicyMap::Action;
using PolicyMap::ActionType;
using textout::RendererV2;

// How the actions of one rule are printed.
struct Layout {
    U32 indent;
    U32 indentPerLevel;
    bool detail;
    const RenderCount& renderCount;
};

void printText(RendererV2& renderer, const Orb::String& name) { renderer.name(name); }
void printItem(RendererV2& renderer, const Orb::String& name) { renderer.item(name); }

// Addresses are printed into a buffer, names as they stand.
struct PrintedAddress {
    explicit PrintedAddress(const Wire::IpGenAddr& address) : size(address.print(buffer)) {}
    std::string_view view() const { return {buffer, size}; }

    char buffer[Wire::IpGenAddr::maxPrintedSize];
    std::size_t size;
};
void printText(RendererV2& renderer, const Wire::IpGenAddr& address) {
    renderer.text(PrintedAddress(address).view());
}
void printItem(RendererV2& renderer, const Wire::IpGenAddr& address) {
    renderer.item(PrintedAddress(address).view());
}

// The entries on the text line: three and "..." unless detail; and the whole JSON list.
template <class Entry>
void renderEntries(RendererV2& renderer, std::string_view jsonKey,
                   const Orb::RbTreeSet<Entry>& entries, std::string_view separator, bool detail) {
    constexpr U32 shownInPlainView = 3;
    const auto list = renderer.list(jsonKey);
    U32 count = 0;
    for (const Entry& entry : entries) {
        printItem(renderer, entry);
        if (!detail && count > shownInPlainView) continue;
        if (count > 0) renderer.text(separator);
        if (detail || count < shownInPlainView) {
            printText(renderer, entry);
        } else {
            renderer.text("...");
        }
        ++count;
    }
}

void renderDrop(RendererV2& renderer, const Action&, const Layout& layout) {
    renderer.pair("drop", true);
    renderer.indent(layout.indent).text("Drop").endLine();
}

void renderLog(RendererV2& renderer, const Action&, const Layout& layout) {
    renderer.pair("log", true);
    renderer.indent(layout.indent).text("Log").endLine();
}

void renderGoto(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& matchName = static_cast<const PolicyMap::GotoAction&>(action).matchName();
    const auto object = renderer.object("goto");
    renderer.indent(layout.indent);
    if (matchName.empty()) {
        renderer.pair("nextMatch", true);
        renderer.text("Goto next");
    } else {
        renderer.pair("matchName", matchName);
        renderer.text("Goto match ").name(matchName);
    }
    renderer.endLine();
}

// How a recursive next hop was resolved.
void renderResolvedNexthops(RendererV2& renderer,
                            const Orb::RbTreeSet<Wire::IpGenAddr>& resolvedNexthops,
                            const Layout& layout) {
    const auto object = renderer.object("resolvedNexthops");
    const auto list = renderer.list("nexthops");
    const U32 indent = layout.indent + layout.indentPerLevel;
    renderer.indent(layout.indent).text("Active routing action:").endLine();
    if (resolvedNexthops.empty()) renderer.indent(indent).text("No resolved next hop").endLine();
    for (const Wire::IpGenAddr& nexthop : resolvedNexthops) {
        renderer.indent(indent).text("Route via next hop ");
        printText(renderer, nexthop);
        renderer.endLine();
        printItem(renderer, nexthop);
    }
}

void renderRedirectNexthop(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& redirect = static_cast<const PolicyMap::RedirectNexthopAction&>(action);
    const auto object = renderer.object("redirectNexthop");
    renderer.pair("recursive", redirect.recursive());
    renderer.indent(layout.indent).text("Redirect next hop ");
    if (redirect.recursive()) renderer.text("recursive ");
    renderEntries(renderer, "nexthops", redirect.nexthops(), ", ", layout.detail);
    if (!redirect.vrfName().empty()) {
        renderer.pair("vrfName", redirect.vrfName());
        renderer.text(" vrf ").name(redirect.vrfName());
    }
    renderer.endLine();
    if (redirect.recursive()) {
        renderResolvedNexthops(renderer, redirect.resolvedNexthops(), layout);
    }
}

void renderRedirectNexthopGroup(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& redirect = static_cast<const PolicyMap::RedirectNexthopGroupAction&>(action);
    renderer.indent(layout.indent).text("Redirect Next-hop Group ");
    renderEntries(renderer, "redirectNexthopGroups", redirect.nexthopGroups(), ",", layout.detail);
    renderer.endLine();
}

// A line of text, unless there are no names, and a JSON list, which is always there.
void renderTools(RendererV2& renderer, std::string_view label, std::string_view jsonKey,
                 const Orb::RbTreeSet<Orb::String>& names, U32 indent, bool detail) {
    if (names) renderer.indent(indent).text(label);
    renderEntries(renderer, jsonKey, names, ", ", detail);
    if (names) renderer.endLine();
}

void renderSetAggGroupAction(RendererV2& renderer, const Action* action, const U32& indent,
                             bool detail) {
    SHOW_TRACE_ENTRY();
    const auto& redirect = static_cast<const PolicyMap::SetAggGroupAction&>(*action);
    const auto object = renderer.object("tapAggRedirect");
    renderTools(renderer, "Redirect Aggregation Group ", "groups", redirect.groups(), indent,
                detail);
    renderTools(renderer, "Redirect Tool Interface ", "interfaces", redirect.interfaces(), indent,
                detail);
}

void renderSetAggGroup(RendererV2& renderer, const Action& action, const Layout& layout) {
    renderSetAggGroupAction(renderer, &action, layout.indent, layout.detail);
}

void renderSetVrf(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& vrfName = static_cast<const PolicyMap::SetVrfAction&>(action).vrfName();
    renderer.pair("setVrf", vrfName);
    renderer.indent(layout.indent).text("Set VRF ").name(vrfName).endLine();
}

// A value under a label of which the JSON key follows. Values are shown as numbers, never by name.
void renderSetValue(RendererV2& renderer, std::string_view label, U8 value, U32 indent) {
    renderer.pair(jsonNameOf(label), value);
    renderer.indent(indent).text(label).text(" ").number(value).endLine();
}

void renderSetDscp(RendererV2& renderer, const Action& action, const Layout& layout) {
    const U8 dscp = static_cast<const PolicyMap::SetDscpAction&>(action).dscp();
    renderSetValue(renderer, "Set DSCP", dscp, layout.indent);
}

void renderSetTc(RendererV2& renderer, const Action& action, const Layout& layout) {
    const U8 trafficClass = static_cast<const PolicyMap::SetTcAction&>(action).tc();
    renderSetValue(renderer, "Set Traffic Class", trafficClass, layout.indent);
}

void renderStripHeaderBytes(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& value =
        static_cast<const PolicyMap::StripHeaderBytesAction&>(action).stripHeaderBytes();
    renderer.pair("stripHeaderBytes", value);
    renderer.indent(layout.indent).text("Remove 802.1Q outer tag ").name(value).endLine();
}

void renderSetIdentityTag(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& tags = static_cast<const PolicyMap::SetIdentityTagAction&>(action);
    const auto object = renderer.object("setIdentityTag");
    renderer.pair("idTag", tags.idTag());
    renderer.pair("innerIdTag", tags.innerIdTag());
    renderer.indent(layout.indent).text("Set Dot1Q identity tag ").number(tags.idTag());
    if (tags.innerIdTag() != 0) renderer.text(" inner identity tag ").number(tags.innerIdTag());
    renderer.endLine();
}

void renderPolice(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& police = static_cast<const PolicyMap::PoliceAction&>(action);
    const auto rateUnit = PolicyMap::rateUnitNames[static_cast<U8>(police.rateUnit())];
    const auto burstUnit = PolicyMap::burstUnitNames[static_cast<U8>(police.burstUnit())];
    const auto object = renderer.object("police");
    renderer.pair("rate", police.rate());
    renderer.pair("unit", rateUnit);
    renderer.pair("burstSize", police.burstSize());
    renderer.pair("burstUnit", burstUnit);
    renderer.indent(layout.indent).text("Police rate ").number(police.rate());
    renderer.text(" ").text(rateUnit).text(" burst-size ").number(police.burstSize());
    renderer.text(" ").text(burstUnit).endLine();
}

void renderCount(RendererV2&, const Action& action, const Layout& layout) {
    layout.renderCount(&action);
}

// What it does nobody knows, so it is shown as it was written.
void renderOther(RendererV2& renderer, const Action& action, const Layout& layout) {
    const auto& text = static_cast<const PolicyMap::OtherAction&>(action).text();
    renderer.pair("other", text);
    renderer.indent(layout.indent).text("Other: ").name(text).endLine();
}

using RenderAction = void (*)(RendererV2& renderer, const Action& action, const Layout& layout);

struct ActionRow {
    ActionType type;
    RenderAction render;
};

constexpr ActionRow actionRows[] = {
    {ActionType::drop, renderDrop},
    {ActionType::gotoMatch, renderGoto},
    {ActionType::redirectNexthop, renderRedirectNexthop},
    {ActionType::redirectNexthopGroup, renderRedirectNexthopGroup},
    {ActionType::setAggGroup, renderSetAggGroup},
    {ActionType::setVrf, renderSetVrf},
    {ActionType::setDscp, renderSetDscp},
    {ActionType::setTc, renderSetTc},
    {ActionType::stripHeaderBytes, renderStripHeaderBytes},
    {ActionType::setIdentityTag, renderSetIdentityTag},
    {ActionType::police, renderPolice},
    {ActionType::log, renderLog},
    {ActionType::count, renderCount},
    {ActionType::other, renderOther},
};
static_assert(PolicyMap::isRowPerAction(actionRows));

const PolicyMap::PolicyClassAction* findActionSet(const PolicyState& policyState,
                                                  const Orb::String& ruleName, U32 ruleIndex) {
    const auto& config = policyState.policyMapConfig();
    if (!config || !config->currCfg()) return nullptr;
    const auto* const found = config->currCfg()->policyAction().find(ruleName, ruleIndex);
    return found == nullptr ? nullptr : found->get();
}

using ActionsByType = std::array<const Action*, std::size(actionRows)>;

// A rule has at most one action of a type.
ActionsByType actionsByType(const PolicyMap::PolicyClassAction& actionSet) {
    ActionsByType byType{};
    for (const auto& [type, action] : actionSet.action()) {
        const std::size_t row = PolicyMap::placeOfAction(type);
        if (row >= byType.size()) ORB_ASSERT(false && "Unexpected action type");
        byType[row] = action.get();
    }
    return byType;
}

}  // namespace

void renderActions(RendererV2& renderer, const PolicyState& policyState,
                   const Orb::String& ruleName, U32 ruleIndex, U32 indent,
                   const RenderCount& renderCount) {
    const PolicyMap::PolicyClassAction* const actionSet =
        findActionSet(policyState, ruleName, ruleIndex);
    if (actionSet == nullptr || actionSet->action().empty()) {
        SHOW_TRACE(8, "No actions mapped to " << ruleName);
        return;
    }
    const ActionsByType byType = actionsByType(*actionSet);
    const auto object = renderer.object("actions");
    renderer.indent(indent).text("Actions: ").endLine();
    const Layout layout{indent, policyState.indentCountPerLevel(), policyState.detail(),
                        renderCount};
    for (const ActionRow& row : actionRows) {
        const Action* const action = byType[PolicyMap::placeOfAction(row.type)];
        if (action != nullptr) row.render(renderer, *action, layout);
    }
}

}  // namespace TrafficPolicyCli
