// Lines of the shell, and the filters behind "|".
#include <gmock/gmock.h>

#include "cli/shell/CommandLine.h"
#include "cli/shell/LineFilters.h"
#include "cli/shell/Pipes.h"
#include "cli/shell/WordHelp.h"

namespace Cli::Shell {
namespace {

using testing::HasSubstr;

TEST(CommandLineOfTheShell, isSplitWhereAnOperatorMeansIt) {
    struct {
        std::string_view line;
        std::vector<Words> stages;
        bool isInQuotes = false;
    } const rows[] = {
        {"", {{}}},
        {"  # show x", {{}}},
        {"\tshow  x ", {{"show", "x"}}},
        {R"(show "a | b" c)", {{"show", R"("a | b")", "c"}}},
        {R"(show "a\"b\")", {{"show", R"("a"b")"}}, true},
        {R"(show a"b|c)", {{"show", R"(a"b|c)"}}},
        {"show |inc  drop  packets|x  | count", {{"show"}, {"inc", "drop  packets|x"}, {"count"}}},
        {R"(show | save "my | \"file\"" | no-more)",
         {{"show"}, {"save", R"(my | "file")"}, {"no-more"}}},
        {R"(show | include \.\\ "x)", {{"show"}, {"include", R"(\.\\ "x)"}}},
        {"|", {{}, {}}},
    };
    for (const auto& row : rows) {
        const CommandLine line = splitLine(row.line);
        std::vector<Words> stages;
        for (const auto& stage : line.stages) stages.push_back(stage.words);
        EXPECT_EQ(stages, row.stages) << row.line;
        EXPECT_EQ(line.isInQuotes, row.isInQuotes) << row.line;
    }
}

// Words that mean different things have help by the word before them.
TEST(WordHelp, dependsOnTheWordBefore) {
    EXPECT_EQ(helpOf("vlan", "traffic-policy"), "policies on VLANs");
    EXPECT_EQ(helpOf("vlan", "field-set"), "sets of VLANs");
    EXPECT_EQ(helpOf("NAME", "l4-port"), "name of a field set");
    EXPECT_EQ(helpOf("nonsense", ""), "");
}

// The problem of the line; empty when there is none.
std::string problemOf(std::string_view text) {
    const Words words = splitLine(text).words;
    try {
        const CommandLine line = completeLine(text);
        readPipes(std::span(line.stages).subspan(1));
        return "";
    } catch (const CommandError& error) {
        return explain(words, error);
    }
}

TEST(Pipes, takeSensibleChainsOnly) {
    for (const char* line : {"x | i a | e b | b c | sec d | c | sa f | n", "x | json | save f",
                             "x | no-more | include a", "x | j | n"}) {
        EXPECT_EQ(problemOf(line), "") << line;
    }
    struct {
        const char *line, *problem;
    } const rows[] = {
        {"x | include a | json",
         "\"json\" cannot stand here\n  x | include a | json\n                  ^~~~ expected"},
        {"x | json | count", "^~~~~ expected save, no-more or the end of the command"},
        {"x | save f | count", "expected no-more or the end"},
        {"x | count 3", "\"3\" cannot stand here\n  x | count 3\n            ^ expected"},
        {"x | s f", "short for more than one word"},
        {"x |", "the command is not complete\n  x |\n      ^ expected include"},
        {"x | include (a",
         "regular expression: Unmatched ( or \\(\n  x | include (a\n"
         "              ^~ expected"},
        {"x | include \"a", "no end\n  x | include \"a\n              ^~ expected"},
    };
    for (const auto& row : rows) EXPECT_THAT(problemOf(row.line), HasSubstr(row.problem));
}

class Collecting : public Sink {
  public:
    explicit Collecting(std::string& out) : out_(out) {}
    void write(std::string_view bytes) override { out_ += bytes; }
    void flush() override {}
    void end(bool) override { out_ += "."; }

  private:
    std::string& out_;
};

constexpr std::string_view report =
    "Traffic policy ONE\n"
    "   Configured on: Ethernet1\n"
    "      counter HITS\n"
    "      match web ipv4\n"
    "         Protocol: tcp\n"
    "         Drop\n"
    "      match rest ipv4\n"
    "         Drop\n"
    "WARNING: undefined\n"
    "Traffic policy IPv4 prefix field set: NETS\n"
    "Source: static\n"
    "\n"
    "10.0.0.0/8\n"
    "Traffic policy TWO\n"
    "      match web ipv4\n"
    "         Count: HITS: 1";

// Whatever the pieces are in which the report arrives.
std::string filtered(std::string_view chain) {
    const CommandLine line = completeLine(chain);
    const Pipes pipes = readPipes(std::span(line.stages).subspan(1));
    std::string first;
    for (const std::size_t piece : {report.size(), std::size_t{1}, std::size_t{7}}) {
        std::string out;
        const auto sink = throughFilters(pipes.filters, std::make_unique<Collecting>(out));
        for (std::size_t at = 0; at < report.size(); at += piece) {
            sink->write(report.substr(at, piece));
        }
        sink->end(true);
        if (first.empty()) first = out;
        EXPECT_EQ(out, first);
    }
    return first;
}

TEST(Pipes, filterReports) {
    struct {
        std::string_view chain, expected;
    } const rows[] = {
        {"| no-more", std::string_view(report)},
        {"| include Drop|^W", "         Drop\n         Drop\nWARNING: undefined\n."},
        {"| exclude [a-z]", "\n10.0.0.0/8\n."},
        {"| begin TWO", "Traffic policy TWO\n      match web ipv4\n         Count: HITS: 1."},
        {"| begin TWO | begin ONE | count", "0 lines\n."},
        {"| include counter | count", "1 line\n."},
        {"| section tcp",
         "Traffic policy ONE\n      match web ipv4\n         Protocol: tcp\n         Drop\n."},
        {"| section Drop|undef | exclude Drop",
         "Traffic policy ONE\n      match web ipv4\n         Protocol: tcp\n"
         "      match rest ipv4\nWARNING: undefined\n."},
        {"| section HITS | include T|h",
         "Traffic policy ONE\n      counter HITS\n"
         "Traffic policy TWO\n      match web ipv4\n         Count: HITS: 1."},
        {"| section Ethernet | count", "9 lines\n."},
        {"| section 10[.]0|TWO",
         "Traffic policy IPv4 prefix field set: NETS\nSource: static\n\n10.0.0.0/8\n"
         "Traffic policy TWO\n      match web ipv4\n         Count: HITS: 1."},
    };
    for (const auto& row : rows) {
        const std::string whole = std::string(report) + ".";
        EXPECT_EQ(filtered(row.chain), row.expected == report ? whole : row.expected) << row.chain;
    }
}

}  // namespace
}  // namespace Cli::Shell
