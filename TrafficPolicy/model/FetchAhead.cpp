#include "model/FetchAhead.h"

#include <algorithm>

namespace TrafficPolicyCli {

namespace {

using PolicyMap::ClassMapConfig;
using PolicyMap::ClassMapMatch;
using PolicyMap::ClassMapStatus;
using PolicyMap::PolicyClassAction;

constexpr std::size_t lineSize = 64;

// For objects that are read.
template <class Object>
void fetch(const Object* object) {
    const auto* const bytes = reinterpret_cast<const char*>(object);
    for (std::size_t at = 0; at < sizeof(Object); at += lineSize) __builtin_prefetch(bytes + at);
}

// For objects to which a reference will be added, too.
void fetchToRefer(const Orb::PtrInterface& object) { __builtin_prefetch(&object, 1); }

// The record that a collection holds in an entry.
template <class Record>
const Record* recordIn(const Orb::Ptr<Record>& entry) {
    return entry.get();
}
template <class Key, class Record>
const Record* recordIn(const Orb::MapEntry<Key, Orb::Ptr<Record>>& entry) {
    return entry.value.get();
}

// Calls visit(record) for the records of the rules of one group.
template <class Records, class Visit>
void forRules(const Records& records, U32 from, Visit visit) {
    const U32 end = std::min(records.size(), from + rulesFetchedTogether);
    for (U32 at = from; at < end; ++at) {
        if (const auto* const record = recordIn(*(records.begin() + at))) visit(*record);
    }
}

template <class Records>
void fetchRecords(const Records& records, U32 from) {
    forRules(records, from, [](const auto& record) { fetch(&record); });
}

template <class Records>
void fetchToRefer(const Records& records, U32 from) {
    forRules(records, from, [](const auto& record) { fetchToRefer(record); });
}

template <class ActionSets>
void fetchActions(const ActionSets& actionSets, U32 from) {
    fetchRecords(actionSets, from);
    forRules(actionSets, from,
             [](const PolicyClassAction& actions) { fetch(actions.action().begin()); });
    forRules(actionSets, from, [](const PolicyClassAction& actions) {
        for (const auto& [type, action] : actions.action()) {
            fetch(static_cast<const PolicyMap::CountAction*>(action.get()));
        }
    });
}

template <class Visit>
void forFilters(const PolicyState& policyState, U32 from, Visit visit) {
    forRules(policyState.classMapConfig(), from, [&](const ClassMapMatch& match) {
        if (match.structuredFilter()) visit(*match.structuredFilter());
    });
}

template <class Visit>
void forProtocols(const PolicyState& policyState, U32 from, Visit visit) {
    forFilters(policyState, from, [&](const Classification::StructuredFilter& filter) {
        for (const auto& [range, protoField] : filter.protocols()) {
            if (protoField) visit(*protoField);
        }
    });
}

template <class Visit>
void forPortFields(const PolicyState& policyState, U32 from, Visit visit) {
    forProtocols(policyState, from, [&](const Classification::ProtoField& protoField) {
        for (const auto& ports : protoField.portFields()) {
            if (ports) visit(*ports);
        }
    });
}

void fetchCriteria(const PolicyState& policyState, U32 from) {
    forFilters(policyState, from, [](const auto& filter) { fetch(&filter); });
    forFilters(policyState, from, [](const auto& filter) {
        fetch(filter.sources().begin());
        fetch(filter.destinations().begin());
        fetch(filter.protocols().begin());
    });
    forProtocols(policyState, from, [](const auto& protoField) { fetch(&protoField); });
    forProtocols(policyState, from,
                 [](const auto& protoField) { fetch(protoField.portFields().find(0)); });
    forPortFields(policyState, from, [](const auto& ports) { fetch(&ports); });
    forPortFields(policyState, from, [](const auto& ports) {
        fetch(ports.sport().begin());
        fetch(ports.dport().begin());
    });
}

// The names and counter records of one direction.
void fetchFigures(const PolicyState& policyState, bool isInput, U32 from) {
    if (isInput) {
        fetchRecords(policyState.classMapStatusInput(), from);
        fetchRecords(policyState.inputClassCounters(), from);
    } else {
        const auto& onInterfaces = static_cast<const PolicyStateInterface&>(policyState);
        fetchRecords(onInterfaces.classMapStatusOutput(), from);
        fetchRecords(onInterfaces.outputClassCounters(), from);
    }
}

void fetchActionsOf(const PolicyState& policyState, U32 from) {
    const auto& config = policyState.policyMapConfig();
    if (config && config->currCfg()) fetchActions(config->currCfg()->policyAction(), from);
}

}  // namespace

void fetchForGathering(const PolicyMap::PolicyMapSubConfig& currCfg,
                       const PolicyMap::PolicyMapStatus& policyStatus, U32 from) {
    fetchToRefer(policyStatus.classMapStatus(), from);
    fetchRecords(currCfg.classMap(), from);
    forRules(policyStatus.classMapStatus(), from,
             [](const ClassMapStatus& status) { fetch(status.match().begin()); });
    forRules(currCfg.classMap(), from,
             [](const ClassMapConfig& config) { fetch(config.match().begin()); });
    forRules(currCfg.classMap(), from, [](const ClassMapConfig& config) {
        for (const auto& [option, match] : config.match()) fetchToRefer(*match);
    });
    fetchActions(currCfg.policyAction(), from);
}

void fetchForCounters(const PolicyState& policyState, bool isInput, U32 from) {
    fetchFigures(policyState, isInput, from);
    fetchActionsOf(policyState, from);
}

void fetchForRules(const PolicyState& policyState, bool onInterfaces, U32 from) {
    fetchRecords(policyState.classMapConfig(), from);
    if (policyState.summary()) {
        fetchRecords(policyState.classMapStatusInput(), from);
        return;
    }
    fetchCriteria(policyState, from);
    fetchFigures(policyState, true, from);
    if (onInterfaces) fetchFigures(policyState, false, from);
    fetchActionsOf(policyState, from);
}

}  // namespace TrafficPolicyCli
