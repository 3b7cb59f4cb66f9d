// Several policies at one point: each is asked, in the order of application, and one that drops
// drops.
#include <gmock/gmock.h>

#include "DiagnosisSource.h"
#include "MatchingFixture.h"
#include "orb/ActivityLock.h"
#include "traffic-policy/ShowCapture.h"

namespace TrafficPolicyCli {
namespace {

using Diagnosis::packetOf;
using testing::HasSubstr;

// Drops TCP, drops UDP, rejects whatever, takes what nobody knows, passes everything.
constexpr auto policies = R"({"policyMapConfig": {
  "TCP": {"currCfg": {"rules": [{"name": "t", "priority": 1, "action": {"drop": {}},
    "match": {"ipv4": {"structuredFilter": {"protocols": {"6": {}}}}}}]}},
  "UDP": {"currCfg": {"rules": [{"name": "u", "priority": 1, "action": {"drop": {}},
    "match": {"ipv4": {"structuredFilter": {"protocols": {"17": {}}}}}}]}},
  "REJECT": {"currCfg": {"rules": [{"name": "r", "priority": 1, "match": {"ipv4": {}},
    "action": {"other": {"text": "reject"}}}]}},
  "PASS": {"currCfg": {"rules": [{"name": "p", "priority": 1, "match": {"ipv4": {}}}]}}}, )";

template <class Show>
std::string shownBy(const Orb::Ptr<Show>& show, U32 format) {
    const Captured::MemoryFile file;
    const Orb::ActivityLockGuard lock;
    show->render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

// What stands behind the word in the report, up to the end of its line.
std::string behind(const std::string& report, const std::string& word) {
    const auto at = report.find(word);
    if (at == std::string::npos) return "";
    return report.substr(at + word.size(), report.find('\n', at) - at - word.size());
}

TEST(SeveralPolicies, dropWhatOneOfThemDrops) {
    const struct {
        const char* attached;
        const char* packet;
        std::string configured;  // the verdict of all, and who drops
    } rows[] = {
        {R"(["TCP", "UDP"])", "ipv4 protocol 6", R"("dropped","policy":"TCP")"},
        {R"(["TCP", "UDP"])", "ipv4 protocol 17", R"("dropped","policy":"UDP")"},
        {R"(["TCP", "UDP"])", "ipv4 protocol 1", R"("forwarded")"},
        {R"(["TCP", "UDP"])", "ipv4", R"("undecided")"},
        {R"(["REJECT", "UDP"])", "ipv4 protocol 17", R"("dropped","policy":"UDP")"},
        {R"(["UDP", "REJECT"])", "ipv4 protocol 17", R"("dropped","policy":"UDP")"},
        {R"(["REJECT", "PASS"])", "ipv4 protocol 17", R"("undecided")"},
        {R"(["PASS", "REJECT"])", "ipv4 protocol 17", R"("undecided")"},
        {R"(["GONE", "PASS"])", "ipv4 protocol 17", R"("forwarded")"},
        {R"("TCP")", "ipv4 protocol 6", ""},
        {R"(["TCP"])", "ipv4 protocol 6", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.attached) + " " + row.packet);
        const auto state = SmallState::stateOf(
            std::string(policies) + R"("vrfConfig": {"all": )" + row.attached + "}}", "{}");
        const auto sources = SmallState::sourcesOf(state);
        const auto show = showTrafficPolicyPacketFactory(sources, {AskedPoint::Kind::cpu, "red"},
                                                         packetOf(row.packet), false);
        const std::string expected = row.configured.empty()
                                         ? ""
                                         : ":{\"configured\":{\"verdict\":" + row.configured +
                                               "},\"hardware\":{\"verdict\":\"notFiltered\"}}}";
        EXPECT_EQ(behind(shownBy(show, 2), "\"together\""), expected);
    }
}

// In hardware what is left over filters beside what is configured, and comes last.
TEST(SeveralPolicies, standInTheOrderOfApplication) {
    const auto programmed = [](const std::string& rule) {
        return R"({"intfStatus": {"Vlan7": {"ipv4": {"state": "programmed"}}}, "classMapStatus": {")" +
               rule + "\": [\"ipv4\"]}}";
    };
    const auto state = SmallState::stateOf(
        std::string(policies) + R"("intfConfigBridged": {"Vlan7": ["UDP", "PASS"]}})",
        R"({"vlan": {"policyMapStatus": {"UDP": )" + programmed("u") +
            ", \"TCP\": " + programmed("t") + ", \"PASS\": " + programmed("p") + "}}}");
    const auto sources = SmallState::sourcesOf(state);
    const std::string table = shownBy(showTrafficPolicyAttachmentsFactory(sources, "", "", ""), 1);
    EXPECT_THAT(table, HasSubstr("VLAN 7        UDP     applied"));
    EXPECT_LT(table.find("UDP"), table.find("PASS"));
    EXPECT_LT(table.find("PASS"), table.find("TCP"));
    const auto packet = showTrafficPolicyPacketFactory(sources, {AskedPoint::Kind::vlan, "7"},
                                                       packetOf("ipv4 protocol 6"), false);
    EXPECT_EQ(behind(shownBy(packet, 1), "Verdict of all 3 policies: "),
              "as configured forwarded; in hardware dropped by policy TCP");

    const auto capture = showTrafficPolicyCaptureFactory(sources, {AskedPoint::Kind::vlan, "7"});
    for (const char* const text : {"ipv4 protocol 6", "ipv4 protocol 17", "ipv4 protocol 1"}) {
        capture->packetIs(packetOf(text), 100);
    }
    EXPECT_EQ(behind(shownBy(capture, 1), "Dropped by one of 3 policies: "),
              "1 packets as configured, 2 in hardware");
}

// A capture counts what a rule with an unknown action takes; whether it drops is not known.
TEST(SeveralPolicies, rejectWithoutCertainty) {
    const auto state =
        SmallState::stateOf(std::string(policies) + R"("intfConfigInput": {}})", "{}");
    const auto capture = showTrafficPolicyCaptureFactory(SmallState::sourcesOf(state),
                                                         {AskedPoint::Kind::policy, "REJECT"});
    capture->packetIs(packetOf("ipv4 protocol 6"), 100);
    EXPECT_THAT(shownBy(capture, 2),
                HasSubstr(R"("configured":{"rules":[{"rule":"r","matchOption":"ipv4","packets":1,)"
                          R"("bytes":100}],"noRule":{"packets":0,"bytes":0},)"
                          R"("depends":{"packets":0,"bytes":0},"notFiltered":{"packets":0,)"
                          R"("bytes":0},"dropped":{"packets":0,"bytes":0}})"));
}

}  // namespace
}  // namespace TrafficPolicyCli
