#include "counters/CounterView.h"

#include "base/Time.h"
#include "counters/CounterLookup.h"
#include "frame/Trace.h"

namespace TrafficPolicyCli {

using textout::RendererV2;

const PolicyMap::CountAction* countActionOf(const PolicyState& policyState,
                                            const Orb::String& ruleName, U32 ruleIndex) {
    const auto& policyMapConfig = policyState.policyMapConfig();
    if (!policyMapConfig || !policyMapConfig->currCfg()) return nullptr;
    const auto* const actions =
        policyMapConfig->currCfg()->policyAction().find(ruleName, ruleIndex);
    if (actions == nullptr) return nullptr;
    return static_cast<const PolicyMap::CountAction*>(
        (*actions)->action(PolicyMap::ActionType::count));
}

void renderCounts(RendererV2& renderer, U64 packets, U64 bytes, bool byteSwitch) {
    renderer.number(packets).text(" packets");
    if (byteSwitch) renderer.text(" ").number(bytes).text(" bytes");
}

namespace {

// One direction of one policy, and how its counts are shown.
struct Counted {
    const PolicyState& policyState;
    const Orb::Ptr<const TrafficPolicy::Counter>& snapshots;
    bool perInterface;
    bool byteSwitch;
    bool onlyCounted;
};

// Why a figure is 0, where the live count fell below what it was at the last clear.
void renderBelow(RendererV2& renderer, bool isBelow) {
    if (isBelow) renderer.pair("belowSnapshot", true);
}

// Since when the figures of a policy count, and who had them begin then, where that is known.
void renderLastClear(RendererV2& renderer, const PolicyState& policyState,
                     const Direction& direction) {
    const auto& snapshots = direction.snapshots(policyState);
    if (!snapshots) return;
    const TrafficPolicy::Clear clear = snapshots->lastClear(policyState.name());
    if (!clear.isKnown()) return;
    const auto object = renderer.object("lastClear");
    renderer.pair("time", Base::timeText(clear.time));
    renderer.pair("user", clear.user);
    if (!clear.terminal.empty()) renderer.pair("terminal", clear.terminal);
}

void renderInterfaces(RendererV2& renderer, const Counted& counted,
                      const PolicyMap::PacketDataStatus& data, U32 indent) {
    const auto interfaces = renderer.object("interfaces");
    const Orb::String& policyName = counted.policyState.name();
    for (const auto& [intfId, intfData] : data.perIntfCount()) {
        const U64 packets = getInterfacePacketCount(counted.snapshots, data, *intfData, policyName);
        const U64 bytes = getInterfaceByteCount(counted.snapshots, data, *intfData, policyName);
        if (counted.onlyCounted && packets == 0) continue;
        const auto object = renderer.object(intfId.stringValue());
        renderer.pair("packetCount", packets);
        if (counted.byteSwitch) renderer.pair("byteCount", bytes);
        renderBelow(renderer, isInterfaceBelowSnapshot(counted.snapshots, data, *intfData,
                                                       policyName, counted.byteSwitch));
        renderer.indent(indent).name(intfId.stringValue()).text(": ");
        renderCounts(renderer, packets, bytes, counted.byteSwitch);
        renderer.endLine();
    }
}

void renderNamedCounterInfo(RendererV2& renderer, const Counted& counted,
                            const Orb::Ptr<const PolicyMap::PacketDataStatus>& data) {
    const U32 indent = counted.policyState.indentCountPerLevel();
    const auto counter = renderer.object(data->name());
    renderer.indent(indent).name(data->name()).text(":");
    if (counted.perInterface) {
        renderer.endLine();
        renderInterfaces(renderer, counted, *data, indent + 3);
        renderer.indent(indent + 3).text("Total:");
    }
    const Orb::String& policyName = counted.policyState.name();
    const U64 packets = getNamedPacketCount(counted.snapshots, data, policyName);
    const U64 bytes = getNamedByteCount(counted.snapshots, data, policyName);
    renderer.text(" ");
    renderCounts(renderer, packets, bytes, counted.byteSwitch);
    renderer.endLine();
    const auto totals = renderer.object("totals");
    renderer.pair("packetTotal", packets);
    if (counted.byteSwitch) renderer.pair("byteTotal", bytes);
    renderBelow(renderer,
                isNamedBelowSnapshot(counted.snapshots, *data, policyName, counted.byteSwitch));
}

// Sorts the count actions of a policy's rules, whose names the direction's status entries give.
void collectCountersUsed(const PolicyState& policyState, const Direction& direction,
                         NamedCountersUsed& named, UnnamedCountersUsed& unnamed) {
    U32 nextIndex = 0;
    for (const auto& cmapStatus : direction.rules(policyState)) {
        const U32 index = nextIndex++;
        if (!cmapStatus) continue;
        const PolicyMap::CountAction* const count =
            countActionOf(policyState, cmapStatus->name(), index);
        if (count == nullptr) continue;
        if (count->counterName().empty()) {
            const Orb::String& name = cmapStatus->name();
            unnamed.is(index, &name);
        } else {
            named.is(count->counterName(), 0U);
        }
    }
}

// Drops what counted nothing. Says whether something is left.
bool keepCounted(const PolicyState& policyState, const Direction& direction,
                 NamedCountersUsed& named, UnnamedCountersUsed& unnamed) {
    const auto& snapshots = direction.snapshots(policyState);
    for (auto at = named.begin(); at != named.end();) {
        const auto data = getNamedCounterData(policyState, direction, at->first);
        const bool hasCounted =
            data && getNamedPacketCount(snapshots, data, policyState.name()) > 0;
        at = hasCounted ? std::next(at) : named.del(at);
    }
    bool isAny = !named.empty();
    for (U32 index = 0; index < unnamed.size(); ++index) {
        const Orb::String* const rule = *unnamed.find(index);
        if (rule == nullptr) continue;
        const auto data = getUnnamedCounterData(policyState, direction, *rule, index);
        const bool hasCounted = data && getRulePacketCount(data, snapshots, policyState.name()) > 0;
        isAny = isAny || hasCounted;
        if (!hasCounted) unnamed.is(index, nullptr);
    }
    return isAny;
}

// Says whether there is something to count of a policy in a direction.
bool isCounted(const PolicyState& policyState, const Direction& direction) {
    if (direction.status(policyState) && policyState.policyMapConfig()) return true;
    SHOW_TRACE(6, "TrafficPolicyShowCliHelper::_renderTrafficPolicyCounters  - "
                      << policyState.name()
                      << " is undefined; skip rendering its counters. isInput = "
                      << (&direction == &inputDirection));
    return false;
}

}  // namespace

void renderPolicyNamedCountersInfo(RendererV2& renderer, const PolicyState& policyState,
                                   const NamedCountersUsed& namedCounters,
                                   const CountersShown& shown, const Side& side) {
    SHOW_TRACE_ENTRY();
    const Direction& direction = *side.direction;
    if (!direction.status(policyState) || namedCounters.empty()) return;
    const Counted counted{policyState, direction.snapshots(policyState),
                          direction.countsPerInterface(policyState), shown.byteSwitch,
                          shown.onlyCounted};
    const auto object = renderer.object("namedCounters");
    for (const auto& [name, unused] : namedCounters) {
        const auto data = getNamedCounterData(policyState, direction, name);
        if (!data) {
            SHOW_TRACE(1, "Counter: " << name << " is undefined");
            continue;
        }
        renderNamedCounterInfo(renderer, counted, data);
    }
}

void renderPolicyUnnamedCountersInfo(RendererV2& renderer, const PolicyState& policyState,
                                     const UnnamedCountersUsed& unnamedCounters, const Side& side) {
    SHOW_TRACE_ENTRY();
    if (unnamedCounters.empty()) return;
    const Direction& direction = *side.direction;
    const auto object = renderer.object("unnamedCounters");
    U32 nextIndex = 0;
    for (const Orb::String* const named : unnamedCounters) {
        const U32 ruleIndex = nextIndex++;
        if (named == nullptr) continue;
        const Orb::String& className = *named;
        renderer.indent(policyState.indentCountPerLevel())
            .text("match rule: ")
            .name(className)
            .text(": ");
        const auto data = getUnnamedCounterData(policyState, direction, className, ruleIndex);
        if (!data) {
            renderer.text("N/A").endLine();
            continue;
        }
        const U64 packets =
            getRulePacketCount(data, direction.snapshots(policyState), policyState.name());
        renderer.number(packets).text(" packets").endLine();
        const auto rule = renderer.object(className);
        const auto totals = renderer.object("totals");
        renderer.pair("packetTotal", packets);
        renderBelow(renderer, isRuleBelowSnapshot(direction.snapshots(policyState), *data,
                                                  policyState.name()));
    }
}

void renderMark(RendererV2& renderer, const Orb::String& mark,
                const Orb::Ptr<const TrafficPolicy::Counter>& snapshots) {
    if (mark.empty() || !snapshots) return;
    const Orb::String time = Base::timeText(snapshots->timestamp());
    renderer.text("Counts since mark ").name(mark).text(" of ").text(time).text(":").endLine();
    const auto object = renderer.object("since");
    renderer.pair("mark", mark);
    renderer.pair("time", time);
}

void renderCounterGranularity(
    RendererV2& renderer,
    const Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus>& policyParamStatus,
    const Side& side) {
    SHOW_TRACE_ENTRY();
    if (!policyParamStatus) return;
    constexpr std::string_view words[] = {"counter not enabled", "per-policy", "per-interface"};
    const auto granularity = static_cast<U32>((*policyParamStatus.*side.granularity)());
    if (granularity >= std::size(words)) return;
    renderer.text("Counter granularity: ").text(words[granularity]).endLine();
    if (granularity != 0) renderer.pair(side.granularityKey, words[granularity]);
}

void _renderTrafficPolicyCounters(RendererV2& renderer, const PolicyRecords& policies,
                                  const CountersShown& shown, const Side& side) {
    SHOW_TRACE_ENTRY();
    const Direction& direction = *side.direction;
    const auto dictionary = renderer.object(side.countersKey);
    for (const auto& [name, record] : policies) {
        if (!shown.policyName.empty() && shown.policyName != name) continue;
        if (!isCounted(*record, direction)) continue;
        NamedCountersUsed named;
        UnnamedCountersUsed unnamed;
        collectCountersUsed(*record, direction, named, unnamed);
        if (shown.onlyCounted && !keepCounted(*record, direction, named, unnamed)) continue;
        renderer.text("Traffic policy ").name(name).endLine();
        const auto object = renderer.object(name);
        renderPolicyNamedCountersInfo(renderer, *record, named, shown, side);
        renderPolicyUnnamedCountersInfo(renderer, *record, unnamed, side);
        if (!named.empty() || !unnamed.empty()) renderLastClear(renderer, *record, direction);
    }
}

}  // namespace TrafficPolicyCli
