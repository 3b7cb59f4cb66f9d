// The command line of tpimport: what goes together, and what is said of the rest.
#include <gmock/gmock.h>

#include "import/ImportOptions.h"

namespace {

using namespace Import;
using ::testing::HasSubstr;

std::string refusal(const std::vector<std::string>& arguments) {
    ImportOptions options;
    try {
        parseOptions(arguments, options);
        return "";
    } catch (const OptionError& error) {
        return error.what();
    }
}

TEST(ImportOptions, ReadsBothSources) {
    ImportOptions options;
    parseOptions({"openconfig", "a.json", "-o", "state", "b.json", "--report=r"}, options);
    EXPECT_EQ(options.files, (std::vector<std::string>{"a.json", "b.json"}));
    EXPECT_EQ(options.output + options.report, "stater");
    ImportOptions sonic;
    parseOptions({"sonic", "--redis", "[::1]:6380", "-o", "state", "--follow"}, sonic);
    EXPECT_EQ(sonic.redis->text(), "::1:6380");
    EXPECT_TRUE(sonic.follow);
    EXPECT_EQ(parseRedisAddress("unix:/run/r.sock")->path, "/run/r.sock");
    EXPECT_EQ(refusal({"sonic", "--config", "c", "--state", "s", "--dry-run"}), "");
}

TEST(ImportOptions, SaysWhatIsMissingOrDoesNotGoTogether) {
    const std::pair<std::vector<std::string>, const char*> rows[] = {
        {{}, "openconfig or sonic"},
        {{"netconf", "x"}, "\"netconf\" is no source"},
        {{"openconfig", "x"}, "-o is missing"},
        {{"openconfig", "-o", "d"}, "expected the files"},
        {{"openconfig", "-o", ""}, "is empty"},
        {{"openconfig", "x", "-o", "d", "--follow"}, "are for sonic"},
        {{"sonic", "-o", "d"}, "expected either --redis, or --config"},
        {{"sonic", "--redis", "h:1", "--config", "c", "-o", "d"}, "either --redis, or --config"},
        {{"sonic", "--redis", "h:1", "--state", "c", "-o", "d"}, "go with --config"},
        {{"sonic", "--redis", "host", "-o", "d"}, "HOST:PORT or unix:PATH"},
        {{"sonic", "--redis", "h:0", "-o", "d"}, "HOST:PORT or unix:PATH"},
        {{"sonic", "--config", "c", "-o", "d", "--follow"}, "--follow needs --redis"},
        {{"sonic", "dump.json", "-o", "d"}, "is no option"},
    };
    for (const auto& [arguments, expected] : rows) {
        EXPECT_THAT(refusal(arguments), HasSubstr(expected));
    }
}

}  // namespace
