// Rules told as a state document tells them, or built by hand where it would be refused, and what
// is printed of them.
#pragma once

#include <gmock/gmock.h>

#include <functional>

#include "SmallState.h"
#include "views/ActionView.h"
#include "views/MatchView.h"
#include "views/RuleView.h"

namespace TrafficPolicyCli {

using Filter = Classification::StructuredFilter;
using Fill = std::function<void(Filter&)>;

// Filters and actions with everything that there is, in an order that is not theirs.
inline const std::string everyCriterion =
    R"("innerMatch":{"encapType":"gtpv1","af":"ipv4","structuredFilter":{}},"tracked":true,
    "ipOptions":true,"l4Protocol":"bgp","neighborsProtocol":"bgp","ttl":[255],"ecn":["1-3"],
    "dscp":[46,11,10,"0-8"],"fragment":{"type":"matchAll"},"length":["64-128",64,"0-40"],
    "protocols":{"6":{}},"destinations":["10.1.0.0/16","10.0.0.0/8"],
    "sources":["10.1.0.0/16","10.0.0.0/16","10.0.0.0/8","9.0.0.0/32"],"vlanTags":[
    {"vlanFieldSets":["FS9","FS2"]},{"vlanFieldSets":["FS1"]},
    {"vlans":["300-400",10]},{"vlans":[100,10]}])";
inline const std::string everyProtocolDetail =
    R"("protocols":{"17":{},"6":{
    "icmpTypes":[{"type":"10-11"},{"type":3,"codes":[4,"1-2"]},{"type":0}],
    "portFields":[{"sport":["1024-65535",22],"sportFieldSets":["FS9","FS1"],
    "dport":[443],"dportFieldSets":["FS1"]},{"dport":[80]}],
    "tcpFlags":[{"mask":512,"flag":512},{"mask":256,"flag":256},{"mask":63,"flag":42},
    {"mask":18,"flag":18},{"mask":18,"flag":16}]}})";
inline const std::string everyAction =
    R"("count":{"counterName":"c"},"log":{},
    "police":{"rate":18446744073709551615,"rateUnit":"pps","burstSize":5,"burstUnit":"packets"},
    "setIdentityTag":{"idTag":10,"innerIdTag":20},
    "stripHeaderBytes":{"stripHeaderBytes":"100 200"},"setTc":{"tc":7},"setDscp":{"dscp":46},
    "setVrf":{"vrfName":"blue"},"setAggGroup":{"groups":["b","a"],"interfaces":["d","c"]},
    "redirectNexthopGroup":{"nexthopGroups":["g2","g10","g1"]},
    "redirectNexthop":{"nexthops":["2001:db8::1","10.0.0.2","10.0.0.1"]},
    "gotoMatch":{"matchName":"r9"},"drop":{})";

// A VLAN policy P of these rules and of the match options that the platform took; with the field
// sets FS1 of each kind, and FS6 of IPv6 prefixes only.
inline SmallState::State rulesState(const std::string& rules, const std::string& taken) {
    return SmallState::stateOf(
        R"({"fieldSetConfig":{
            "fieldSetIpPrefix":{"FS1":{"currCfg":{
                "prefixes":["1.0.0.0/8","2.0.0.0/8"],"exceptPrefixes":["1.1.0.0/16"]}}},
            "fieldSetIpv6Prefix":{"FS1":{"currCfg":{"prefixes":["2001:db8::/32"]}},
                "FS6":{"currCfg":{"exceptPrefixes":["2001:db8::/32"]}}},
            "fieldSetL4Port":{"FS1":{"currCfg":{"ports":["0-65535"]}}},
            "fieldSetVlan":{"FS1":{"currCfg":{"vlans":["1-4094"]}}}},
        "policyMapConfig":{"P":{"currCfg":{"rules":[)" +
            rules + "]}}}}",
        R"({"vlan":{"policyMapStatus":{"P":{"classMapStatus":)" + taken + "}}}}");
}
inline SmallState::State ruleState(const std::string& match, const std::string& action = "",
                                   const std::string& option = "ipv4") {
    return rulesState(
        R"({"name":"r1","priority":1,"match":{)" + match + R"(},"action":{)" + action + "}}",
        R"({"r1":[")" + option + "\"]}");
}

inline SmallState::State criteriaState(const std::string& filter,
                                       const std::string& option = "ipv4") {
    return ruleState("\"" + option + R"(":{"structuredFilter":{)" + filter + "}}", "", option);
}

// What is printed of the only rule below its name: the lines without their 9 blanks, or the
// members.
inline std::string shownRule(const SmallState::State& state, U32 format, U32 revision = 2,
                             bool detail = false) {
    const Captured::MemoryFile file;
    SmallState::vlanShow(state, {.detail = detail})
        ->render(static_cast<U32>(file.fd()), format, revision);
    std::string report = file.text();
    if (format == SmallState::json) {
        const std::size_t begin = report.find(',', report.find("\"matchOption\"")) + 1;
        const std::string end = "}]}}}\n";
        EXPECT_TRUE(report.ends_with(end)) << report;
        return report.substr(begin, report.size() - begin - end.size());
    }
    report.resize(std::min(report.find("WARNING"), report.size()));
    std::istringstream lines(report.substr(report.find("      match r1 ")));
    std::string text;
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        EXPECT_TRUE(line.starts_with("         ")) << report;
        text += line.substr(9) + "\n";
    }
    return text;
}

// A filter and what is printed of it.
struct CriteriaRow {
    std::string filter;
    std::string text;
    std::string json;               // what "matches" holds, at the current revision
    std::string jsonOfRevision1{};  // empty: the same
    std::string option = "ipv4";
};

inline void expectCriteria(const std::vector<CriteriaRow>& rows) {
    for (const CriteriaRow& row : rows) {
        SCOPED_TRACE(row.filter);
        const auto state = criteriaState(row.filter, row.option);
        const std::string& json1 = row.jsonOfRevision1.empty() ? row.json : row.jsonOfRevision1;
        for (const U32 revision : {0, 1, 2, 3}) {
            EXPECT_EQ(shownRule(state, SmallState::text, revision), row.text);
            EXPECT_EQ(shownRule(state, SmallState::json, revision),
                      "\"matches\":{" + (revision <= 1 ? json1 : row.json) + "}");
        }
    }
}

// Prints with a renderer; JSON stands in the document's braces.
template <class Print>
std::string printed(U32 format, const Print& print) {
    const Captured::MemoryFile file;
    textout::TextOutBuffer out(static_cast<U32>(file.fd()));
    textout::RendererV2 renderer(out, format, 2);
    renderer.documentBegin();
    print(renderer);
    renderer.documentEnd();
    renderer.flush();
    return file.text();
}

// The gathered policy P and how its rules are printed, without the show object that gathered them.
struct GatheredRules {
    explicit GatheredRules(const SmallState::State& state) {
        const auto show = SmallState::vlanShow(state);
        show->cacheFieldSetState();
        show->cachePoliciesState();
        record = show->getOrCreatePolicyState("P");
        fieldSets = show->fieldSetState();
    }
    std::string print(U32 format) const {
        return printed(format, [&](textout::RendererV2& renderer) {
            const auto list = renderer.list("rules");
            renderRules(renderer, record, *fieldSets, 6,
                        [&](const Orb::String& ruleName, U32 ruleIndex, U32 indent) {
                            renderActions(renderer, *record, ruleName, ruleIndex, indent,
                                          [](const Orb::Ptr<const PolicyMap::Action>&) {});
                        });
        });
    }

    // Gives the rule r1 actions that no state document can tell.
    void actionsAre(const Orb::Ptr<PolicyMap::PolicyClassAction>& actions) const {
        const auto version = Orb::make<PolicyMap::PolicyMapSubConfig>("P");
        version->policyActionIs("r1", Orb::Ptr<const PolicyMap::PolicyClassAction>(actions));
        const auto config = Orb::make<PolicyMap::PolicyMapConfig>("P");
        config->currCfgIs(version);
        record->policyMapConfigIs(config);
    }

    Orb::Ptr<PolicyState> record;
    Orb::Ptr<const FieldSetState> fieldSets;
};

// A trace line "level text"; of one with a signature, its begin, "...", and what follows it.
inline testing::Matcher<std::string> traceLine(const std::string& line) {
    const std::size_t dots = line.find("...");
    if (dots == std::string::npos) return line;
    return testing::AllOf(testing::StartsWith(line.substr(0, 2)),
                          testing::HasSubstr(line.substr(2, dots - 2)),
                          testing::EndsWith(line.substr(dots + 3)));
}

// The criteria of a filter that no state document can tell.
inline std::string criteriaByHand(const Fill& fill, U32 format,
                                  MatchOption option = MatchOption::ipv4) {
    const auto filter = Orb::make<Filter>();
    fill(*filter);
    const auto match = Orb::make<PolicyMap::ClassMapMatch>("r1", option);
    match->structuredFilterIs(filter);
    return printed(format, [&](textout::RendererV2& renderer) {
        const FieldSetState noFieldSets("");
        Scratch scratch;
        renderMatches({renderer, noFieldSets, scratch, option, false, 3, 3}, *match);
    });
}

inline void setInnerMatch(Filter& filter, U8 af, U8 encapType, const Fill& fill) {
    const auto inner = Orb::make<Classification::InnerMatch>(
        static_cast<Wire::AddressFamily>(af),
        static_cast<Classification::EncapsulationType>(encapType));
    const auto innerFilter = Orb::make<Filter>();
    fill(*innerFilter);
    inner->structuredFilterIs(innerFilter);
    filter.innerMatchIs(inner);
}

}  // namespace TrafficPolicyCli
