// The count action inside a rule: "Count: " with the figures of a named counter or of the rule, on
// interfaces those of input on the first line and of output on the next, aligned.
#include "base/Text.h"
#include "counters/CounterLookup.h"
#include "counters/CounterView.h"
#include "frame/Trace.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using textout::RendererV2;

namespace {

constexpr std::string_view inputKeys[] = {"countNamed", "inputNamedCounters"};
constexpr std::string_view outputKey = "outputNamedCounters";

// The counts of one direction of a counter; available is clear when there is no live record.
struct Figures {
    bool available = false;
    U64 packets = 0;
    U64 bytes = 0;
};

Figures namedFigures(const Orb::Ptr<const PolicyState>& policyState,
                     const Orb::Ptr<const TrafficPolicy::Counter>& snapshots,
                     const Orb::String& counterName, bool isInput) {
    const auto data = getNamedCounterData(policyState, counterName, isInput);
    if (!data) return {};
    return {true, getNamedPacketCount(snapshots, data, policyState->name()),
            getNamedByteCount(snapshots, data, policyState->name())};
}

// The rule's own counter is kept under its name; without a status (null) there is none.
Figures ruleFigures(const Orb::Ptr<const PolicyState>& policyState,
                    const Orb::Ptr<const TrafficPolicy::Counter>& snapshots,
                    const PolicyMap::ClassMapStatus* cmapStatus, bool isInput, U32 ruleIndex) {
    if (cmapStatus == nullptr) return {};
    const auto data = getUnnamedCounterData(policyState, cmapStatus->name(), isInput, ruleIndex);
    if (!data) return {};
    return {true, getRulePacketCount(data, snapshots, policyState->name()), 0};
}

void renderNamedObject(RendererV2& renderer, std::string_view key, const Orb::String& counterName,
                       const Figures& figures, bool byteSwitch) {
    if (!figures.available) return;
    const auto keyed = renderer.object(key);
    const auto counter = renderer.object(counterName);
    renderer.pair("packetCount", figures.packets);
    if (byteSwitch) renderer.pair("byteCount", figures.bytes);
}

void renderUndefinedObject(RendererV2& renderer, std::string_view key,
                           const Orb::String& counterName) {
    const auto keyed = renderer.object(key);
    const auto counter = renderer.object(counterName);
    renderer.pair("undefined", true);
}

void renderUndeclaredInputNamedCounter(RendererV2& renderer, const Orb::String& counterName,
                                       U32 indent) {
    SHOW_TRACE_ENTRY();
    renderer.indent(indent)
        .text("Count: ")
        .name(counterName)
        .text(" (counter '")
        .name(counterName)
        .text("' is inactive because it has not been declared)")
        .endLine();
    for (const std::string_view key : inputKeys) renderUndefinedObject(renderer, key, counterName);
}

void renderFigures(RendererV2& renderer, const Figures& figures, bool byteSwitch,
                   std::string_view suffix) {
    if (figures.available) {
        renderCounts(renderer, figures.packets, figures.bytes, byteSwitch);
    } else {
        renderer.text("N/A");
    }
    renderer.text(suffix).endLine();
}

// Prints the shown directions, each on its line, the figures one under the other. The name is empty
// for the rule's own counter.
void renderDirections(RendererV2& renderer, U32 indent, const Orb::String& counterName,
                      const Figures* input, const Figures* output, bool byteSwitch) {
    renderer.indent(indent).text("Count: ");
    U32 column = indent + 7;
    if (!counterName.empty()) {
        renderer.name(counterName).text(": ");
        column += Base::terminalColumns(counterName) + 2;
    }
    if (input != nullptr) renderFigures(renderer, *input, byteSwitch, " (input)");
    if (output == nullptr) return;
    if (input != nullptr) renderer.indent(column);
    renderFigures(renderer, *output, byteSwitch, " (output)");
}

}  // namespace

void ShowTrafficPolicyCpu::renderCountAction(RendererV2* renderer, U32 ruleIndex,
                                             const Orb::Ptr<const PolicyState>& policyState,
                                             const Orb::Ptr<const PolicyMap::Action>& action,
                                             U32 indent) {
    SHOW_TRACE_ENTRY();
    ORB_ASSERT(policyState);
    const Orb::String& counterName =
        static_cast<const PolicyMap::CountAction&>(*action).counterName();
    if (counterName.empty()) {
        const PolicyMap::ClassMapStatus* const cmapStatus =
            policyState->classMapStatusInput(ruleIndex);
        ORB_ASSERT(cmapStatus);
        const Figures figures =
            ruleFigures(policyState, policyState->counter(), cmapStatus, true, ruleIndex);
        renderer->indent(indent).text("Count: ");
        renderFigures(*renderer, figures, false, "");
        if (!figures.available) return;
        renderer->pair("count", figures.packets);
        renderer->pair("inputCounter", figures.packets);
        return;
    }
    if (policyState->namedCounter(counterName) == nullptr) {
        renderUndeclaredInputNamedCounter(*renderer, counterName, indent);
        return;
    }
    const Figures figures = namedFigures(policyState, policyState->counter(), counterName, true);
    renderer->indent(indent).text("Count: ").name(counterName).text(": ");
    renderFigures(*renderer, figures, byteCountersSupported(), "");
    for (const std::string_view key : inputKeys) {
        renderNamedObject(*renderer, key, counterName, figures, byteCountersSupported());
    }
}

void ShowTrafficPolicyInterface::renderCountAction(RendererV2* renderer, U32 ruleIndex,
                                                   const Orb::Ptr<const PolicyState>& policyState,
                                                   const Orb::Ptr<const PolicyMap::Action>& action,
                                                   U32 indent) {
    SHOW_TRACE_ENTRY();
    ORB_ASSERT(policyState);
    const auto& record = static_cast<const PolicyStateInterface&>(*policyState);
    const Orb::String& counterName =
        static_cast<const PolicyMap::CountAction&>(*action).counterName();
    if (!counterName.empty() && record.namedCounter(counterName) == nullptr) {
        renderUndeclaredInputNamedCounter(*renderer, counterName, indent);
        renderUndefinedObject(*renderer, outputKey, counterName);
        return;
    }
    const bool showsInput = !filterOutputPolicies();
    const bool showsOutput = !filterInputPolicies();
    Figures input;
    Figures output;
    if (counterName.empty()) {
        const PolicyMap::ClassMapStatus* const cmapStatus = record.classMapStatusInput(ruleIndex);
        const PolicyMap::ClassMapStatus* const cmapStatusOutput =
            record.classMapStatusOutput(ruleIndex);
        if (cmapStatus != nullptr && cmapStatusOutput != nullptr) {
            ORB_ASSERT(cmapStatusOutput->name() == cmapStatus->name());
        }
        input = ruleFigures(policyState, record.counter(), cmapStatus, true, ruleIndex);
        output =
            ruleFigures(policyState, record.counterOutput(), cmapStatusOutput, false, ruleIndex);
        if (showsInput && input.available) {
            renderer->pair("count", input.packets);
            renderer->pair("inputCounter", input.packets);
        }
        if (showsOutput && output.available) renderer->pair("outputCounter", output.packets);
    } else {
        input = namedFigures(policyState, record.counter(), counterName, true);
        output = namedFigures(policyState, record.counterOutput(), counterName, false);
        if (showsInput) {
            for (const std::string_view key : inputKeys) {
                renderNamedObject(*renderer, key, counterName, input, byteCountersSupported());
            }
        }
        if (showsOutput) {
            renderNamedObject(*renderer, outputKey, counterName, output, byteCountersSupported());
        }
    }
    renderDirections(*renderer, indent, counterName, showsInput ? &input : nullptr,
                     showsOutput ? &output : nullptr,
                     byteCountersSupported() && !counterName.empty());
}

}  // namespace TrafficPolicyCli
