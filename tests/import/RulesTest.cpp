// Statements of a switch and the rules that they become: what can be said, in criteria; what
// cannot, word for word.
#include <gmock/gmock.h>

#include "TemporaryFolder.h"
#include "import/OpenConfig.h"
#include "import/OpenConfigInput.h"
#include "import/Sonic.h"

namespace {

using namespace Import;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

// The rules of a state, a line each, from the match on.
std::vector<std::string> rulesOf(const Gathered& gathered) {
    std::istringstream text(configText(stateOf(gathered)));
    std::vector<std::string> rules;
    for (std::string line; std::getline(text, line);) {
        const std::size_t match = line.find("\"match\": ");
        if (match == line.npos) continue;
        std::string rule = line.substr(match + 9);
        if (rule.ends_with(',')) rule.pop_back();
        rule.pop_back();
        rules.push_back(rule);
    }
    return rules;
}

Gathered openConfig(const std::string& text, Findings& findings) {
    const TemporaryFolder folder;
    fileIs(folder.file("data.json"), text);
    JsonTree tree;
    readOpenConfig(folder.file("data.json"), tree, findings);
    return gatherOpenConfig(tree, findings);
}

std::string aclSet(const std::string& type, const std::string& entry) {
    return R"({"acl": {"acl-sets": {"acl-set": [{"name": "A", "type": "ACL_)" + type +
           R"(", "acl-entries": {"acl-entry": [{"sequence-id": 1, )" + entry + "}]}}]}}}";
}

struct Case {
    std::string type;
    std::string statements;
    std::vector<std::string> rules;
    std::size_t findings;
};

std::string filter(const std::string& family, const std::string& criteria) {
    return "{\"" + family + "\": {\"structuredFilter\": {" + criteria + "}}}";
}

TEST(OpenConfigRules, SayWhatTheEntrySaysAndCarryTheRest) {
    const Case cases[] = {
        {"IPV4",
         R"("ipv4": {"config": {"source-address": "10.1.2.3/16", "protocol": "IP_UDP"}})",
         {filter("ipv4", R"("sources": ["10.1.0.0/16"], "protocols": {"17": {}})")},
         0},
        // State counts before configuration.
        {"IPV4",
         R"("ipv4": {"config": {"protocol": 6, "dscp": 1}, "state": {"protocol": 17}})",
         {filter("ipv4", R"("protocols": {"17": {}}, "dscp": [1])")},
         0},
        {"IPV6",
         R"("ipv6": {"config": {"length": 24, "hop-limit": 255, "source-flow-label": 7}})",
         {filter("ipv6",
                 R"("length": [64], "ttl": [255], "otherCriteria": ["source-flow-label 7"])")},
         1},
        {"IPV4",
         R"("ipv4": {"config": {"source-address": "10.0.0.0/8", "source-address-prefix-set": "S",
                                        "destination-address": "2001:db8::/32"}})",
         {filter("ipv4",
                 R"("sources": ["10.0.0.0/8"], "otherCriteria": )"
                 R"(["destination-address 2001:db8::/32", "source-address-prefix-set S"])")},
         2},
        {"IPV4",
         R"("ipv4": {"config": {"fragment-offsets": [0, "5..9"]}, "icmpv4": {"config": {
                    "type": "DST_UNREACHABLE", "code": "DST_UNREACHABLE_PORT"}}})",
         {filter("ipv4", R"("protocols": {"1": {"icmpTypes": [{"type": 3, "codes": [3]}]}}, )"
                         R"("fragment": {"type": "matchOffset", "offset": [0, "5-9"]})")},
         0},
        // Ports of no protocol; a fragment of any offset is not known.
        {"IPV4",
         R"("ipv4": {"config": {"fragment-offsets": ["ANY"]}},
                    "transport": {"config": {"source-port": "ANY", "destination-port": "0080..0090"}})",
         {filter("ipv4", R"("protocols": {"0-255": {"portFields": [{"dport": ["80-90"]}]}}, )"
                         R"("otherCriteria": ["fragment-offsets ANY"])")},
         1},
        {"IPV4",
         R"("transport": {"config": {"explicit-tcp-flags": ["TCP_SYN", "TCP_ACK"],
                    "detail-mode": "EXPLICIT", "explicit-detail-match-mode": "ANY"}})",
         {filter("ipv4", R"("protocols": {"6": {"tcpFlags": [{"mask": 2, "flag": 2}, )"
                         R"({"mask": 16, "flag": 16}]}})")},
         0},
        {"IPV4",
         R"("transport": {"config": {"tcp-flags": ["TCP_SYN", "TCP_ACK"]}})",
         {filter("ipv4", R"("otherCriteria": ["tcp-flags TCP_SYN, TCP_ACK"])")},
         1},
        {"IPV4",
         R"("transport": {"config": {"explicit-tcp-flags": ["TCP_CWR"]}})",
         {filter("ipv4",
                 R"("protocols": {"6": {}}, "otherCriteria": ["explicit-tcp-flags TCP_CWR"])")},
         1},
        {"IPV4",
         R"("transport": {"config": {"builtin-detail": "TCP_ESTABLISHED"}})",
         {filter("ipv4", R"("protocols": {"6": {"tcpFlags": [{"mask": 256, "flag": 256}]}})")},
         0},
        {"L2",
         R"("l2": {"config": {"source-mac": "00:00:5e:00:00:99", "ethertype": "ETHERTYPE_IPV4"}})",
         {filter("ipv4", R"("otherCriteria": ["source-mac 00:00:5e:00:00:99"])")},
         1},
        {"L2",
         R"("l2": {"config": {"ethertype": 35020}})",
         {filter("mac", R"("otherCriteria": ["ethertype 35020"])")},
         1},
        // All frames: a rule for each family.
        {"MIXED",
         R"("transport": {"config": {"destination-port": 53}})",
         {filter("ipv4", R"("protocols": {"0-255": {"portFields": [{"dport": [53]}]}})"),
          filter("ipv6", R"("protocols": {"0-255": {"portFields": [{"dport": [53]}]}})")},
         0},
        // A frame of another family has no such header.
        {"L2",
         R"("ipv4": {"config": {"source-address": "10.0.0.0/8"}}, "ipv6": {"config": {}})",
         {filter("ipv4", R"("sources": ["10.0.0.0/8"])")},
         0},
        // What the model does not have, in every family and at every depth; a container that says
        // something by being there; values where the model has one.
        {"L2",
         R"("state": {"vendor:more": {"inner": {"state": {"x": 1}, "config": {"x": 2}}}},
                    "vendor:other": {})",
         {filter("ipv4", R"("otherCriteria": ["other", "more inner x 1"])"),
          filter("ipv6", R"("otherCriteria": ["other", "more inner x 1"])"),
          filter("mac", R"("otherCriteria": ["other", "more inner x 1"])"),
          filter("mpls", R"("otherCriteria": ["other", "more inner x 1"])")},
         2},
        {"IPV4",
         R"("transport": {"config": {"destination-port": [80, 443]}}, "ipv4": {"config": {
                    "vendor:only": {"y": [{"z": 3}]}}, "icmpv4": {"vendor:id": {"w": 4}}})",
         {filter("ipv4", R"("otherCriteria": ["only y 0 z 3", "icmpv4 id w 4", )"
                         R"("destination-port 80, 443"])")},
         3},
        {"FUTURE",
         R"("ipv6": {"config": {"dscp": 1}}, "actions": {"config": {"forwarding-action": ["DROP"]}})",
         {filter("ipv6", R"("dscp": [1], "otherCriteria": ["type ACL_FUTURE"])") +
          R"(, "action": {"drop": {}})"},
         1},
        {"MPLS",
         R"("mpls": {"config": {"start-label-value": "IPV4_EXPLICIT_NULL"}})",
         {filter("mpls", R"("otherCriteria": ["start-label-value IPV4_EXPLICIT_NULL"])")},
         1},
        // Older data, and additions to the model.
        {"IPV4",
         R"("ip": {"config": {"source-ip-address": "10.0.0.1/32"}}, "vendor:more": {"x": true},
                    "input-interface": {"interface-ref": {"config": {"interface": "Ethernet1"}}})",
         {filter("ipv4", R"("sources": ["10.0.0.1/32"], "otherCriteria": )"
                         R"(["input-interface interface Ethernet1", "more x true"])")},
         2},
        {"IPV4",
         R"("actions": {"config": {"forwarding-action": "REJECT", "log-action": "LOG_SYSLOG",
                    "set-dscp": 3}})",
         {R"({"ipv4": {"structuredFilter": {}}}, "action": {"drop": {}, "log": {}, )"
          R"("other": {"text": "reject, set-dscp 3"}})"},
         2},
    };
    for (const Case& row : cases) {
        Findings findings;
        const Gathered gathered = openConfig(aclSet(row.type, row.statements), findings);
        EXPECT_EQ(rulesOf(gathered), row.rules) << row.statements;
        EXPECT_EQ(findings.size(), row.findings) << row.statements << findings.report();
    }
}

// A field set that shows more or less than the data say is no criterion.
TEST(OpenConfigRules, CarryReferencesToSetsThatAreReadInPart) {
    Findings findings;
    const Gathered gathered = openConfig(
        R"({"defined-sets": {
              "ipv4-prefix-sets": {"ipv4-prefix-set": [
                {"name": "S", "config": {"prefix": ["10.0.0.0/8"], "exclude-prefix": ["10.0.0.1-10.0.0.9"]}},
                {"name": "T", "config": {"prefix": ["10.0.0.0/8"]}}]},
              "port-sets": {"port-set": [{"name": "P", "config": {"port": [80], "vendor:not": "81"}}]}},
            "acl": {"acl-sets": {"acl-set": [{"name": "A", "type": "ACL_IPV4", "acl-entries": {"acl-entry": [
              {"sequence-id": 1, "ipv4": {"config": {"source-address-prefix-set": "S",
                 "destination-address-prefix-set": "T"}},
               "transport": {"config": {"source-port-set": "P"}}}]}}]}}})",
        findings);
    EXPECT_THAT(
        rulesOf(gathered),
        ElementsAre(filter("ipv4", R"("dstPrefixSets": ["T"], "otherCriteria": )"
                                   R"(["source-address-prefix-set S", "source-port-set P"])")));
    EXPECT_EQ(findings.size(), 4U) << findings.report();
}

// What is applied counts as configured only where nothing at all is told of the configuration.
TEST(OpenConfigRules, AreWhereTheConfigurationOrElseTheStateSays) {
    const auto isConfigured = [](const std::string& attached, const std::string& more) {
        Findings findings;
        const std::string set = R"({"set-name": "A", "type": "ACL_IPV4", )" + attached + "}";
        const Gathered gathered = openConfig(
            R"({"acl": {"acl-sets": {"acl-set": [{"name": "A", "type": "ACL_IPV4")" + more +
                R"(}]}, "interfaces": {"interface": [{"id": "E",
                "ingress-acl-sets": {"ingress-acl-set": [)" +
                set + "]}}]}}}",
            findings);
        return gathered.attachments.at(0).isConfigured;
    };
    const std::string state = R"("state": {"set-name": "A"})";
    EXPECT_TRUE(isConfigured(state, ""));
    EXPECT_FALSE(isConfigured(state, R"(, "config": {"description": "x"})"));
    EXPECT_TRUE(isConfigured(state + R"(, "config": {"set-name": "A"})", ""));
}

TEST(OpenConfigInput, TakesTheSameDataInEveryForm) {
    const std::string entry = R"({"sequence-id": 7, "config": {"sequence-id": 7},
        "ipv4": {"config": {"protocol": 6}}})";
    const std::string set = R"({"name": "A/1", "type": "openconfig-acl:ACL_IPV4",
        "acl-entries": {"acl-entry": [)" +
                            entry + "]}}";
    const std::string path = "/acl/acl-sets/acl-set[name=A/1][type=ACL_IPV4]";
    for (
        const std::string& text :
        {R"({"openconfig-acl:acl": {"acl-sets": {"acl-set": [)" + set + "]}}}",
         R"({"openconfig-acl:acl-sets": {"acl-set": [)" + set + "]}}",
         R"({"acl-set": [)" + set + "]}", set,
         R"({"acl": {"acl-sets": {"acl-set": {"A/1 ACL_IPV4": {"acl-entries": {"acl-entry": {"7": )" +
             entry + "}}}}}}}",
         R"([{"source": "switch", "updates": [{"Path": "openconfig-acl:acl/acl-sets", "values": {
                 "openconfig-acl:acl/acl-sets": {"openconfig-acl:acl-set": [)" +
             set + "]}}}]}]",
         R"({"notification": [{"prefix": "/acl", "update": [{"path": "acl-sets/acl-set[name=A/1][type=ACL_IPV4]",
                 "val": )" +
             set + "}]}]}",
         R"({"notification": [{"update": [{"path": {"elem": [{"name": "acl"}, {"name": "acl-sets"},
                 {"name": "acl-set", "key": {"name": "A/1", "type": "ACL_IPV4"}}]},
                 "val": {"jsonIetfVal": )" +
             set + "}}]}]}",
         R"([{"path": ")" + path + R"(/acl-entries/acl-entry[sequence-id=7]/ipv4/config/protocol",
                 "value": 6}])",
         // {"protocol": 6} and {"name": "A/1"} in base64, a changed value, and data that went away.
         R"([{"update": {"update": [{"path": ")" + path +
             R"(/acl-entries/acl-entry[sequence-id=7]/ipv4/config",
                 "val": {"jsonIetfVal": "eyJwcm90b2NvbCI6IDE3fQ=="}}, {"path": ")" +
             path + R"(/acl-entries/acl-entry[sequence-id=7]/ipv4/config",
                 "val": {"bytesVal": "eyJwcm90b2NvbCI6IDZ9"}}, {"path": ")" +
             path + R"(/acl-entries/acl-entry[sequence-id=8]/ipv4/config/protocol",
                 "val": {"uintVal": "17"}}, {"path": ")" +
             path + R"(/acl-entries/acl-entry[sequence-id=7]/ipv4/config/dscp-set",
                 "val": {"leaflistVal": {"element": [{"uintVal": 1}, {"uintVal": 2}]}}}]}},
             {"update": {"prefix": "/acl/acl-sets", "delete": ["acl-set[name=A/1]/acl-entries/acl-entry[sequence-id=8]",
                 "acl-set[name=*]/acl-entries/acl-entry[sequence-id=7]/ipv4/config/dscp-set",
                 "acl-set[name=B]", "acl-set[name=A/1][type=ACL_IPV6]"]}}])"}) {
        Findings findings;
        const Gathered gathered = openConfig(text, findings);
        ASSERT_EQ(gathered.policies.size(), 1U) << text << findings.report();
        EXPECT_EQ(gathered.policies[0].name, "A/1") << text;
        EXPECT_EQ(gathered.policies[0].rules.at(0).name, "7") << text;
        EXPECT_THAT(rulesOf(gathered), ElementsAre(filter("ipv4", R"("protocols": {"6": {}})")));
        EXPECT_TRUE(findings.isComplete()) << text << findings.report();
    }
}

TEST(OpenConfigInput, TellsWhatItLeavesOut) {
    const std::pair<const char*, const char*> rows[] = {
        {R"({"acl": {}, "openconfig-system:system": {"config": {}}})", "system: not about ACLs"},
        {R"({"acl": {"config": {"x": 1}}})", "/acl/config/x: not understood"},
        {R"({"acl": {"acl-sets": {"acl-set": [{"type": "ACL_IPV4"}]}}})",
         "acl-set/0: not understood"},
        {R"({"acl": {"acl-sets": {"acl-set": 5}}})", "acl-set: not understood"},
        {R"([{"update": [{"path": "/acl", "val": {"bytesVal": "AAAA"}}]}, {"acl": {}}])", "bytes"},
        {R"([{"update": [{"path": "/acl", "val": {"leaflistVal": {}}}]}, {"acl": {}}])", "no list"},
        {R"([{"update": [{"path": "/acl", "val": {"leaflistVal": 5}}]}, {"acl": {}}])", "no list"},
        {R"({"acl": {"acl-sets": {"acl-set": [{"name": "A", "config": {"name": "B"}}]}}})",
         "name: B, and its key is A"},
        {R"([{"update": [{"path": "/acl/a[b", "val": {}}]}, {"acl": {}}])", "path"},
        {R"([5, {"acl": {}}])", "expected an object"},
        {R"({"defined-sets": {"port-sets": {"port-set": [{"name": "P", "config": {"port": [1, "x"]}}]}}})",
         "port/1: not understood, left out: port: x"},
        {R"([{"acl": {"state": {"counter-capability": "A"}}}, {"acl": {"state": {"counter-capability": "B"}}}])",
         "said twice, the later one counts: counter-capability: A before"},
    };
    for (const auto& [text, expected] : rows) {
        Findings findings;
        openConfig(text, findings);
        EXPECT_THAT(findings.report(), HasSubstr(expected)) << text;
    }
    Findings findings;
    EXPECT_THROW(openConfig(R"({"interfaces-of-another": {}})", findings),
                 StateDirectory::StateError);
    EXPECT_THROW(openConfig("{", findings), StateDirectory::StateError);
}

// In the order in which they come: a notification takes away before it brings.
TEST(OpenConfigInput, FollowsNotifications) {
    const auto update = [](const std::string& more) {
        return R"({"prefix": "/acl/acl-sets", "update": [{"path": "acl-set[name=N][type=ACL_IPV4]/state/description",
                   "val": {"stringVal": "x"}}]})" +
               more;
    };
    const auto changed = [&](std::string text, const std::string& name) {
        return text.replace(text.find("name=N"), 6, "name=" + name);
    };
    const std::string one = changed(update(""), "ONE");
    const std::string two = changed(update(""), "TWO");
    const auto with = [](std::string text, const std::string& member) {
        return text.replace(1, 0, member + ", ");
    };
    const std::pair<std::string, std::vector<std::string>> rows[] = {
        {one + "," + two, {"ONE", "TWO"}},
        {one + "," + with(two, R"("delete": ["acl-set"])"), {"TWO"}},
        {one + "," + with(two, R"("delete": ["/"])"), {"TWO"}},
        {one + "," + with(two, R"("atomic": true)"), {"TWO"}},
        {two + "," + one + R"(, {"delete": ["/acl/acl-sets/acl-set[name=ONE]"]})", {"TWO"}},
        {one + R"(, {"delete": ["/acl"]})", {}},
        {one + R"(, {"delete": ["/acl/acl-sets/acl-set[name=ONE]"]},)" + one, {"ONE"}},
        {one + R"(, {"delete": ["/acl/other/acl-set[name=ONE]", "/acl/acl-sets/acl-set/state"]})",
         {"ONE"}},
    };
    for (const auto& [text, expected] : rows) {
        Findings findings;
        std::vector<std::string> names;
        for (const Policy& policy : openConfig("[" + text + "]", findings).policies) {
            names.push_back(policy.name);
        }
        EXPECT_EQ(names, expected) << text << findings.report();
        EXPECT_TRUE(findings.isComplete()) << text << findings.report();
    }
}

Gathered sonicRule(const std::string& type, const SonicFields& rule, Findings& findings) {
    SonicDatabases databases;
    databases.config["ACL_TABLE|T"] = {{"type", type}};
    if (type == "CTRLPLANE") databases.config["ACL_TABLE|T"]["services@"] = "SSH";
    databases.config["ACL_TABLE_TYPE|OWN"] = {{"MATCHES", "SRC_MAC"}};
    databases.config["ACL_RULE|T|R"] = rule;
    databases.config["ACL_RULE|T|R"].insert({"PRIORITY", "1"});
    return gatherSonic(databases, findings);
}

TEST(SonicRules, SayWhatTheHashSaysAndCarryTheRest) {
    const std::string counts = R"(, "action": {"count": {}})";
    const struct {
        std::string type;
        SonicFields fields;
        std::vector<std::string> rules;
        std::size_t findings;
    } cases[] = {
        {"L3",
         {{"SRC_IP", "10.1.2.3/16"},
          {"DST_IP", "192.0.2.1"},
          {"IP_PROTOCOL", "17"},
          {"L4_SRC_PORT_RANGE", "1-5"}},
         {filter("ipv4", R"("sources": ["10.1.0.0/16"], "destinations": ["192.0.2.1/32"], )"
                         R"("protocols": {"17": {"portFields": [{"sport": ["1-5"]}]}})") +
          counts},
         0},
        {"L3",
         {{"TCP_FLAGS", "0x12/0x3f"}},
         {filter("ipv4", R"("protocols": {"6": {"tcpFlags": [{"mask": 63, "flag": 18}]}})") +
          counts},
         0},
        {"L3",
         {{"TCP_FLAGS", "0x42/0xc2"}},
         {filter("ipv4", R"("protocols": {"6": {"tcpFlags": [{"mask": 2, "flag": 2}]}}, )"
                         R"("otherCriteria": ["TCP_FLAGS 0x42/0xc2"])") +
          counts},
         1},
        {"L3",
         {{"DSCP", "0x28/0x38"}, {"VLAN_ID", "100"}, {"IN_PORTS", "Ethernet0"}},
         {filter("ipv4", R"("vlanTags": [{"vlans": [100]}], "dscp": ["40-47"], )"
                         R"("otherCriteria": ["IN_PORTS Ethernet0"])") +
          counts},
         1},
        {"L3",
         {{"DSCP", "1/1"}, {"DST_IPV6", "2001:db8::/32"}, {"src_ip", "10.0.0.0/8"}},
         {filter("ipv4",
                 R"("dscp": [1, 3, 5, 7, 9, 11, 13, 15, 17, 19, 21, 23, 25, 27, 29, 31, 33, 35, )"
                 R"(37, 39, 41, 43, 45, 47, 49, 51, 53, 55, 57, 59, 61, 63], )"
                 R"("otherCriteria": ["DST_IPV6 2001:db8::/32", "src_ip 10.0.0.0/8"])") +
          counts},
         2},
        {"L3V4V6",
         {{"ICMPV6_TYPE", "135"}, {"ICMPV6_CODE", "0"}},
         {filter("ipv6", R"("protocols": {"58": {"icmpTypes": [{"type": 135, "codes": [0]}]}})") +
          counts},
         0},
        {"L3V4V6",
         {{"IP_TYPE", "ANY"}},
         {R"({"ipv4": {"structuredFilter": {}}}, "action": {"count": {"counterName": "R"}})",
          R"({"ipv6": {"structuredFilter": {}}}, "action": {"count": {"counterName": "R"}})"},
         0},
        {"L2", {{"ETHER_TYPE", "2048"}}, {R"({"ipv4": {"structuredFilter": {}}})" + counts}, 0},
        {"L2",
         {{"IP_TYPE", "ARP_REPLY"}},
         {filter("mac", R"("otherCriteria": ["IP_TYPE ARP_REPLY"])") + counts},
         1},
        {"OWN",
         {{"SRC_MAC", "00:00:5e:00:00:99"}, {"ETHER_TYPE", "34525"}},
         {filter("ipv6", R"("otherCriteria": ["SRC_MAC 00:00:5e:00:00:99"])") + counts},
         1},
        {"CTRLPLANE",
         {{"SRC_IP", "10.0.0.0/8"}, {"PACKET_ACTION", "accept"}},
         {filter(
             "ipv4",
             R"("sources": ["10.0.0.0/8"], "protocols": {"6": {"portFields": [{"dport": [22]}]}})")},
         0},
        {"L3V4V6",
         {{"NEXT_HEADER", "17"}, {"TCP_FLAGS", "0x0/0x0"}},
         {filter("ipv6", R"("protocols": {"17": {}}, "otherCriteria": ["TCP_FLAGS 0x0/0x0"])") +
          counts},
         1},
        {"CTRLPLANE",
         {{"SRC_IP", "10.0.0.0/8"}, {"IP_PROTOCOL", "17"}},
         {filter(
             "ipv4",
             R"("sources": ["10.0.0.0/8"], "protocols": {"17": {}}, "otherCriteria": ["services SSH"])")},
         1},
        {"L3",
         {{"SRC_IP", "10.0.0.0/8"}, {"PACKET_ACTION", "REDIRECT:192.0.2.1,192.0.2.2"}},
         {filter("ipv4", R"("sources": ["10.0.0.0/8"])") +
          R"(, "action": {"redirectNexthop": {"nexthops": ["192.0.2.1", "192.0.2.2"]}, "count": {}})"},
         0},
        {"MIRROR",
         {{"SRC_IPV6", "2001:db8::/32"},
          {"MIRROR_INGRESS_ACTION", "s1"},
          {"PACKET_ACTION", "REDIRECT:Ethernet8"}},
         {filter("ipv6", R"("sources": ["2001:db8::/32"])") +
          R"(, "action": {"count": {}, "other": {"text": "mirror ingress s1, PACKET_ACTION REDIRECT:Ethernet8"}})"},
         2},
    };
    for (const auto& row : cases) {
        Findings findings;
        EXPECT_EQ(rulesOf(sonicRule(row.type, row.fields, findings)), row.rules);
        EXPECT_EQ(findings.size(), row.findings) << findings.report();
    }
}

TEST(Names, AreFitForAState) {
    EXPECT_EQ(nameOf("a b:c/d"), "a b:c/d");
    EXPECT_EQ(nameOf(""), "(no name)");
    EXPECT_EQ(nameOf("a\nb"), "a\\x0ab");
    // Switches whose names differ only in what is escaped keep all their policies.
    SonicDatabases databases;
    databases.config["ACL_TABLE|a\xff"] = databases.config["ACL_TABLE|a\xfe"] = {{"type", "L3"}};
    databases.config["ACL_RULE|a\xff|r\x1b"] = {{"PRIORITY", "1"}, {"SRC_MAC\x9b", "x\x1b\xff"}};
    Findings findings;
    const Gathered gathered = gatherSonic(databases, findings);
    EXPECT_EQ(gathered.policies.size(), 2U);
    EXPECT_NE(gathered.policies[0].name, gathered.policies[1].name);
    EXPECT_THAT(rulesOf(gathered), testing::SizeIs(1));
    EXPECT_EQ(findings.report().find('\x1b'), std::string::npos);
}

}  // namespace
