// Options: where they may stand, their values, and what is said about wrong ones.
#include "cli/TpcliOptions.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::Pair;

Cli::Options parsed(const std::vector<std::string>& arguments) {
    Cli::Options options;
    EXPECT_EQ(Cli::parseOptions(arguments, options), Base::Request::run);
    return options;
}

TEST(Options, mayStandAnywhere) {
    const auto options =
        parsed({"--json", "show", "--state", "a", "cpu", "--revision=7", "--trace",
                "TrafficPolicyShowCliHelper/7,Blip", "--trace", "TrafficPolicyShowCliHelper/0",
                "--state=b=c", "--", "--json", "-x"});
    EXPECT_TRUE(options.json && options.dumpsBlip);
    EXPECT_THAT(options.traces, ElementsAre(Pair("TrafficPolicyShowCliHelper", 7),
                                            Pair("TrafficPolicyShowCliHelper", 0)));
    EXPECT_EQ(options.stateDirectory, "b=c");
    EXPECT_EQ(options.revision, 7U);
    EXPECT_THAT(options.words, ElementsAre("show", "cpu", "--json", "-x"));
}

TEST(Options, areModestWhenAbsent) {
    const auto options = parsed({"show", "-"});
    EXPECT_EQ(options.stateDirectory, "");
    EXPECT_EQ(options.revision, 2U);
    EXPECT_FALSE(options.json || options.dumpsBlip || !options.traces.empty());
    EXPECT_THAT(options.words, ElementsAre("show", "-"));
}

TEST(Options, sayWhatWouldBeRight) {
    const std::string traceExpected =
        ", expected TrafficPolicyShowCliHelper/LEVEL with a level 0 to 9, or Blip";
    struct {
        std::vector<std::string> arguments;
        std::string complaint;
    } const rows[] = {
        {{"--jsno"},
         "unknown option \"--jsno\", expected --state, -c, --json, --color, --exit-code, --watch, "
         "--revision, --trace, "
         "--help or "
         "--version"},
        {{"-c", "show", "-c"}, "-c needs a value, expected a command in one word"},
        {{"show", "cpu", "-c", "show"}, "-c: a command of one word each is expected, not \"show\""},
        {{"--json=yes"}, "--json takes no value"},
        {{"show", "--state"}, "--state needs a value, expected a directory"},
        {{"--state="}, "--state: \"\" is empty, expected a directory"},
        {{"--revision", "-1"},
         "--revision: \"-1\" is not a number, expected a number 0 to 4294967295"},
        {{"--revision", "4294967296"},
         "--revision: \"4294967296\" is out of range, expected a number 0 to 4294967295"},
        {{"--revision", "02"}, "--revision: \"02\" has leading zeros, expected 2"},
        {{"--trace", "Show/7"}, "--trace: \"Show/7\" is not a trace facility" + traceExpected},
        {{"--trace", "TrafficPolicyShowCliHelper"},
         "--trace: \"TrafficPolicyShowCliHelper\" has no trace level" + traceExpected},
        {{"--trace", "TrafficPolicyShowCliHelper/10"},
         "--trace: \"TrafficPolicyShowCliHelper/10\" has no trace level" + traceExpected},
        {{"--trace", "Blip/1"}, "--trace: \"Blip/1\" has no levels" + traceExpected},
        {{"--trace", "Blip,"}, "--trace: \"\" is not a trace facility" + traceExpected},
    };
    for (const auto& row : rows) {
        try {
            Cli::Options options;
            Cli::parseOptions(row.arguments, options);
            ADD_FAILURE() << "taken: " << row.arguments.front();
        } catch (const Cli::OptionError& error) {
            EXPECT_EQ(error.what(), row.complaint);
        }
    }
}

// Whatever else a command line says, and although what follows is wrong.
TEST(Options, askForHelpOrTheVersion) {
    const std::pair<const char*, Base::Request> rows[] = {{"-h", Base::Request::help},
                                                          {"--help", Base::Request::help},
                                                          {"--version", Base::Request::version}};
    for (const auto& [argument, request] : rows) {
        Cli::Options options;
        EXPECT_EQ(Cli::parseOptions({"show", argument, "--jsno"}, options), request);
    }
    Cli::Options options;
    EXPECT_EQ(Cli::parseOptions({"--", "--help"}, options), Base::Request::run);
}

}  // namespace
