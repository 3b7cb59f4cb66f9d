#include "counters/CountActionView.h"

#include "base/Text.h"
#include "counters/CounterLookup.h"
#include "counters/CounterView.h"
#include "frame/Trace.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using textout::RendererV2;

namespace {

// The counts of one side; available is clear when there is no live record.
struct CountFigures {
    bool available = false;
    U64 packets = 0;
    U64 bytes = 0;
};

CountFigures namedFigures(const PolicyState& policyState, const Direction& direction,
                          const Orb::String& counterName) {
    const auto data = getNamedCounterData(policyState, direction, counterName);
    if (!data) return {};
    const auto& snapshots = direction.snapshots(policyState);
    return {true, getNamedPacketCount(snapshots, data, policyState.name()),
            getNamedByteCount(snapshots, data, policyState.name())};
}

const PolicyMap::ClassMapStatus* ruleStatus(const PolicyState& policyState,
                                            const Direction& direction, U32 ruleIndex) {
    const auto* const status = direction.rules(policyState).find(ruleIndex);
    return status == nullptr ? nullptr : status->get();
}

// The rule's own counter is kept under its name; without a status there is none.
CountFigures ruleFigures(const PolicyState& policyState, const Direction& direction,
                         U32 ruleIndex) {
    const auto* const cmapStatus = ruleStatus(policyState, direction, ruleIndex);
    if (cmapStatus == nullptr) return {};
    const auto data = getUnnamedCounterData(policyState, direction, cmapStatus->name(), ruleIndex);
    if (!data) return {};
    return {true, getRulePacketCount(data, direction.snapshots(policyState), policyState.name()),
            0};
}

// A rule of one direction has a status there; one of two has the same name in both.
void assertRuleStatus(const PolicyState& policyState, U32 ruleIndex) {
    const auto* const cmapStatus = ruleStatus(policyState, inputDirection, ruleIndex);
    if (policyState.kind().directions.size() == 1) {
        ORB_ASSERT(cmapStatus);
        return;
    }
    const auto* const cmapStatusOutput = ruleStatus(policyState, outputDirection, ruleIndex);
    if (cmapStatus != nullptr && cmapStatusOutput != nullptr) {
        ORB_ASSERT(cmapStatusOutput->name() == cmapStatus->name());
    }
}

void renderUndeclaredInputNamedCounter(RendererV2& renderer, const PolicyState& policyState,
                                       const Orb::String& counterName, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderer.indent(indent)
        .text("Count: ")
        .name(counterName)
        .text(" (counter '")
        .name(counterName)
        .text("' is inactive because it has not been declared)")
        .endLine();
    for (const Side* const side : policyState.kind().sides) {
        for (const std::string_view key : side->namedCountKeys) {
            const auto keyed = renderer.object(key);
            const auto counter = renderer.object(counterName);
            renderer.pair("undefined", true);
        }
    }
}

void renderJson(RendererV2& renderer, const Side& side, const Orb::String& counterName,
                const CountFigures& figures, bool byteSwitch) {
    if (!figures.available) return;
    if (counterName.empty()) {
        for (const std::string_view key : side.countKeys) renderer.pair(key, figures.packets);
        return;
    }
    for (const std::string_view key : side.namedCountKeys) {
        const auto keyed = renderer.object(key);
        const auto counter = renderer.object(counterName);
        renderer.pair("packetCount", figures.packets);
        if (byteSwitch) renderer.pair("byteCount", figures.bytes);
    }
}

void renderText(RendererV2& renderer, const Side& side, const CountFigures& figures,
                bool byteSwitch) {
    if (figures.available) {
        renderCounts(renderer, figures.packets, figures.bytes, byteSwitch);
    } else {
        renderer.text("N/A");
    }
    renderer.text(side.countSuffix).endLine();
}

}  // namespace

void renderCountAction(RendererV2& renderer, U32 ruleIndex,
                       const Orb::Ptr<const PolicyState>& policyState,
                       const Orb::Ptr<const PolicyMap::Action>& action, U32 indent,
                       bool byteSwitch) {
    ORB_ASSERT(policyState);
    // Empty: the rule's own counter, which counts packets only.
    const Orb::String& counterName =
        static_cast<const PolicyMap::CountAction&>(*action).counterName();
    const bool isNamed = !counterName.empty();
    if (isNamed && policyState->namedCounter(counterName) == nullptr) {
        return renderUndeclaredInputNamedCounter(renderer, *policyState, counterName, indent);
    }
    if (!isNamed) assertRuleStatus(*policyState, ruleIndex);
    renderer.indent(indent).text("Count: ");
    U32 column = indent + 7;
    if (isNamed) {
        renderer.name(counterName).text(": ");
        column += Base::terminalColumns(counterName) + 2;
    }
    bool isFirst = true;
    for (const Side* const side : policyState->kind().sides) {
        if (side->direction == nullptr || !side->isShown(*policyState)) continue;
        const CountFigures figures = isNamed
                                         ? namedFigures(*policyState, *side->direction, counterName)
                                         : ruleFigures(*policyState, *side->direction, ruleIndex);
        if (!isFirst) renderer.indent(column);
        isFirst = false;
        renderText(renderer, *side, figures, byteSwitch && isNamed);
        renderJson(renderer, *side, counterName, figures, byteSwitch);
    }
}

}  // namespace TrafficPolicyCli
