// Rates from two looks with counts and times that stand.
#include "traffic-policy/ShowRates.h"

#include <gmock/gmock.h>

#include "DiagnosisSource.h"

namespace {

using SmallState::stateOf;
using testing::HasSubstr;
using testing::Not;
using TrafficPolicyCli::RateScope;

constexpr const char* config = R"({"policyMapConfig": {"EDGE": {"currCfg": {
    "namedCounter": ["WEB", "SCANS"], "rules": [
    {"name": "web", "priority": 1, "action": {"count": {"counterName": "WEB"}}},
    {"name": "scan", "priority": 2, "action": {"count": {"counterName": "SCANS"}}},
    {"name": "undeclared", "priority": 3, "action": {"count": {"counterName": "NONE"}}},
    {"name": "silent", "priority": 4, "action": {"drop": {}}},
    {"name": "rest", "priority": 5, "action": {"count": {}}}]}},
    "NO-STATUS": {}}})";

std::string statusOf(const std::string& web, const std::string& scans, const std::string& rest) {
    return R"({"hwStatus": {"byteCountersSupported": true}, "interfaceInput": {
        "countersPerInterface": true, "policyMapStatus": {"EDGE": {
        "classMapStatus": {"web": ["ipv4"], "scan": ["ipv4"], "undeclared": ["ipv4"],
                           "silent": ["ipv4"], "rest": ["ipv4"]},
        "classCounter": {"rest": {)" +
           rest + R"(}}, "namedCounter": {"WEB": {)" + web + R"(}, "SCANS": {)" + scans + "}}}}}}";
}

const std::string first =
    statusOf(R"("uniqueId": 1, "packets": 1000, "bytes": 64000, "perIntfCount": {
                "E1": {"uniqueId": 2, "packets": 600, "bytes": 38400},
                "E2": {"uniqueId": 3, "packets": 400, "bytes": 25600}})",
             R"("uniqueId": 5, "packets": 100)", R"("uniqueId": 7, "packets": 50)");
const std::string second =
    statusOf(R"("uniqueId": 1, "packets": 3000, "bytes": 192000, "perIntfCount": {
                "E1": {"uniqueId": 2, "packets": 2600, "bytes": 166400},
                "E2": {"uniqueId": 9, "packets": 400, "bytes": 25600}})",
             R"("uniqueId": 6, "packets": 12, "bytes": 768)", R"("uniqueId": 7, "packets": 53)");

std::string rates(const std::vector<std::pair<std::string, double>>& looks, U32 format,
                  U64 top = 0) {
    const auto show = TrafficPolicyCli::showTrafficPolicyRatesFactory(RateScope{}, "");
    show->topIs(top);
    for (const auto& [status, time] : looks) {
        auto sources = SmallState::sourcesOf(stateOf(config, status));
        const auto snapshots = Orb::make<TrafficPolicy::Counter>();
        snapshots->snapshotIs(TrafficPolicy::CounterKey{"EDGE", "rest"},
                              TrafficPolicy::CounterVersion{{7}, 50});
        sources.input.counter = snapshots;
        show->look(sources, {Orb::Seconds(0), Orb::Seconds(time)});
    }
    const Captured::MemoryFile file;
    show->render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

TEST(Rates, ComeFromTwoLooksAtTheSameRecord) {
    EXPECT_EQ(rates({{first, 1000}, {second, 1010}}, SmallState::text),
              "Traffic-policies applied on input: 10.0 s up to 1970-01-01T00:16:50.000Z\n"
              "Traffic policy EDGE\n"
              "   SCANS:\n"
              "      Total: counter restarted, 12 packets 768 bytes\n"
              "   WEB:\n"
              "      E1: 200 packets/s 102400 bits/s, 2600 packets 166400 bytes\n"
              "      E2: counter restarted, 400 packets 25600 bytes\n"
              "      Total: 200 packets/s 102400 bits/s, 3000 packets 192000 bytes\n"
              "   match rule: rest: 0.3 packets/s, 3 packets\n");
    // The same figures stand in tests/schema/refuse/rates.json.
    EXPECT_EQ(
        rates({{first, 1000}, {second, 1010}}, SmallState::json),
        R"({"sides":[{"side":"input","from":"1970-01-01T00:16:40.000Z",)"
        R"("to":"1970-01-01T00:16:50.000Z","milliseconds":10000,"policies":[{"policy":"EDGE",)"
        R"("counters":[{"counter":"SCANS","interfaces":[],"restarted":true,"packetCount":12,)"
        R"("byteCount":768},{"counter":"WEB","interfaces":[{"interface":"E1",)"
        R"("packetsPerSecond":200,"newPackets":2000,"bitsPerSecond":102400,"newBytes":128000,)"
        R"("packetCount":2600,"byteCount":166400},{"interface":"E2","restarted":true,)"
        R"("packetCount":400,"byteCount":25600}],"packetsPerSecond":200,"newPackets":2000,)"
        R"("bitsPerSecond":102400,"newBytes":128000,"packetCount":3000,"byteCount":192000},)"
        R"({"rule":"rest","packetsPerSecond":0,"newPackets":3,"packetCount":3}]}]}]})"
        "\n");
}

TEST(Rates, TopShowsTheBusiest) {
    EXPECT_EQ(rates({{first, 1000}, {second, 1010}}, SmallState::text, 1),
              "Traffic-policies applied on input: 10.0 s up to 1970-01-01T00:16:50.000Z\n"
              "Packets/s  Bits/s  Side   Policy  Counter  Packets\n"
              "---------  ------  -----  ------  -------  -------\n"
              "200        102400  input  EDGE    WEB      3000\n");
    EXPECT_THAT(rates({{first, 1000}, {second, 1010}}, SmallState::json, 5),
                HasSubstr(R"("busiest":[{"side":"input","policy":"EDGE","counter":"WEB",)"
                          R"("packetsPerSecond":200,"newPackets":2000,)"));
    EXPECT_THAT(rates({{second, 1000}, {second, 1010}}, SmallState::text, 5),
                HasSubstr("Nothing was counted.\n"));
}

// What fell is no rate, and neither is what the platform did not tell anew.
TEST(Rates, AreNeverGuessed) {
    const std::string fallen = rates({{second, 1000}, {first, 1010}}, SmallState::text);
    EXPECT_THAT(fallen, HasSubstr("rest: counter restarted, 0 packets\n"));
    EXPECT_THAT(fallen, HasSubstr("E1: counter restarted, 600 packets 38400 bytes\n"));
    for (const double time : {1000.0, 990.0}) {
        const std::string same = rates({{first, 1000}, {second, time}}, SmallState::text);
        EXPECT_THAT(same, HasSubstr("NOTE: the platform told no newer counts"));
        EXPECT_THAT(same, HasSubstr("rest: no rate, 3 packets\n"));
        EXPECT_THAT(same, Not(HasSubstr("/s")));
    }
    const std::string one = rates({{first, 1000}}, SmallState::json);
    EXPECT_THAT(one, Not(HasSubstr("PerSecond")));
    EXPECT_THAT(one, HasSubstr("\"milliseconds\":0"));
}

}  // namespace
