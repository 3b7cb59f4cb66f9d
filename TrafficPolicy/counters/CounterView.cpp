#include "counters/CounterView.h"

#include "counters/CounterLookup.h"
#include "frame/Trace.h"
#include "orb/Assert.h"

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

const Orb::Ptr<const TrafficPolicy::Counter>& snapshotsOf(const PolicyState& policyState,
                                                          bool isInput) {
    return isInput ? policyState.counter()
                   : static_cast<const PolicyStateInterface&>(policyState).counterOutput();
}

const PolicyMap::PolicyMapStatus* statusOf(const PolicyState& policyState, bool isInput) {
    return isInput ? policyState.policyMapStatusInput().get()
                   : static_cast<const PolicyStateInterface&>(policyState)
                         .policyMapStatusOutput()
                         .get();
}

bool countsPerInterface(const PolicyState& policyState, bool isInput, bool isCpu) {
    if (isCpu) return false;
    return isInput
               ? policyState.countersPerInterface()
               : static_cast<const PolicyStateInterface&>(policyState).countersPerInterfaceOutput();
}

// One direction of one policy, and how its counts are shown.
struct Direction {
    const PolicyState& policyState;
    const Orb::Ptr<const TrafficPolicy::Counter>& snapshots;
    bool byteSwitch;
    bool isInput;
};

void renderInterfaces(RendererV2& renderer, const Direction& direction,
                      const PolicyMap::PacketDataStatus& data, U32 indent) {
    const auto interfaces = renderer.object("interfaces");
    const Orb::String& policyName = direction.policyState.name();
    for (const auto& [intfId, intfData] : data.perIntfCount()) {
        const U64 packets =
            getInterfacePacketCount(direction.snapshots, data, *intfData, policyName);
        const U64 bytes = getInterfaceByteCount(direction.snapshots, data, *intfData, policyName);
        const auto object = renderer.object(intfId.stringValue());
        renderer.pair("packetCount", packets);
        if (direction.byteSwitch) renderer.pair("byteCount", bytes);
        renderer.indent(indent).name(intfId.stringValue()).text(": ");
        renderCounts(renderer, packets, bytes, direction.byteSwitch);
        renderer.endLine();
    }
}

void renderNamedCounterInfo(RendererV2& renderer, const Direction& direction,
                            const Orb::Ptr<const PolicyMap::PacketDataStatus>& data, U32 indent,
                            bool perInterface) {
    const auto counter = renderer.object(data->name());
    renderer.indent(indent).name(data->name()).text(":");
    if (perInterface) {
        const U32 rowIndent = direction.policyState.indentCountPerLevel() + 3;
        renderer.endLine();
        renderInterfaces(renderer, direction, *data, rowIndent);
        renderer.indent(rowIndent).text("Total:");
    }
    const Orb::String& policyName = direction.policyState.name();
    const U64 packets = getNamedPacketCount(direction.snapshots, data, policyName);
    const U64 bytes = getNamedByteCount(direction.snapshots, data, policyName);
    renderer.text(" ");
    renderCounts(renderer, packets, bytes, direction.byteSwitch);
    renderer.endLine();
    const auto totals = renderer.object("totals");
    renderer.pair("packetTotal", packets);
    if (direction.byteSwitch) renderer.pair("byteTotal", bytes);
}

}  // namespace

void renderPolicyNamedCountersInfo(RendererV2& renderer,
                                   const Orb::Ptr<const PolicyState>& policyState,
                                   const NamedCountersUsed& namedCounters, bool byteSwitch,
                                   U32 indent, bool isInput, bool isCpu) {
    SHOW_TRACE_ENTRY();
    if (statusOf(*policyState, isInput) == nullptr || namedCounters.empty()) return;
    const Direction direction{*policyState, snapshotsOf(*policyState, isInput), byteSwitch,
                              isInput};
    const auto object = renderer.object("namedCounters");
    for (const auto& [name, unused] : namedCounters) {
        const auto data = getNamedCounterData(policyState, name, isInput);
        if (!data) {
            SHOW_TRACE(1, "Counter: " << name << " is undefined");
            continue;
        }
        renderNamedCounterInfo(renderer, direction, data, indent,
                               countsPerInterface(*policyState, isInput, isCpu));
    }
}

void renderPolicyUnnamedCountersInfo(RendererV2& renderer,
                                     const Orb::Ptr<const PolicyState>& policyState,
                                     const UnnamedCountersUsed& unnamedCounters, bool isInput) {
    SHOW_TRACE_ENTRY();
    if (unnamedCounters.empty()) return;
    const auto object = renderer.object("unnamedCounters");
    U32 nextIndex = 0;
    for (const Orb::String* const named : unnamedCounters) {
        const U32 ruleIndex = nextIndex++;
        if (named == nullptr) continue;
        const Orb::String& className = *named;
        renderer.indent(policyState->indentCountPerLevel())
            .text("match rule: ")
            .name(className)
            .text(": ");
        const auto data = getUnnamedCounterData(policyState, className, isInput, ruleIndex);
        if (!data) {
            renderer.text("N/A").endLine();
            continue;
        }
        const U64 packets =
            getRulePacketCount(data, snapshotsOf(*policyState, isInput), policyState->name());
        renderer.number(packets).text(" packets").endLine();
        const auto rule = renderer.object(className);
        const auto totals = renderer.object("totals");
        renderer.pair("packetTotal", packets);
    }
}

void renderCounterGranularity(
    RendererV2& renderer,
    const Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus>& policyParamStatus,
    bool isInput) {
    SHOW_TRACE_ENTRY();
    if (!policyParamStatus) return;
    using TrafficPolicy::CounterGranularity;
    const auto granularity = isInput ? policyParamStatus->ingressCounterGranularity()
                                     : policyParamStatus->egressCounterGranularity();
    std::string_view words;
    switch (granularity) {
        case CounterGranularity::notEnabled:
            renderer.text("Counter granularity: counter not enabled").endLine();
            return;
        case CounterGranularity::perPolicy:
            words = "per-policy";
            break;
        case CounterGranularity::perInterface:
            words = "per-interface";
            break;
    }
    if (words.empty()) return;
    renderer.text("Counter granularity: ").text(words).endLine();
    renderer.pair(isInput ? "ingressCounterGranularity" : "egressCounterGranularity", words);
}

namespace {

// Sorts the count actions of a policy's rules, whose names the direction's status entries give.
void collectCountersUsed(const PolicyState& policyState, bool isInput, NamedCountersUsed& named,
                         UnnamedCountersUsed& unnamed) {
    const auto& ruleStatuses =
        isInput ? policyState.classMapStatusInput()
                : static_cast<const PolicyStateInterface&>(policyState).classMapStatusOutput();
    U32 nextIndex = 0;
    for (const auto& cmapStatus : ruleStatuses) {
        const U32 index = nextIndex++;
        if (!cmapStatus) continue;
        const PolicyMap::CountAction* const count =
            countActionOf(policyState, cmapStatus->name(), index);
        if (count == nullptr) continue;
        if (count->counterName().empty()) {
            unnamed.is(index, &cmapStatus->name());
        } else {
            named.is(count->counterName(), 0U);
        }
    }
}

// The body of one direction: every record of the map from policy, of a name when one is given.
template <class Iterator>
void _renderTrafficPolicyCounters(RendererV2& renderer, Iterator policy, Iterator end,
                                  const Orb::String& policyName, bool byteSwitch, bool isInput,
                                  bool isCpu) {
    SHOW_TRACE_ENTRY();
    if (!isInput) ORB_ASSERT(!isCpu);
    const auto policies = renderer.object(isInput ? "trafficPolicies" : "egressTrafficPolicies");
    for (; policy != end; ++policy) {
        const auto& [name, record] = *policy;
        if (!policyName.empty() && policyName != name) continue;
        if (statusOf(*record, isInput) == nullptr || !record->policyMapConfig()) {
            SHOW_TRACE(6, "TrafficPolicyShowCliHelper::_renderTrafficPolicyCounters  - "
                              << name << " is undefined; skip rendering its counters. isInput = "
                              << isInput);
            continue;
        }
        NamedCountersUsed named;
        UnnamedCountersUsed unnamed;
        collectCountersUsed(*record, isInput, named, unnamed);
        renderer.text("Traffic policy ").name(name).endLine();
        const auto object = renderer.object(name);
        const Orb::Ptr<const PolicyState> policyState = record;
        renderPolicyNamedCountersInfo(renderer, policyState, named, byteSwitch,
                                      record->indentCountPerLevel(), isInput, isCpu);
        renderPolicyUnnamedCountersInfo(renderer, policyState, unnamed, isInput);
    }
}

bool hasPolicies(const Orb::Ptr<const TrafficPolicy::Status>& status) {
    return status && !status->policyMapStatus().empty();
}

}  // namespace

void ShowTrafficPolicyCpu::renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    textout::TextOutBuffer out(fd);
    RendererV2 renderer(out, format, revision);
    renderer.documentBegin();
    _renderTrafficPolicyCounters(renderer, policyState().begin(), policyState().end(), policyName(),
                                 byteCountersSupported(), true, true);
    renderer.documentEnd();
    renderer.flush();
}

void ShowTrafficPolicyInterface::renderTrafficPolicyCounters(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    textout::TextOutBuffer out(fd);
    RendererV2 renderer(out, format, revision);
    renderer.documentBegin();
    const auto renderDirection = [&](bool isInput) {
        _renderTrafficPolicyCounters(renderer, policyState().begin(), policyState().end(),
                                     policyName(), byteCountersSupported(), isInput, false);
    };
    const bool showsInput = !filterOutputPolicies();
    if (showsInput) {
        if (hasPolicies(status())) {
            renderer.text("Traffic-policies applied on input:").endLine();
            renderCounterGranularity(renderer, policyParamStatus(), true);
        }
        renderDirection(true);
    }
    if (!filterInputPolicies()) {
        if (hasPolicies(statusOutput())) {
            if (showsInput) renderer.endLine();
            renderer.text("Traffic-policies applied on output:").endLine();
            renderCounterGranularity(renderer, policyParamStatus(), false);
        }
        renderDirection(false);
    }
    renderer.documentEnd();
    renderer.flush();
}

}  // namespace TrafficPolicyCli
