// What the report about a packet says of its own limits.
#include <gmock/gmock.h>

#include "DiagnosisSource.h"
#include "MatchingFixture.h"
#include "orb/ActivityLock.h"
#include "traffic-policy/ShowPacket.h"

namespace TrafficPolicyCli::Diagnosis {
namespace {

using testing::HasSubstr;
using testing::Not;

// As many rules, each for a source and a destination port of its own.
SmallState::State stateOfRules(U32 count, const std::string& actions) {
    std::vector<RuleText> rules;
    for (U32 i = 0; i < count; ++i) {
        const std::string port = std::to_string(i);
        rules.push_back({"r" + port,
                         R"({"protocols": {"6": {"portFields": [{"sport": [)" + port +
                             R"(], "dport": [)" + port + "]}]}}}",
                         actions});
    }
    return policyState(rules);
}

std::string shown(const SmallState::State& state, U32 format) {
    const auto show = showTrafficPolicyPacketFactory(
        SmallState::sourcesOf(state), {AskedPoint::Kind::policy, "P"},
        packetOf("ipv4 protocol 6 fragment no"), false);
    const Captured::MemoryFile file;
    const Orb::ActivityLockGuard lock;
    show->render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

TEST(PacketReport, saysWhenOutcomesMayBeImpossibleOrMissing) {
    const auto few = stateOfRules(5, R"("gotoMatch": {})");
    EXPECT_THAT(shown(few, 2), Not(HasSubstr("mayBeImpossible")));
    const auto many = stateOfRules(300, R"("gotoMatch": {})");
    EXPECT_THAT(shown(many, 2), HasSubstr(R"("mayBeImpossible":true)"));
    EXPECT_THAT(shown(many, 1), HasSubstr("Not every one of these need be possible."));
    const auto more = stateOfRules(1100, R"("drop": {})");
    EXPECT_THAT(shown(more, 2), HasSubstr(R"("andMore":true}}]})"));
    EXPECT_THAT(shown(more, 1), HasSubstr("Verdict: undecided (1000 possible, and more)\n"));
}

// What the kernel has, whether or not it tells its rules.
TEST(PacketReport, takesTheKernelToHaveTheRulesThatItDoesNotTell) {
    const std::string config =
        R"("vrfConfig": {"red": "P"}, "l3IntfStatusDir": {"Cpu1": {"vrf": "red"}}})";
    const std::string policy = R"({"policyMapConfig": {"P": {"currCfg": {"rules": [
        {"name": "r", "priority": 1, "match": {"ipv4": {}}, "action": {"drop": {}}}]}}}, )";
    const auto reporting = [](const std::string& rules) {
        return R"({"policyMapStatus": {"P": {"intfStatus": {"Cpu1": {"ipv4": {"state":)"
               R"("programmed"}}}, "classMapStatus": )" +
               rules + "}}}";
    };
    const std::string taken = R"({"r": ["ipv4"]})";
    const struct {
        std::string config, hardware, kernel, expected;
    } rows[] = {
        {policy + config, taken, "{}", R"("software":{"verdict":"dropped")"},
        {policy + config, "{}", "{}", R"("software":{"verdict":"dropped")"},
        {policy + config, taken, R"({"other": ["ipv4"]})", R"("software":{"verdict":"undecided")"},
        {policy + config, taken, R"({"r": []})", R"("software":{"verdict":"forwarded")"},
        {"{" + config, taken, "{}", R"("software":{"verdict":"undecided")"},
    };
    for (const auto& row : rows) {
        const auto state = SmallState::stateOf(row.config, R"({"cpu": )" + reporting(row.hardware) +
                                                               R"(, "cpuSoftware": )" +
                                                               reporting(row.kernel) + "}");
        const auto show = showTrafficPolicyPacketFactory(SmallState::sourcesOf(state),
                                                         {AskedPoint::Kind::cpu, "red"},
                                                         packetOf("ipv4 protocol 6"), false);
        const Captured::MemoryFile file;
        const Orb::ActivityLockGuard lock;
        show->render(static_cast<U32>(file.fd()), SmallState::json, 2);
        EXPECT_THAT(file.text(), HasSubstr(row.expected)) << row.hardware << row.kernel;
    }
}

}  // namespace
}  // namespace TrafficPolicyCli::Diagnosis
