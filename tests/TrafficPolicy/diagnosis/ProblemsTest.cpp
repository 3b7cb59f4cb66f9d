// What problems are found, and, as important, what is none.
#include <gmock/gmock.h>

#include "DiagnosisSource.h"
#include "diagnosis/Problems.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

using testing::ElementsAreArray;

std::vector<std::string> problemsOf(const DiagnosisSources& sources,
                                    const std::string& onlyPolicy = "") {
    std::vector<std::string> lines;
    for (const auto& [policy, own] : findProblems(sources, onlyPolicy)) {
        for (const Problem& problem : own) {
            lines.push_back(policy + " " + std::string(keyOf(problem.kind)) + " " + problem.text);
        }
    }
    return lines;
}

struct Row {
    const char* what;
    std::string config;  // the members of the documents
    std::string status;
    std::vector<std::string> problems = {};
};

void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
        const auto state = SmallState::stateOf("{" + row.config + "}", "{" + row.status + "}");
        EXPECT_THAT(problemsOf(SmallState::sourcesOf(state)), ElementsAreArray(row.problems))
            << row.what;
    }
}

// A policy P of one IPv4 rule "web", which is on Ethernet1.
std::string policy(const std::string& rules) {
    return R"("policyMapConfig":{"P":{"currCfg":{"namedCounter":["C"],"rules":[)" + rules + "]}}}";
}
const std::string web = R"({"name":"web","priority":10,"match":{"ipv4":{"structuredFilter":{}}}})";
const std::string onEthernet1 = R"(,"intfConfigInput":{"Ethernet1":"P"})";
const std::string onDefault =
    R"(,"vrfConfig":{"default":"P"},"l3IntfStatusDir":{"Cpu0":{"vrf":"default"}})";
const std::string taken = R"("classMapStatus":{"web":["ipv4"]})";
const std::string programmed = R"({"ipv4":{"state":"programmed"}})";

std::string side(const std::string& name, const std::string& policyStatus,
                 const std::string& policyName = "P") {
    return "\"" + name + R"(":{"policyMapStatus":{")" + policyName + "\":{" + policyStatus + "}}}";
}
const std::string installed =
    side("interfaceInput", taken + R"(,"intfStatus":{"Ethernet1":)" + programmed + "}");

TEST(Problems, ofPoints) {
    check({
        {"in place", policy(web) + onEthernet1, installed},
        {"failed, for a family without rules too",
         policy(web) + onEthernet1,
         side("interfaceInput", taken + R"(,"intfStatus":{"Ethernet1":{
             "ipv4":{"state":"failed","errorText":"full"},"ipv6":{"state":"failed"}}})"),
         {"P installationFailed Ethernet1 input, IPv4: failed: full",
          "P installationFailed Ethernet1 input, IPv6: failed"}},
        {"pending, but not for a family without rules",
         policy(web) + onEthernet1,
         side("interfaceInput", taken + R"(,"intfStatus":{"Ethernet1":{
             "ipv4":{"state":7},"ipv6":{"state":"notReported"}}})"),
         {"P notProcessed Ethernet1 input, IPv4: pending: state 7"}},
        {"a platform without a status of this side",
         policy(web) + onEthernet1,
         "",
         {"P notProcessed Ethernet1 input, IPv4: pending: not reported"}},
        {"attached nowhere", policy(web), "", {"P notAttached attached nowhere"}},
        {"an attachment to nothing, and one without a version",
         R"("policyMapConfig":{"P":{}},"intfConfigInput":{"Ethernet1":"P"},)"
         R"("intfConfigBridged":{"Vlan9":"Q"})",
         "",
         {"P noCurrentVersion Ethernet1 input: the policy has no current version",
          "Q unknownPolicy VLAN 9: the policy is not configured"}},
        {"the VRF all without a policy is one problem",
         R"("vrfConfig":{"all":"Q"},"allVrfConfig":["default","red"])",
         "",
         {"Q unknownPolicy VRF all: the policy is not configured"}},
        {"removed, and still in place",
         R"("policyMapConfig":{})",
         installed,
         {"P removedPolicy Ethernet1 input: still in place for IPv4, but the policy is not "
          "configured"}},
        {"in place at a point where another one is configured, and an attempt that failed",
         policy(web) + R"(,"intfConfigInput":{"Ethernet2":"P"})",
         side("interfaceInput", taken + R"(,"intfStatus":{"Ethernet1":)" + programmed +
                                    R"(,"Ethernet2":)" + programmed +
                                    R"(,"Ethernet3":{"ipv4":{"state":"failed"}}})"),
         {"P notConfigured Ethernet1 input: still in place for IPv4, but not configured here"}},
        {"MAC rules: a report that says nothing of them, one that does, and none",
         policy(R"({"name":"web","priority":10,"match":{"mac":{}}})") +
             R"(,"intfConfigInput":{"Ethernet1":"P","Ethernet2":"P","Ethernet10":"P"})",
         side("interfaceInput", R"("classMapStatus":{"web":["mac"]},"intfStatus":{"Ethernet1":)" +
                                    programmed + R"(,"Ethernet2":{"mac":{"state":3}}})"),
         {"P notProcessed Ethernet2 input, MAC: pending: state 3",
          "P notProcessed Ethernet10 input, MAC: pending: not reported"}},
    });
}

TEST(Problems, ofTheCpu) {
    const std::string hardware =
        side("cpu", taken + R"(,"intfStatus":{"Cpu0":)" + programmed + "}");
    check({
        {"a platform that does not report on the kernel", policy(web) + onDefault, hardware},
        {"the kernel, which does not tell what rules it took",
         policy(web) + onDefault,
         hardware + "," +
             side("cpuSoftware", R"("intfStatus":{"Cpu0":{"ipv4":{"state":"failed"}}})"),
         {"P installationFailed VRF default kernel, IPv4: failed"}},
        {"a kernel that has nothing yet",
         policy(web) + onDefault,
         hardware + R"(,"cpuSoftware":{})",
         {"P notProcessed VRF default kernel, IPv4: pending: not reported"}},
        {"the VRF all: with its own policy, installed, pending, and without an interface",
         R"("policyMapConfig":{"P":{"currCfg":{"rules":[)" + web +
             R"(]}}},"vrfConfig":{"all":"P","own":"P"},"allVrfConfig":["own","red","blue","bare"],)"
             R"("l3IntfStatusDir":{"Cpu0":{"vrf":"own"},"Cpu1":{"vrf":"red"},"Cpu2":{"vrf":"blue"}})",
         side("cpu",
              taken + R"(,"intfStatus":{"Cpu0":)" + programmed + R"(,"Cpu1":)" + programmed + "}"),
         {"P notProcessed VRF blue hardware, IPv4: pending: not reported"}},
        {"VRFs and interfaces that do not exist",
         policy(R"({"name":"web","priority":10,"match":{"ipv4":{}},
                    "action":{"setVrf":{"vrfName":"gone"}}})") +
             R"(,"vrfConfig":{"default":"P","rde":"P"},"allVrfConfig":["red"],)"
             R"("l3IntfStatusDir":{"Cpu0":{"vrf":"default"},"Cpu1":{"vrf":"old"}})",
         side("cpu",
              taken + R"(,"intfStatus":{"Cpu0":)" + programmed + R"(,"Cpu9":)" + programmed + "}"),
         {" unknownVrf interface Cpu1: VRF old does not exist",
          "P unknownVrf rule web: VRF gone does not exist",
          "P unknownVrf VRF rde: the VRF does not exist",
          "P unknownInterface hardware reports on interface Cpu9, which does not exist"}},
    });
}

// A rule "web" with these members, which the platform took on Ethernet1.
Row ruleRow(const char* what, const std::string& members, std::vector<std::string> problems = {},
            const std::string& more = "") {
    return {what,
            policy(R"({"name":"web","priority":10,)" + members + "}" + more) + onEthernet1 +
                R"(,"fieldSetConfig":{"fieldSetIpPrefix":{"NONE":{"currCfg":{}},"LATER":{}},)"
                R"("fieldSetL4Port":{"SET":{"currCfg":{"ports":[1]}}}})",
            installed, std::move(problems)};
}
Row matchRow(const char* what, const std::string& filter, std::vector<std::string> problems = {}) {
    for (std::string& problem : problems) problem = "P " + problem;
    return ruleRow(what, R"("match":{"ipv4":{"structuredFilter":{)" + filter + "}}}",
                   std::move(problems));
}
Row actionRow(const char* what, const std::string& actions, std::vector<std::string> problems = {},
              const std::string& more = "") {
    for (std::string& problem : problems) problem = "P " + problem;
    return ruleRow(what, R"("match":{"ipv4":{}},"action":{)" + actions + "}", std::move(problems),
                   more);
}

TEST(Problems, ofRulesAndThePlatform) {
    const std::string both =
        policy(web + R"(,{"name":"six","priority":20,"match":{"ipv6":{}}})") + onEthernet1;
    const std::string v6 = R"("ipv4":{"state":"programmed"},"ipv6":{"state":"programmed"})";
    const auto took = [&](const std::string& rules) {
        return side("interfaceInput", R"("classMapStatus":{)" + rules +
                                          R"(},"intfStatus":{"Ethernet1":{)" + v6 + "}}");
    };
    check({
        {"all taken", both, took(R"("web":["ipv4"],"six":["ipv6"])")},
        {"one unknown, one taken under nothing",
         both,
         took(R"("web":[])"),
         {"P ruleNotTaken rule web ipv4: not taken by the platform on interface input",
          "P ruleNotReported rule six ipv6: not reported by the platform on interface input"}},
        {"taken as another family, and a rule that went",
         both,
         took(R"("web":["ipv4"],"six":["ipv4"],"old":["ipv4"],"tried":[])"),
         {"P ruleNotTaken rule six: the platform took it as ipv4 on interface input, which it is "
          "not",
          "P removedRule rule old: not configured, but the platform has it on interface input"}},
        {"a side where the policy is not attached", policy(web) + onEthernet1,
         installed + "," + side("interfaceOutput", "")},
    });
}

TEST(Problems, ofCriteria) {
    const std::string flags = R"("tcpFlags":[{"mask":2,"flag":2}])";
    const std::string types = R"("icmpTypes":[{"type":8}])";
    const std::string ports = R"("portFields":[{"dport":[80]}])";
    const auto under = [](const std::string& protocol, const std::string& field) {
        return "\"protocols\":{\"" + protocol + "\":{" + field + "}}";
    };
    check({
        matchRow("flags of TCP, types of ICMP, ports of SCTP, in ranges too",
                 R"("protocols":{"6":{)" + flags + R"(},"1":{)" + types + R"(},"0-255":{)" + ports +
                     "," + flags + R"(},"132":{)" + ports + "}}"),
        matchRow("TCP flags under UDP", under("17", flags),
                 {"criterionCannotHold rule web ipv4: TCP flags under protocol udp: no packet has "
                  "that"}),
        matchRow("ICMP types under TCP", under("6", types),
                 {"criterionCannotHold rule web ipv4: ICMP types under protocol tcp: no packet "
                  "has that"}),
        matchRow("ports of a range without ports", under("47-51", ports),
                 {"criterionCannotHold rule web ipv4: ports under protocol 47-51: no packet has "
                  "that"}),
        matchRow("both at once", under("1-6", flags + "," + types),
                 {"criterionCannotHold rule web ipv4: TCP flags and ICMP types under protocol 1-6: "
                  "no packet has that"}),
        matchRow("a port field without ports holds for all",
                 under("47", R"("portFields":[{"dport":[80]},{}])")),
        matchRow("ports of later fragments",
                 under("17", ports) + R"(,"fragment":{"type":"matchOffset","offset":["1-8191"]})",
                 {"criterionCannotHold rule web ipv4: ports in fragments that are not the first: "
                  "no packet has that"}),
        matchRow("ports of all fragments",
                 under("17", ports) + R"(,"fragment":{"type":"matchOffset","offset":[0,5]})"),
        matchRow("BGP without TCP, GTP without UDP",
                 under("1", "") +
                     R"(,"l4Protocol":"bgp","innerMatch":{"af":"ipv4","encapType":"gtpv1",)"
                     R"("structuredFilter":{)" +
                     under("17", flags) + "}}",
                 {"criterionCannotHold rule web ipv4: BGP beside protocols without TCP: no packet "
                  "has that",
                  "criterionCannotHold rule web ipv4: an inner packet beside protocols without "
                  "UDP: no packet has that",
                  "criterionCannotHold rule web ipv4: inner packet: TCP flags under protocol udp: "
                  "no packet has that"}),
        matchRow("field sets",
                 R"("srcPrefixSets":["NONE","LATER","GONE"],"protocols":{"6":{"portFields":[)"
                 R"({"sportFieldSets":["SET"],"dportFieldSets":["GONE"]}]}})",
                 {"undefinedFieldSet rule web ipv4: destination port: L4 port field set GONE is "
                  "not configured",
                  "undefinedFieldSet rule web ipv4: source prefix: IPv4 prefix field set GONE is "
                  "not configured",
                  "emptyFieldSet rule web ipv4: source prefix: IPv4 prefix field set LATER has no "
                  "current version",
                  "emptyFieldSet rule web ipv4: source prefix: IPv4 prefix field set NONE is "
                  "empty"}),
    });
}

TEST(Problems, ofActions) {
    const std::string rest = R"(,{"name":"rest","priority":20,"match":{"ipv4":{}}})";
    const std::string six = R"(,{"name":"six","priority":20,"match":{"ipv6":{}}})";
    const std::string restUnknown =
        "ruleNotReported rule rest ipv4: not reported by the platform on interface input";
    const std::string sixPending = "notProcessed Ethernet1 input, IPv6: pending: not reported";
    const std::string sixUnknown =
        "ruleNotReported rule six ipv6: not reported by the platform on interface input";
    check({
        actionRow("counters", R"("count":{"counterName":"C"})"),
        actionRow("a counter that is not declared", R"("count":{"counterName":"D"})",
                  {"undefinedCounter rule web: counter D is not declared by the policy"}),
        actionRow("a goto ahead", R"("gotoMatch":{"matchName":"rest"})", {restUnknown}, rest),
        actionRow("a goto to the next rule", R"("gotoMatch":{})", {restUnknown}, rest),
        actionRow("a goto of the last rule", R"("gotoMatch":{})",
                  {"gotoNowhere rule web ipv4: goto leads to the next ipv4 rule, and there is "
                   "none"}),
        actionRow("a goto to a rule of another family", R"("gotoMatch":{"matchName":"six"})",
                  {sixPending, sixUnknown,
                   "gotoNowhere rule web ipv4: goto leads to rule six, and no ipv4 rule is there "
                   "or behind it"},
                  six),
        actionRow("a goto to itself", R"("gotoMatch":{"matchName":"web"})",
                  {"gotoBack rule web: goto leads to the rule itself"}),
        actionRow("a goto to nothing", R"("gotoMatch":{"matchName":"gone"})",
                  {"gotoNowhere rule web: goto leads to rule gone, which does not exist"}),
        actionRow("what a drop leaves undone",
                  R"("drop":{},"gotoMatch":{"matchName":"gone"},"setVrf":{"vrfName":"a"},)"
                  R"("setDscp":{"dscp":1})",
                  {"contradictingActions rule web: drop beside a change of the VRF",
                   "contradictingActions rule web: drop beside a goto"}),
        actionRow(
            "two redirects",
            R"("setAggGroup":{"groups":["G"]},"redirectNexthopGroup":{"nexthopGroups":["N"]})",
            {"contradictingActions rule web: a redirect to next-hop groups beside a redirect "
             "to tool interfaces"}),
    });
}

TEST(Problems, ofCountersThatFell) {
    const auto state = SmallState::stateOf(
        "{" + policy(web) + R"(,"vrfConfig":{"default":"P"}})",
        R"({"hwStatus":{"byteCountersSupported":true},"cpu":{"policyMapStatus":{"P":{)" + taken +
            R"(,"classCounter":{"web":{"uniqueId":1,"packets":5}},"namedCounter":{
               "C":{"uniqueId":2,"packets":9,"bytes":9,
                    "perIntfCount":{"Cpu0":{"uniqueId":3,"packets":1}}}}}}}})");
    auto sources = SmallState::sourcesOf(state);
    sources.l3IntfStatusDir = nullptr;
    const auto fallen = [&](U64 webId, U64 bytes, U64 packetsOfCpu0) {
        const auto counter = Orb::make<TrafficPolicy::Counter>();
        counter->snapshotIs(TrafficPolicy::CounterKey{"P", "web"},
                            TrafficPolicy::CounterVersion{{webId}, 6});
        const auto& named =
            counter->namedSnapshotIs(TrafficPolicy::NamedCounterKey{"P", "C"}, Keel::UniqueId{2});
        named->totalCountIs(PolicyMap::PacketAndByte{9, bytes});
        named->perIntfCountIs(Wire::IntfId("Cpu0"), Keel::UniqueId{3})
            ->countDataIs(PolicyMap::PacketAndByte{packetsOfCpu0, 0});
        sources.cpu.counter = counter;
        std::vector<std::string> found;
        for (const std::string& line : problemsOf(sources)) {
            if (line.starts_with("P counterBelowSnapshot ")) found.push_back(line.substr(23));
        }
        return found;
    };
    const std::string end = ": counts less than at the last clear, and is shown as 0";
    EXPECT_THAT(fallen(4, 9, 1), testing::IsEmpty()) << "made anew, and as it was";
    EXPECT_THAT(fallen(1, 10, 2),
                testing::ElementsAre("counter C on the CPU, Cpu0" + end,
                                     "counter C on the CPU" + end, "rule web on the CPU" + end));
}

TEST(Problems, ofOnePolicy) {
    const auto state = SmallState::stateOf(
        R"({"policyMapConfig":{"P":{},"Q":{}},"allVrfConfig":[],"l3IntfStatusDir":{"E":{"vrf":"v"}}})",
        "{}");
    EXPECT_THAT(problemsOf(SmallState::sourcesOf(state), "Q"),
                testing::ElementsAre("Q notAttached attached nowhere"));
}

// What each view passes over of: a failure on an interface, one on the CPU, an undefined counter,
// and a rule that was not taken.
TEST(Problems, thatViewsDoNotShow) {
    const auto state = SmallState::stateOf(
        "{" + policy(R"({"name":"web","priority":10,"match":{"ipv4":{}},
                       "action":{"count":{"counterName":"D"}}},
                      {"name":"more","priority":20,"match":{"ipv4":{}}})") +
            onEthernet1 + onDefault + "}",
        "{" +
            side(
                "interfaceInput",
                R"("classMapStatus":{"web":["ipv4"]},"intfStatus":{"Ethernet1":{"ipv4":{"state":"failed"}}})") +
            "," +
            side("cpu", R"("classMapStatus":{"web":["ipv4"],"more":["ipv4"]},)"
                        R"("intfStatus":{"Cpu0":{"ipv4":{"state":"failed"}}})") +
            "}");
    const auto sources = SmallState::sourcesOf(state);
    using Word = PolicyViewWord;
    const auto notShown = [&](const PolicyViewShown& view) {
        return trafficPolicyProblemsNotShown(sources, view);
    };
    EXPECT_EQ(notShown({Word::interface, "", false, false}), 2U) << "the CPU, and the rule";
    EXPECT_EQ(notShown({Word::interface, "P", true, false}), 2U);
    EXPECT_EQ(notShown({Word::cpu, "", false, false}), 2U);
    EXPECT_EQ(notShown({Word::cpu, "", false, true}), 4U) << "counters warn of nothing";
    EXPECT_EQ(notShown({Word::vlan, "", false, false}), 0U) << "the policy is not on VLANs";
    EXPECT_EQ(notShown({Word::interface, "Q", false, false}), 0U);
}

}  // namespace

}  // namespace TrafficPolicyCli::Diagnosis
