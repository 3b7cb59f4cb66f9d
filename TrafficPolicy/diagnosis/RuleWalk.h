// The rules of a version in their order, and the field sets that a rule names. Records are looked
// for at the rule's place first, because the maps of a version are mostly filled in its order.
#pragma once

#include "diagnosis/FieldSets.h"
#include "hive/PolicyMapConfig.h"
#include "textout/Exceptions.h"

namespace TrafficPolicyCli::Diagnosis {

struct Rule {
    const Orb::String& name;
    U32 place;                                    // in the order of the rules, from 0
    const PolicyMap::ClassMapConfig* config;      // its matches; may be null
    const PolicyMap::PolicyClassAction* actions;  // may be null
};

// The record of a rule in a map by rule name; null when there is none.
template <class Records>
auto* recordOf(const Records& records, const Orb::String& name, U32 place) {
    const auto* const record = records.find(name, place);
    return record == nullptr ? nullptr : record->get();
}

// Calls visit(rule) for each rule by ascending priority.
template <class Visit>
void forEachRule(const PolicyMap::PolicyMapSubConfig& version, Visit visit) {
    U32 place = 0;
    for (const auto& [priority, name] : version.classPriority()) {
        textout::checkInterrupt();
        visit(Rule{name, place, recordOf(version.classMap(), name, place),
                   recordOf(version.policyAction(), name, place)});
        ++place;
    }
}

// The action of a type in its own class; null when the rule does not have it.
template <class Action>
const Action* actionOf(const Rule& rule, PolicyMap::ActionType type) {
    const PolicyMap::Action* const action =
        rule.actions == nullptr ? nullptr : rule.actions->action(type);
    return static_cast<const Action*>(action);
}

// Calls visit(kind, criterion, names) for each criterion of one header that can name field sets;
// the criterion as a text tells it ("source prefix"). Prefix sets are of the given family.
template <class Visit>
void forEachFieldSetCriterionOfHeader(const Classification::StructuredFilter& filter,
                                      FieldSetKind prefixKind, Visit& visit) {
    visit(prefixKind, std::string_view("source prefix"), filter.srcPrefixSets());
    visit(prefixKind, std::string_view("source longest match"), filter.srcLpmPrefixSets());
    visit(prefixKind, std::string_view("destination prefix"), filter.dstPrefixSets());
    visit(prefixKind, std::string_view("destination longest match"), filter.dstLpmPrefixSets());
    for (const auto& tag : filter.vlanTags()) {
        visit(FieldSetKind::vlan, std::string_view("VLAN tag"), tag->vlanFieldSets());
    }
    for (const auto& [range, protoField] : filter.protocols()) {
        if (!protoField) continue;
        for (const auto& ports : protoField->portFields()) {
            visit(FieldSetKind::l4Port, std::string_view("source port"), ports->sportFieldSets());
            visit(FieldSetKind::l4Port, std::string_view("destination port"),
                  ports->dportFieldSets());
        }
    }
}

// The same for the header and for that of the packet inside.
template <class Visit>
void forEachFieldSetCriterion(const Classification::StructuredFilter& filter,
                              FieldSetKind prefixKind, Visit& visit) {
    forEachFieldSetCriterionOfHeader(filter, prefixKind, visit);
    const auto& inner = filter.innerMatch();
    if (!inner || !inner->structuredFilter()) return;
    const auto visitInner = [&visit](FieldSetKind kind, std::string_view criterion,
                                     const auto& names) {
        if (!names.empty()) visit(kind, "inner " + Orb::String(criterion), names);
    };
    forEachFieldSetCriterionOfHeader(*inner->structuredFilter(),
                                     inner->af() == Wire::AddressFamily::ipv4
                                         ? FieldSetKind::ipv4Prefix
                                         : FieldSetKind::ipv6Prefix,
                                     visitInner);
}

// Calls visit(kind, criterion, name) for each field set that a match names.
template <class Visit>
void forEachFieldSet(const PolicyMap::ClassMapMatch& match, Visit visit) {
    if (!match.structuredFilter().namesFieldSets()) return;
    const auto visitNames = [&visit](FieldSetKind kind, std::string_view criterion,
                                     const Orb::HashSet2018<Orb::String>& names) {
        for (const Orb::String& name : names) visit(kind, criterion, name);
    };
    forEachFieldSetCriterion(*match.structuredFilter(),
                             match.option() == PolicyMap::ClassMapMatchOption::ipv6
                                 ? FieldSetKind::ipv6Prefix
                                 : FieldSetKind::ipv4Prefix,
                             visitNames);
}

}  // namespace TrafficPolicyCli::Diagnosis
