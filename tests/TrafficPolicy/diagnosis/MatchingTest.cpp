#include "MatchingFixture.h"

namespace TrafficPolicyCli::Diagnosis {
namespace {

constexpr auto fieldSets = R"({
  "fieldSetIpPrefix": {
    "CAMPUS": {"currCfg": {"prefixes": ["10.0.0.0/8"], "exceptPrefixes": ["10.9.0.0/16"]}},
    "PARTNERS": {"currCfg": {"prefixes": ["192.0.2.0/24"]}},
    "LATER": {}
  },
  "fieldSetIpv6Prefix": {"CAMPUS": {"currCfg": {"prefixes": ["2001:db8::/32"]}}},
  "fieldSetL4Port": {"WEB": {"currCfg": {"ports": [80, "8080-8089"]}}},
  "fieldSetVlan": {"GUESTS": {"currCfg": {"vlans": ["100-199"]}}}
})";

// One rule and what it says of some packets.
struct RuleRow {
    std::string filter;
    std::vector<std::pair<std::string, std::string>> packets;
    std::string option = "ipv4";
};

TEST(Matching, EveryCriterionSaysYesNoOrWhatItDependsOn) {
    const std::vector<RuleRow> rows = {
        {"{}", {{"ipv4", "yes"}}},
        {R"({"sources": ["10.0.0.0/8", "192.0.2.1/32"]})",
         {{"source 10.255.255.255", "yes"},
          {"source 192.0.2.1", "yes"},
          {"source 11.0.0.0", "no: source"},
          {"destination 10.0.0.1", "depends: source"}}},
        {R"({"destinations": ["2001:db8:0:8000::/49", "::1/128"]})",
         {{"destination 2001:db8:0:8000::1", "yes"},
          {"destination 2001:db8:0:7fff:ffff:ffff:ffff:ffff", "no: destination"},
          {"destination ::1", "yes"},
          {"destination ::2", "no: destination"}},
         "ipv6"},
        {R"({"srcPrefixSets": ["CAMPUS", "PARTNERS"], "dstPrefixSets": ["CAMPUS"]})",
         {{"source 10.8.0.1 destination 10.1.1.1", "yes"},
          {"source 192.0.2.7 destination 10.9.1.1", "no: destination"},
          {"source 10.9.0.1 destination 10.1.1.1", "no: source"}}},
        {R"({"srcPrefixSets": ["LATER", "NOT-THERE"]})",
         {{"source 10.0.0.1", "no: source"}, {"ipv4", "no: source"}}},
        {R"({"srcPrefixSets": ["CAMPUS"]})", {{"source 2001:db8::1", "yes"}}, "ipv6"},
        {R"({"protocols": {"6": {"portFields": [{"sport": ["1024-65535"], "dport": [80, 443]},
                                                {"sportFieldSets": ["WEB"]}]}, "17": {}}})",
         {{"ipv4 protocol 6 source-port 1024 destination-port 443", "yes"},
          {"ipv4 protocol 6 source-port 8081 destination-port 1", "yes"},
          {"ipv4 protocol 6 source-port 1023 destination-port 443", "no: source-port"},
          {"ipv4 protocol 6 source-port 2000 destination-port 444", "no: destination-port"},
          {"ipv4 protocol 6 source-port 8089", "yes"},
          {"ipv4 protocol 6 source-port 2000", "depends: destination-port"},
          {"ipv4 protocol 6 fragment 185", "no: source-port"},
          {"ipv4 protocol 17 fragment 185", "yes"},
          {"ipv4 protocol 1", "no: protocol"},
          {"ipv4 source-port 90 destination-port 9", "depends: protocol"},
          {"ipv4", "depends: protocol source-port destination-port"}}},
        // All of the values of a field are as good as the field itself.
        {R"({"protocols": {"0-5": {}, "6-255": {}}})", {{"ipv4", "yes"}}},
        {R"({"protocols": {"0-5": {"portFields": [{}]}, "6-255": {}}})", {{"ipv4", "yes"}}},
        {R"({"protocols": {"0-255": {"portFields": [{"dport": ["0-65535"]}]}}})",
         {{"ipv4", "depends: protocol fragment"},
          {"ipv4 protocol 17", "depends: fragment"},
          {"ipv4 protocol 132 fragment 0", "yes"},
          {"ipv4 protocol 50", "no: destination-port"}}},
        // syn without ack, or established.
        {R"({"protocols": {"6": {"tcpFlags": [{"mask": 18, "flag": 2}, {"mask": 256, "flag": 256}]}}})",
         {{"ipv4 tcp-flags 2", "yes"},
          {"ipv4 tcp-flags 34", "yes"},
          {"ipv4 tcp-flags 18", "yes"},
          {"ipv4 tcp-flags 4", "yes"},
          {"ipv4 tcp-flags 0", "no: tcp-flags"},
          {"ipv4 protocol 6", "depends: tcp-flags"},
          {"ipv4 protocol 17", "no: protocol"}}},
        {R"({"protocols": {"0-255": {"tcpFlags": [{"mask": 512, "flag": 512}]}}})",
         {{"ipv4 tcp-flags 2", "yes"},
          {"ipv4 tcp-flags 18", "no: tcp-flags"},
          {"ipv4 protocol 17", "no: tcp-flags"}}},
        // Nothing has both TCP's flags and an ICMP type.
        {R"({"protocols": {"0-255": {"tcpFlags": [{"mask": 2, "flag": 2}], "icmpTypes": [{"type": 8}]}}})",
         {{"ipv4", "no: protocol"}}},
        {R"({"protocols": {"1": {"icmpTypes": [{"type": 3, "codes": [0, "4-5"]}, {"type": "8-9"}]}}})",
         {{"ipv4 icmp-type 3 icmp-code 5", "yes"},
          {"ipv4 icmp-type 3 icmp-code 1", "no: icmp-code"},
          {"ipv4 icmp-type 8", "yes"},
          {"ipv4 icmp-type 3", "depends: icmp-code"},
          {"ipv4 protocol 1 fragment 3", "no: icmp-type"},
          {"ipv4 icmp-code 1", "depends: icmp-type"}}},
        {R"({"protocols": {"58": {"icmpTypes": [{"type": 128}]}}})",
         {{"ipv6 icmp-type 128", "yes"}, {"ipv6 protocol 1", "no: protocol"}},
         "ipv6"},
        {R"({"length": ["64-1500"], "ttl": [1, 255], "dscp": [46], "ecn": ["1-2"]})",
         {{"ipv4 length 1500 ttl 255 dscp 46 ecn 2", "yes"},
          {"ipv4 length 1501", "no: length"},
          {"ipv4 length 64 ttl 2", "no: ttl"},
          {"ipv4 length 64 ttl 1 ecn 0", "no: ecn"},
          {"ipv4 length 64", "depends: dscp ecn ttl"}}},
        {R"({"fragment": {"type": "matchAll"}})",
         {{"ipv4 fragment no", "no: fragment"},
          {"ipv4 fragment 0", "yes"},
          {"ipv4 fragment 8191", "yes"},
          {"ipv4", "depends: fragment"}}},
        {R"({"fragment": {"type": "matchOffset", "offset": ["1-100"]}})",
         {{"ipv4 fragment no", "no: fragment"},
          {"ipv4 fragment 0", "no: fragment"},
          {"ipv4 fragment 100", "yes"},
          {"ipv4 protocol 6 destination-port 1", "no: fragment"}}},
        {R"({"fragment": {"type": "matchOffset", "offset": [0]}})",
         {{"ipv4 fragment no", "yes"}, {"ipv4 fragment 1", "no: fragment"}}},
        {R"({"fragment": {"type": "matchOffset"}})", {{"ipv4", "yes"}}},
        {R"({"vlanTags": [{"vlans": [10]}, {"vlanFieldSets": ["GUESTS"]}]})",
         {{"ipv4 vlan 10,199", "yes"},
          {"ipv4 vlan 10,200", "no: vlan"},
          {"ipv4 vlan 10", "no: vlan"},
          {"ipv4", "depends: vlan"}}},
        {R"({"vlanTags": [{"vlans": [10]}]})",
         {{"mac vlan 10", "yes"}, {"mac vlan none", "no: vlan"}, {"mac vlan 10,20", "yes"}},
         "mac"},
        {R"({"sources": ["10.0.0.0/8"]})", {{"mac", "no: source"}}, "mac"},
        {R"({"ttl": [1]})", {{"mpls", "no: ttl"}}, "mpls"},
        {R"({"l4Protocol": "bgp"})",
         {{"ipv4 protocol 6 source-port 1024 destination-port 179", "yes"},
          {"ipv4 protocol 6 source-port 179", "yes"},
          {"ipv4 protocol 6 source-port 1", "depends: destination-port"},
          {"ipv4 protocol 17 source-port 179", "no: protocol"},
          {"ipv4 protocol 6 fragment 9", "no: source-port"}}},
        {R"({"neighborsProtocol": "bgp", "tracked": true, "ipOptions": true})",
         {{"ipv4 tracked 1 bgp-neighbor 1 ip-options 1", "yes"},
          {"ipv4 tracked 0", "no: tracked"},
          {"ipv4 source 10.0.0.1", "depends: ip-options tracked bgp-neighbor"}}},
        {R"({"innerMatch": {"af": "ipv6", "encapType": "gtpv1", "structuredFilter":
             {"destinations": ["2001:db8::/32"], "protocols": {"6": {"portFields": [{"dport": [443]}]}}}}})",
         {{"source 10.0.0.1 inner destination 2001:db8::1 protocol 6 destination-port 443", "yes"},
          {"source 10.0.0.1 inner destination 2001:db9::1", "no: inner destination"},
          {"source 10.0.0.1 inner destination 10.0.0.1", "no: inner family"},
          {"ipv4 inner protocol 17", "no: inner protocol"},
          {"ipv4 protocol 6", "no: protocol"},
          {"ipv4 protocol 17 destination-port 2153", "no: destination-port"},
          {"ipv4 inner destination-port 443",
           "depends: inner destination inner protocol inner family"},
          {"ipv4 protocol 17 destination-port 2152 fragment no",
           "depends: inner destination inner protocol inner destination-port inner family"}}},
        // What is asked beyond the criteria is never known, wherever it stands.
        {R"({"otherCriteria": ["ethertype 0x88cc"], "dscp": [1]})",
         {{"ipv4 dscp 1", "depends: other criteria"},
          {"ipv4 dscp 2", "no: dscp"},
          {"ipv4", "depends: dscp other criteria"}}},
        {R"({"otherCriteria": ["label 16"]})", {{"mpls", "depends: other criteria"}}, "mpls"},
        {R"({"innerMatch": {"af": "ipv4", "encapType": "gtpv1", "structuredFilter":
             {"otherCriteria": ["teid 7"]}}})",
         {{"ipv4 inner source 10.0.0.1", "depends: other criteria"},
          {"ipv4 protocol 6", "no: protocol"}}},
        // Criteria that exclude each other are a no all the same.
        {R"({"otherCriteria": ["a"], "protocols": {"0-255": {"tcpFlags": [{"mask": 2, "flag": 2}],
             "icmpTypes": [{"type": 8}]}}})",
         {{"ipv4", "no: protocol"}}},
    };
    for (const RuleRow& row : rows) {
        SCOPED_TRACE(row.filter);
        const auto state =
            policyState({{.name = "r", .filter = row.filter, .option = row.option}}, fieldSets);
        for (const auto& [text, expected] : row.packets) {
            SCOPED_TRACE(text);
            const Packet packet = packetOf(text);
            FieldSetValues sets(state.fieldSetConfig);
            const CompiledPolicy policy(versionOf(state), packet.family(), sets);
            ASSERT_EQ(policy.size(), 1U);
            EXPECT_EQ(told(askRule(policy, 0, packet)), expected);
        }
    }
}

TEST(Matching, TheLongestPrefixOfAllRulesDecides) {
    const std::vector<RuleText> rules = {
        {"ten", R"({"sourceLpms": ["10.0.0.0/8", "192.0.2.0/25"]})"},
        {"set", R"({"srcLpmPrefixSets": ["CAMPUS"], "dscp": [1]})"},
        {"long", R"({"sourceLpms": ["10.1.0.0/16", "10.9.9.0/24"]})"},
        {"all", R"({"sourceLpms": ["0.0.0.0/0"]})"},
        {"other-side", R"({"destinationLpms": ["10.1.2.0/24"]})"},
    };
    const auto state = policyState(rules, fieldSets);
    FieldSetValues sets(state.fieldSetConfig);
    const auto takers = [&](const std::string& packet, const CompiledPolicy& policy) {
        std::string names;
        for (U32 rule = 0; rule < policy.size(); ++rule) {
            const bool holds = askRule(policy, rule, packetOf(packet)).result == RuleResult::match;
            if (holds) names += policy.name(rule) + " ";
        }
        return names;
    };
    const CompiledPolicy all(versionOf(state), MatchOption::ipv4, sets);
    EXPECT_EQ(takers("source 10.2.0.1 dscp 1", all), "ten set ");
    EXPECT_EQ(takers("source 10.1.2.3 dscp 1", all), "long ");
    EXPECT_EQ(takers("source 10.9.8.1 dscp 1", all), "ten ") << "taken out of the set";
    EXPECT_EQ(takers("source 10.9.9.1 dscp 1", all), "long ");
    EXPECT_EQ(takers("source 192.0.2.127 dscp 1", all), "ten ");
    EXPECT_EQ(takers("source 192.0.2.128 destination 10.1.2.3 dscp 1", all), "all other-side ");
    // A rule that is not there has no prefixes either.
    const CompiledPolicy some(versionOf(state), MatchOption::ipv4, sets,
                              [](const auto& name) { return name != "long" && name != "set"; });
    EXPECT_EQ(takers("source 10.1.2.3", some), "ten ");
    EXPECT_EQ(told(some, askPolicy(some, packetOf("destination 10.9.9.9"))),
              "forwarded ten [source] | forwarded all [source]");
}

struct PolicyRow {
    std::string why;
    std::vector<RuleText> rules;
    std::string packet;
    std::string expected;
    std::string asked{};  // the rules that were asked; empty: not looked at
};

constexpr auto drop = R"("drop": {})";
constexpr auto goOn = R"("gotoMatch": {}, "count": {})";
const auto onTo = [](const std::string& rule) {
    return R"("gotoMatch": {"matchName": ")" + rule + "\"}";
};

TEST(Matching, FollowsEveryWayThroughAPolicy) {
    const std::string tcp = R"({"protocols": {"6": {}}})";
    const std::string udp = R"({"protocols": {"17": {}}})";
    const std::string any = "{}";
    const std::string low = R"({"protocols": {"6": {"portFields": [{"dport": ["0-1023"]}]}}})";
    const std::string high = R"({"protocols": {"6": {"portFields": [{"dport": ["1024-65535"]}]}}})";
    const std::string ssh = R"({"protocols": {"6": {"portFields": [{"dport": [22]}]}}})";
    const std::vector<PolicyRow> rows = {
        {"the first that holds decides",
         {{"a", udp, drop}, {"b", tcp, drop}, {"c", any}},
         "ipv4 protocol 6",
         "dropped b",
         "ab"},
        {"no rule", {{"a", udp, drop}}, "ipv4 protocol 6", "forwarded", "a"},
        {"only rules of the family", {{"a", any, drop, "ipv6"}}, "ipv4", "forwarded", ""},
        {"a redirect",
         {{"a", any, R"("redirectNexthop": {"nexthops": ["192.0.2.1"]})"}},
         "ipv4",
         "redirected a"},
        {"one unknown field asked by two rules",
         {{"a", tcp, drop}, {"b", udp, drop}, {"c", tcp}, {"d", any}},
         "ipv4",
         "dropped a [protocol] | dropped b [protocol] | forwarded d [protocol]",
         "abcd"},
        {"what two rules take together reaches no third",
         {{"low", low, drop}, {"high", high}, {"rest", tcp, drop}},
         "ipv4 protocol 6 fragment no",
         "dropped low [destination-port] | forwarded high [destination-port]"},
        {"but a later fragment has no port, and does",
         {{"low", low, drop}, {"high", high}, {"rest", tcp, drop}},
         "ipv4 protocol 6",
         "dropped low [destination-port] | forwarded high [destination-port] | "
         "dropped rest [fragment]"},
        {"two ways to one end are one ending",
         {{"a", ssh, drop}, {"b", any, drop}},
         "ipv4 fragment no",
         "dropped a [protocol destination-port] | "
         "dropped b [protocol destination-port]"},
        {"goto the next one, and no rule",
         {{"a", any, goOn}, {"b", tcp, drop}},
         "ipv4 protocol 17",
         "forwarded a"},
        {"goto and a later drop",
         {{"a", any, goOn}, {"b", tcp, drop}},
         "ipv4 protocol 6",
         "dropped a,b"},
        {"goto by name passes over rules",
         {{"a", any, onTo("c")}, {"b", any, drop}, {"c", tcp}},
         "ipv4 protocol 6",
         "forwarded a,c",
         "ac"},
        {"goto a rule of another family goes on behind it",
         {{"a", any, onTo("c")}, {"b", any, drop}, {"c", any, drop, "ipv6"}, {"d", any}},
         "ipv4",
         "forwarded a,d",
         "ad"},
        {"goto an earlier one ends",
         {{"a", udp}, {"b", any, onTo("a")}, {"c", any, drop}},
         "ipv4 protocol 6",
         "forwarded b"},
        {"goto itself ends", {{"a", any, onTo("a")}, {"c", any, drop}}, "ipv4", "forwarded a"},
        {"goto an unknown one ends",
         {{"a", any, onTo("x")}, {"c", any, drop}},
         "ipv4",
         "forwarded a"},
        {"drop goes before goto",
         {{"a", any, R"("drop": {}, "gotoMatch": {})"}, {"b", any}},
         "ipv4",
         "dropped a"},
        {"a redirect before a goto still counts",
         {{"a", any, R"("gotoMatch": {}, "redirectNexthopGroup": {"nexthopGroups": ["G"]})"},
          {"b", tcp}},
         "ipv4 protocol 6",
         "redirected a,b"},
        {"ways part at a goto and meet again",
         {{"a", tcp, onTo("c")}, {"b", any, drop}, {"c", ssh, drop}},
         "ipv4 fragment no",
         "dropped b [protocol] | dropped a,c [protocol destination-port] | "
         "forwarded a [protocol destination-port]"},
        {"what is asked beyond the criteria leaves the packet whole",
         {{"a", R"({"protocols": {"6": {}}, "otherCriteria": ["x"]})", drop}, {"b", tcp}},
         "ipv4",
         "dropped a [protocol other criteria] | forwarded b [protocol other criteria] | "
         "forwarded [protocol other criteria]"},
        {"and counts on the ways only on which it is asked",
         {{"a", udp}, {"b", R"({"protocols": {"6": {}}, "otherCriteria": ["x"]})", drop}},
         "ipv4 protocol 17",
         "forwarded a",
         "a"},
        {"what is done beyond the actions may drop",
         {{"a", tcp, R"("other": {"text": "reject"})"}, {"b", any}},
         "ipv4 protocol 6",
         "dropped a [other action] | forwarded a [other action]",
         "a"},
        {"but where the packet is dropped anyway",
         {{"a", tcp, R"("drop": {}, "other": {"text": "mirror session1"})"}},
         "ipv4 protocol 6",
         "dropped a"},
        {"and before a goto leads on",
         {{"a", tcp, R"("gotoMatch": {}, "other": {"text": "reject"})"}, {"b", any}},
         "ipv4 protocol 6",
         "dropped a [other action] | forwarded a,b [other action]"},
    };
    for (const PolicyRow& row : rows) {
        SCOPED_TRACE(row.why);
        const auto state = policyState(row.rules);
        const Packet packet = packetOf(row.packet);
        FieldSetValues sets(state.fieldSetConfig);
        const CompiledPolicy policy(versionOf(state), packet.family(), sets);
        const PolicyAnswer answer = askPolicy(policy, packet);
        EXPECT_EQ(told(policy, answer), row.expected);
        std::string asked;
        for (const RuleAnswer& rule : answer.rules) asked += policy.name(rule.rule);
        if (!row.asked.empty()) {
            EXPECT_EQ(asked, row.asked);
        }
    }
}

TEST(Matching, TooManyWaysAreListedWithoutBeingFollowed) {
    std::vector<RuleText> rules;
    for (const std::string port : {"1", "2", "3", "4"}) {
        const std::string ports = R"({"sport": [)" + port + R"(], "dport": [)" + port + "]}";
        rules.push_back({"p" + port, R"({"protocols": {"6": {"portFields": [)" + ports + "]}}}",
                         R"("gotoMatch": {}, "count": {})"});
    }
    rules.push_back(
        {"never", R"({"protocols": {"6": {"portFields": [{"sport": [1], "dport": [1]}]}}})"});
    rules.insert(rules.begin(),
                 {"covers", R"({"protocols": {"6": {"portFields": [{"sport": [1]}]}}})"});
    const auto state = policyState(rules);
    FieldSetValues sets(nullptr);
    const CompiledPolicy policy(versionOf(state), MatchOption::ipv4, sets);
    const Packet packet = packetOf("ipv4 protocol 6 fragment no");
    const auto named = [&](const MatchingLimits& limits) {
        return told(policy, askPolicy(policy, packet, limits));
    };
    EXPECT_EQ(named({}),
              "forwarded covers [source-port] | forwarded p2 [source-port destination-port] | "
              "forwarded p3 [source-port destination-port] | "
              "forwarded p4 [source-port destination-port] | "
              "forwarded [source-port destination-port]");
    const std::string coarse = named({.steps = 0});
    EXPECT_TRUE(coarse.ends_with("(some may be impossible)")) << coarse;
    for (const char* const ending : {"forwarded covers", "forwarded p2", "forwarded p4"}) {
        EXPECT_NE(coarse.find(ending), std::string::npos) << coarse;
    }
    EXPECT_TRUE(named({.steps = 0, .endings = 2}).ends_with(" | ...")) << named({.endings = 2});

    // The ways in which a rule can fail are one then, which hangs on what any of them did.
    const auto wide =
        policyState({{"a", R"({"length": [64], "dscp": [1], "ttl": [1], "ecn": [1]})"},
                     {"b", R"({"tracked": true})"}});
    const CompiledPolicy policyOfWide(versionOf(wide), MatchOption::ipv4, sets);
    const std::string united = told(policyOfWide, askPolicy(policyOfWide, packet, {.ways = 2}));
    EXPECT_EQ(united,
              "forwarded a [dscp ecn ttl length] | forwarded b [dscp ecn ttl length tracked] | "
              "forwarded [dscp ecn ttl length tracked] (some may be impossible)");

    // Nor is what is not known of a rule lost then.
    const auto other = policyState({{"a", R"({"otherCriteria": ["x"]})"}, {"b", "{}"}});
    const CompiledPolicy policyOfOther(versionOf(other), MatchOption::ipv4, sets);
    EXPECT_EQ(told(policyOfOther, askPolicy(policyOfOther, packet, {.steps = 0})),
              "forwarded a [other criteria] | forwarded b [other criteria] "
              "(some may be impossible)");
}

TEST(Matching, FieldsThatNoPacketHasTogetherAreRefused) {
    using Fields = std::vector<std::pair<Field, U32>>;
    const struct {
        MatchOption family;
        Fields fields;
        Field wrong;
        std::string why;
    } rows[] = {
        {MatchOption::ipv4,
         {{Field::protocol, 1}, {Field::destinationPort, 22}},
         Field::destinationPort,
         "ports without"},
        {MatchOption::ipv4,
         {{Field::protocol, 17}, {Field::tcpFlags, 2}},
         Field::tcpFlags,
         "TCP flags without TCP"},
        {MatchOption::ipv6, {{Field::protocol, 1}, {Field::icmpType, 2}}, Field::icmpType, "ICMP"},
        {MatchOption::ipv4,
         {{Field::sourcePort, 1}, {Field::icmpType, 2}},
         Field::icmpType,
         "ICMP"},
        {MatchOption::ipv4,
         {{Field::fragment, 2}, {Field::sourcePort, 1}},
         Field::sourcePort,
         "fragment"},
        {MatchOption::mac, {{Field::ttl, 1}}, Field::ttl, "no IP header"},
        {MatchOption::mpls, {{innerField(Field::ttl), 1}}, Field::innerFamily, "no IP header"},
        {MatchOption::ipv4,
         {{Field::protocol, 6}, {innerField(Field::ttl), 1}},
         Field::protocol,
         "without UDP"},
        {MatchOption::ipv4,
         {{Field::destinationPort, 1}, {innerField(Field::ttl), 1}},
         Field::destinationPort,
         "2152"},
        {MatchOption::ipv4,
         {{innerField(Field::protocol), 50}, {innerField(Field::sourcePort), 1}},
         innerField(Field::sourcePort),
         "ports without"},
    };
    for (const auto& row : rows) {
        Packet packet(row.family);
        for (const auto& [field, number] : row.fields) packet.numberIs(field, number);
        const auto contradiction = packet.settle();
        ASSERT_TRUE(contradiction) << row.why;
        EXPECT_EQ(fieldName(contradiction->field), fieldName(row.wrong));
        EXPECT_NE(contradiction->why.find(row.why), std::string::npos) << contradiction->why;
    }
}

}  // namespace
}  // namespace TrafficPolicyCli::Diagnosis
