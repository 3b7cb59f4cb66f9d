// Policies told as rules of a state document, packets told as an operator types them, and answers
// told in one line each.
#pragma once

#include <gtest/gtest.h>

#include <sstream>

#include "SmallState.h"
#include "diagnosis/Matching.h"

namespace TrafficPolicyCli::Diagnosis {

struct RuleText {
    std::string name;
    std::string filter;  // the structured filter
    std::string actions = R"("count": {})";
    std::string option = "ipv4";
};

// A state with the policy P.
inline SmallState::State policyState(const std::vector<RuleText>& rules,
                                     const std::string& fieldSets = "{}") {
    std::string text;
    for (std::size_t i = 0; i < rules.size(); ++i) {
        const RuleText& rule = rules[i];
        text += (i == 0 ? "" : ",") + (R"({"name": ")" + rule.name) + R"(", "priority": )" +
                std::to_string(10 * (i + 1)) + R"(, "match": {")" + rule.option +
                R"(": {"structuredFilter": )" + rule.filter + R"(}}, "action": {)" + rule.actions +
                "}}";
    }
    return SmallState::stateOf(R"({"policyMapConfig": {"P": {"currCfg": {"rules": [)" + text +
                                   R"(]}}}, "fieldSetConfig": )" + fieldSets + "}",
                               "{}");
}

inline const PolicyMap::PolicyMapSubConfig* versionOf(const SmallState::State& state) {
    return state.config->policyMapConfig("P")->currCfg().get();
}

// Numbers, addresses, "vlan 10,20" and "fragment no"; fields behind "inner" are those of the inner
// packet. Begins with the family when no address tells it.
inline Packet packetOf(const std::string& text) {
    std::istringstream words(text);
    const std::vector<std::string> all{std::istream_iterator<std::string>(words), {}};
    const auto familyOf = [&](auto from, auto to) {
        for (auto at = from; at != to; ++at) {
            if (const auto address = Wire::IpGenAddr::parse(*at)) {
                return address->family() == Wire::AddressFamily::ipv4 ? 4U : 6U;
            }
        }
        return 0U;
    };
    const auto inner = std::ranges::find(all, "inner");
    auto at = all.begin();
    auto family = familyOf(all.begin(), inner) == 6 ? MatchOption::ipv6 : MatchOption::ipv4;
    for (const auto option :
         {MatchOption::ipv4, MatchOption::ipv6, MatchOption::mac, MatchOption::mpls}) {
        if (at == all.end() || *at != matchOptionName(option)) continue;
        family = option;
        ++at;
        break;
    }
    Packet packet(family);
    for (bool isInner = false; at != all.end(); ++at) {
        if (*at == "inner") {
            isInner = true;
            const U32 innerFamily = familyOf(at, all.end());
            if (innerFamily != 0) packet.numberIs(Field::innerFamily, innerFamily);
            continue;
        }
        U32 index = 0;
        while (index < innerFields && fieldName(static_cast<Field>(index)) != *at) ++index;
        if (index == innerFields) ADD_FAILURE() << "no field " << *at;
        const Field field = fieldAt(static_cast<Field>(index), isInner);
        const std::string& value = *++at;
        if (const auto address = Wire::IpGenAddr::parse(value)) {
            packet.valueIs(field, FieldValue::address(*address));
        } else if (field == Field::vlan) {
            const std::size_t comma = value.find(',');
            const bool isTagged = value != "none";
            packet.numberIs(field, isTagged ? static_cast<U32>(std::stoul(value)) + 1 : 0);
            const bool isDouble = comma != std::string::npos;
            packet.numberIs(
                Field::secondVlan,
                isDouble ? static_cast<U32>(std::stoul(value.substr(comma + 1))) + 1 : 0);
        } else if (index == static_cast<U32>(Field::fragment)) {
            packet.numberIs(field, value == "no" ? 0 : static_cast<U32>(std::stoul(value)) + 1);
        } else {
            packet.numberIs(field, static_cast<U32>(std::stoul(value)));
        }
    }
    if (const auto contradiction = packet.settle()) {
        ADD_FAILURE() << text << ": " << contradiction->why;
    }
    return packet;
}

inline std::string namesOf(const FieldMask& fields) {
    std::string names;
    fields.forEachName(
        [&](std::string_view name) { names += (names.empty() ? "" : " ") + std::string(name); });
    return names;
}

// "yes", "no: source-port", "depends: protocol destination-port".
inline std::string told(const RuleAnswer& answer) {
    switch (answer.result) {
        case RuleResult::match:
            return "yes";
        case RuleResult::noMatch:
            return "no: " + std::string(fieldName(answer.criterion));
        case RuleResult::depends:
            break;
    }
    return "depends: " + namesOf(answer.dependsOn);
}

// "dropped a,b" for each ending, with what it hangs on in brackets.
inline std::string told(const CompiledPolicy& policy, const PolicyAnswer& answer) {
    std::string text;
    for (const Ending& ending : answer.endings) {
        text += text.empty() ? "" : " | ";
        text += ending.verdict == Verdict::dropped ? "dropped"
                : ending.redirects                 ? "redirected"
                                                   : "forwarded";
        for (const U32 rule : ending.decidedBy) {
            text += (rule == ending.decidedBy.front() ? " " : ",") + policy.name(rule);
        }
        if (!ending.hangsOn.empty()) text += " [" + namesOf(ending.hangsOn) + "]";
    }
    if (!answer.isExact) text += " (some may be impossible)";
    return answer.isComplete ? text : text + " | ...";
}

}  // namespace TrafficPolicyCli::Diagnosis
