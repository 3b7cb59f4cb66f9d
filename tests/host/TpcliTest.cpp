// tpcli as a process: exit statuses, and what goes to standard output and standard error.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <sstream>

#include "Process.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

using Arguments = std::vector<std::string>;

Arguments over(const TemporaryDirectory& state, Arguments rest) {
    rest.insert(rest.begin(), {"--state", state.path()});
    return rest;
}

const std::string smallConfig = R"({
    "policyMapConfig": {"EDGE": {"currCfg": {"rules": [
        {"name": "web", "priority": 1, "match": {"ipv4": {"structuredFilter": {}}},
         "action": {"count": {}}}]}}},
    "intfConfigInput": {"Ethernet1": "EDGE"},
    "fieldSetConfig": {"fieldSetL4Port": {"WEB": {"currCfg": {"ports": [80, 443]}}}}
})";
const std::string smallStatus = R"({
    "interfaceInput": {"policyMapStatus": {"EDGE": {
        "classMapStatus": {"web": ["ipv4"]},
        "intfStatus": {"Ethernet1": {"ipv4": {"state": "programmed"}}}}}},
    "cpuSoftware": {"policyMapStatus": {"OLD": {}}}
})";

class Tpcli : public testing::Test {
  protected:
    StateFixture state_{smallConfig, smallStatus};

    Outcome run(Arguments words) const { return runTpcli(over(state_, std::move(words))); }
};

TEST_F(Tpcli, showsPoliciesInTextAndJson) {
    const Outcome text = run({"show", "traffic-policy", "interface"});
    EXPECT_EQ(text.status, 0);
    EXPECT_THAT(text.output, StartsWith("Traffic policy EDGE\n"
                                        "   Configured on input of interfaces: Ethernet1\n"));
    EXPECT_THAT(text.errors, IsEmpty());

    const Outcome json = run({"show", "traffic-policy", "interface", "input", "--json"});
    EXPECT_EQ(json.status, 0);
    EXPECT_THAT(json.output, StartsWith(R"({"trafficPolicies":{"EDGE":{"input":{)"));
    EXPECT_THAT(json.output, EndsWith("}\n"));
    EXPECT_THAT(json.output, Not(HasSubstr("\"output\"")));
}

TEST_F(Tpcli, endsWellWithAnUnknownName) {
    struct {
        Arguments words;
        std::string output, errors;
    } const rows[] = {
        {{"--json", "show", "traffic-policy", "EDG", "interface"},
         "{\"trafficPolicies\":{}}\n",
         "tpcli: no traffic policy \"EDG\" is known; the nearest name is \"EDGE\"\n"},
        {{"show", "traffic-policy", "\"cpu\"", "vlan", "errors"},
         "",
         "tpcli: no traffic policy \"cpu\" is known; the nearest name is \"OLD\"\n"},
        {{"show", "traffic-policy", "OLD", "cpu"}, "", ""},
        {{"show", "traffic-policy", "field-set", "l4-port", "WEP", "filter", "80"},
         "No matching L4 port field sets found\n",
         "tpcli: no L4 port field set \"WEP\" is known; the nearest name is \"WEB\"\n"},
        {{"--json", "show", "traffic-policy", "field-set", "mac", "x"},
         "{\"sources\":{}}\n",
         "tpcli: no MAC field set \"x\" is known, nor any other\n"},
    };
    for (const auto& row : rows) {
        const Outcome outcome = run(row.words);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.output, row.output);
        EXPECT_EQ(outcome.errors, row.errors);
    }
}

TEST_F(Tpcli, refusesWrongCommandLines) {
    const Outcome word = run({"show", "traffic-policy", "cpu", "errors", "detail"});
    EXPECT_EQ(word.status, 1);
    EXPECT_THAT(word.output, IsEmpty());
    EXPECT_EQ(word.errors,
              "tpcli: \"detail\" cannot stand here\n"
              "  show traffic-policy cpu errors detail\n"
              "                                 ^~~~~~ expected the end of the command\n");

    const Outcome option = run({"--revision", "two", "show", "traffic-policy", "cpu"});
    EXPECT_EQ(option.status, 1);
    EXPECT_EQ(option.errors,
              "tpcli: --revision: \"two\" is no revision, expected a number 0 to 4294967295\n");

    const Outcome nothing = run({});
    EXPECT_EQ(nothing.status, 1);
    EXPECT_THAT(nothing.output, IsEmpty());
    EXPECT_THAT(nothing.errors, StartsWith("Usage: tpcli "));

    // Words are looked at before the state.
    EXPECT_EQ(runTpcli({"show", "traffic-policy", "field-set", "vlan", "filter", "9-8"}).status, 1);
}

TEST_F(Tpcli, helpNamesTheCommands) {
    const Outcome outcome = run({"show", "--help"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.output, HasSubstr("show traffic-policy field-set mac [NAME]\n"));
    EXPECT_THAT(outcome.output, HasSubstr("'\"cpu\"'"));
    std::istringstream lines(outcome.output);
    for (std::string line; std::getline(lines, line);) EXPECT_LT(line.size(), 80U) << line;
    EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST_F(Tpcli, showsNothingOfABadState) {
    fileIs(state_.file("status.json"), R"({"hwstatus": {}})");
    const Outcome outcome = run({"--json", "show", "traffic-policy", "interface"});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_THAT(outcome.output, IsEmpty());
    EXPECT_THAT(outcome.errors, MatchesRegex("tpcli: .*/status.json: at \"\": [^\n]*\n"));
    EXPECT_THAT(outcome.errors, HasSubstr("hwStatus"));
}

TEST(TpcliWithoutState, saysHowToGetOne) {
    for (const Arguments& state : {Arguments{}, Arguments{"--state", "/nowhere"}}) {
        Arguments arguments = state;
        arguments.insert(arguments.end(), {"show", "traffic-policy", "cpu"});
        const Outcome outcome = runTpcli(arguments);
        EXPECT_EQ(outcome.status, 2);
        EXPECT_THAT(outcome.output, IsEmpty());
        EXPECT_THAT(outcome.errors, HasSubstr("config.json: cannot be opened"));
        EXPECT_THAT(outcome.errors, HasSubstr("--state examples/campus"));
    }
}

// Only views that print counts need the snapshots of the last clear.
TEST_F(Tpcli, readsSnapshotsForCounts) {
    fileIs(state_.file("snapshots.json"), "[]");
    struct {
        Arguments words;
        int status;
    } const rows[] = {
        {{"interface", "counters"}, 2},
        {{"interface"}, 2},
        {{"interface", "detail"}, 2},
        {{"cpu"}, 2},
        {{"interface", "summary"}, 0},
        {{"cpu", "errors"}, 0},
        {{"vlan"}, 0},
    };
    for (const auto& row : rows) {
        Arguments words = {"show", "traffic-policy"};
        words.insert(words.end(), row.words.begin(), row.words.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.status, row.status) << row.words.front();
        if (row.status == 2) {
            EXPECT_THAT(outcome.output, IsEmpty());
            EXPECT_THAT(outcome.errors, HasSubstr("snapshots.json"));
        }
    }
}

TEST_F(Tpcli, clearsCounters) {
    fileIs(state_.file("status.json"), R"({"cpu": {"policyMapStatus": {"EDGE": {
        "classMapStatus": {"web": ["ipv4"]},
        "classCounter": {"web": {"uniqueId": 1, "packets": 18446744073709551615}}}}}})");
    const Arguments counters = {"show", "traffic-policy", "EDGE", "cpu", "counters"};
    EXPECT_THAT(run(counters).output, HasSubstr("18446744073709551615"));
    const Outcome clear = run({"clear", "traffic-policy", "counters"});
    EXPECT_EQ(clear.status, 0);
    EXPECT_EQ(clear.output, "Cleared 1 traffic-policy counters\n");
    EXPECT_THAT(run(counters).output, Not(HasSubstr("18446744073709551615")));
}

TEST_F(Tpcli, tracesToStandardError) {
    const Arguments words = {"show", "traffic-policy", "interface"};
    const std::string report = run(words).output;
    const Outcome outcome = run(
        {"--trace", "TrafficPolicyShowCliHelper/8,Blip", "show", "traffic-policy", "interface"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, report);
    EXPECT_THAT(outcome.errors, StartsWith("TrafficPolicyShowCliHelper/8 "));
}

TEST_F(Tpcli, dumpsTheRingOfMessages) {
    fileIs(state_.file("config.json"), R"({"fieldSetConfig": {"fieldSetIpPrefix":
        {"ONE": {"currCfg": {"prefixes": ["10.0.0.0/8"]}}}}})");
    const Outcome outcome =
        run({"--trace", "Blip", "show", "traffic-policy", "field-set", "ipv4", "prefix"});
    EXPECT_EQ(outcome.status, 0);
    EXPECT_THAT(outcome.errors, HasSubstr(" begin copy+sort prefixes"));
}

// A report that did not arrive whole never ends in exit status 0.
TEST_F(Tpcli, tellsWhenItsOutputIsLost) {
    for (const Arguments& words :
         {Arguments{"show", "traffic-policy", "interface"},
          Arguments{"--json", "show", "traffic-policy", "field-set", "l4-port"},
          Arguments{"--help"}}) {
        const Outcome full =
            runTpcli(over(state_, words), ::open("/dev/full", O_WRONLY | O_CLOEXEC));
        EXPECT_EQ(full.status, 3);
        EXPECT_EQ(full.errors, "tpcli: standard output: No space left on device\n");

        const Outcome unwritable =
            runTpcli(over(state_, words), ::open("/dev/null", O_RDONLY | O_CLOEXEC));
        EXPECT_EQ(unwritable.status, 3);
        EXPECT_EQ(unwritable.errors, "tpcli: standard output: Bad file descriptor\n");

        int ends[2];
        ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        ::close(ends[0]);
        const Outcome closed = runTpcli(over(state_, words), ends[1]);
        EXPECT_EQ(closed.status, 141);
        EXPECT_THAT(closed.errors, IsEmpty());
    }
}

// A state with a prefix set whose listing is larger than a pipe and than the output buffer.
class TpcliInterrupted : public testing::TestWithParam<Arguments> {
  protected:
    static StateFixture largeState() {
        std::string prefixes;
        for (unsigned i = 0; i < 100'000; ++i) {
            if (i > 0) prefixes += ',';
            prefixes += "\"10." + std::to_string(i >> 16) + "." + std::to_string(i >> 8 & 255) +
                        "." + std::to_string(i & 255) + "/32\"";
        }
        return {R"({"fieldSetConfig": {"fieldSetIpPrefix": {"LARGE": {"currCfg": {"prefixes": [)" +
                    prefixes + "]}}}}}",
                "{}"};
    }
    Arguments arguments() const {
        Arguments arguments = over(state_, GetParam());
        arguments.insert(arguments.end(),
                         {"show", "traffic-policy", "field-set", "ipv4", "prefix"});
        return arguments;
    }

    StateFixture state_ = largeState();
};

TEST_P(TpcliInterrupted, endsAlthoughNobodyReads) {
    RunningTpcli tpcli(arguments(), RunningTpcli::Interrupt::asUsual);
    tpcli.waitUntilBlocked();
    tpcli.interrupt();
    const Outcome outcome = tpcli.waitThenRead();
    EXPECT_EQ(outcome.status, 130);
    EXPECT_THAT(outcome.errors, IsEmpty());
    // What was printed stands.
    const std::string whole = runTpcli(arguments()).output;
    EXPECT_GE(outcome.output.size(), 4096U);
    EXPECT_LT(outcome.output.size(), whole.size());
    EXPECT_TRUE(whole.starts_with(outcome.output));
}

TEST_P(TpcliInterrupted, goesOnWhereInterruptsAreIgnored) {
    RunningTpcli tpcli(arguments(), RunningTpcli::Interrupt::ignored);
    tpcli.waitUntilBlocked();
    tpcli.interrupt();
    const Outcome outcome = tpcli.readThenWait();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, runTpcli(arguments()).output);
}

INSTANTIATE_TEST_SUITE_P(Formats, TpcliInterrupted,
                         testing::Values(Arguments{}, Arguments{"--json"}),
                         [](const auto& format) { return format.param.empty() ? "text" : "json"; });

}  // namespace
