// Words to commands: abbreviations, quoting, and what is said about wrong words.
#include "cli/Grammar.h"

#include <gmock/gmock.h>

#include <sstream>

#include "cli/Commands.h"

namespace {

using Cli::Words;

Words split(const std::string& line) {
    Words words;
    std::istringstream in(line);
    for (std::string word; in >> word;) words.push_back(word);
    return words;
}

const Cli::Grammar& grammarOfCommands() {
    static const Cli::Grammar grammar = [] {
        std::vector<std::string_view> lines;
        for (const auto& command : Cli::commands()) lines.push_back(command.line);
        return Cli::Grammar(lines);
    }();
    return grammar;
}

// The words as they were understood: keywords in full, arguments as NAME=text.
std::string understood(const Cli::Match& match) {
    std::string text;
    for (const Cli::Token& token : match.tokens) {
        if (!text.empty()) text += ' ';
        text += token.label;
        if (token.label.front() < 'a') text += "=" + token.text;
    }
    return text;
}

std::string complaintAbout(const Words& words) {
    try {
        Cli::planOf(words);
        return "no complaint";
    } catch (const Cli::CommandError& error) {
        return Cli::explain(words, error);
    }
}

TEST(Grammar, readsCommands) {
    struct {
        std::string words, expected;
    } const rows[] = {
        {"show traffic-policy interface", "show traffic-policy interface"},
        {"show traffic-policy EDGE-IN interface output detail",
         "show traffic-policy NAME=EDGE-IN interface output detail"},
        {"show traffic-policy field-set ipv6 prefix BOGONS filter 2001:db8::/32 exact",
         "show traffic-policy field-set ipv6 prefix NAME=BOGONS filter PREFIX=2001:db8::/32 exact"},
        {"show traffic-policy field-set l4-port filter 80-81",
         "show traffic-policy field-set l4-port filter LOW[-HIGH]=80-81"},
        // Shortened.
        {"s t i i c", "show traffic-policy interface input counters"},
        {"sh tr CPU cp d", "show traffic-policy NAME=CPU cpu detail"},
        {"sh tr f ipv4 p f 10.0.0.0/8 e",
         "show traffic-policy field-set ipv4 prefix filter PREFIX=10.0.0.0/8 exact"},
        // Keywords go before names; quotes make a name of anything.
        {"show traffic-policy cpu errors", "show traffic-policy cpu errors"},
        {"show traffic-policy \"cpu\" cpu", "show traffic-policy NAME=cpu cpu"},
        {"show traffic-policy \"\"x\"\" cpu", "show traffic-policy NAME=\"x\" cpu"},
        {"show traffic-policy \"x cpu", "show traffic-policy NAME=\"x cpu"},
        {"show traffic-policy field-set vlan \"filter\" filter 10",
         "show traffic-policy field-set vlan NAME=filter filter LOW[-HIGH]=10"},
        // Behind "filter" there is no keyword that a word could be short for.
        {"show traffic-policy field-set vlan filter f",
         "show traffic-policy field-set vlan filter LOW[-HIGH]=f"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(understood(grammarOfCommands().match(split(row.words))), row.expected);
    }
}

TEST(Grammar, pointsAtWrongWords) {
    struct {
        Words words;
        std::string complaint;
    } const rows[] = {
        {split("shwo traffic-policy cpu"),
         "\"shwo\" cannot stand here\n"
         "  shwo traffic-policy cpu\n"
         "  ^~~~ expected show, check, compare, clear, mark or delete"},
        {split("show traffic-policy interface sumary"),
         "\"sumary\" cannot stand here\n"
         "  show traffic-policy interface sumary\n"
         "                                ^~~~~~ expected input, output, summary, detail, errors, "
         "counters "
         "or the end of the command"},
        {split("show traffic-policy interface errors input"),
         "\"input\" cannot stand here\n"
         "  show traffic-policy interface errors input\n"
         "                                       ^~~~~ expected the end of the command"},
        {split("show traffic-policy"),
         "the command is not complete\n"
         "  show traffic-policy\n"
         "                      ^ expected NAME, interface, cpu, vlan, field-set, attachments, "
         "packet, capture, problems, references or state"},
        {split("show traffic-policy interfcae"),
         "the command is not complete, \"interfcae\" is read as a name\n"
         "  show traffic-policy interfcae\n"
         "                                ^ expected interface, cpu or vlan"},
        {split("show traffic-policy field-set ip prefix"),
         "\"ip\" is short for more than one word\n"
         "  show traffic-policy field-set ip prefix\n"
         "                                ^~ expected ipv4 or ipv6"},
        {split("show traffic-policy field-set \"mac\""),
         "\"\\\"mac\\\"\" cannot stand here\n"
         "  show traffic-policy field-set \"mac\"\n"
         "                                ^~~~~ expected ipv4, ipv6, l4-port, vlan, mac or "
         "holding"},
        {split("show traffic-policy vlan detail coun"),
         "counts are not shown for VLANs\n"
         "  show traffic-policy vlan detail coun\n"
         "                                  ^~~~ expected the end of the command"},
        // A name in the wrong place, unless it is near to a keyword.
        {split("sh tr cpu EDGE-IN"),
         "\"EDGE-IN\" cannot stand here\n"
         "  sh tr cpu EDGE-IN\n"
         "            ^~~~~~~ expected summary, detail, errors, counters or the end of the "
         "command; "
         "the name goes before \"cpu\": show traffic-policy EDGE-IN cpu"},
        {split("show traffic-policy field-set WEB l4-port filter 80"),
         "\"WEB\" cannot stand here\n"
         "  show traffic-policy field-set WEB l4-port filter 80\n"
         "                                ^~~ expected ipv4, ipv6, l4-port, vlan, mac or holding; "
         "the name "
         "goes after \"l4-port\": show traffic-policy field-set l4-port WEB filter 80"},
        // A long word is shown in part.
        {{"show", std::string(1000, 'x')},
         "\"" + std::string(80, 'x') + "...\" cannot stand here\n  show " + std::string(60, 'x') +
             "...\n       ^" + std::string(62, '~') + " expected traffic-policy or marks"},
        {{"show", "traffic-policy", "", "cpu"},
         "a word is empty\n"
         "  show traffic-policy  cpu\n"
         "                      ^ expected NAME, interface, cpu, vlan, field-set, attachments, "
         "packet, capture, problems, references or state"},
        // Columns of a terminal, not bytes: two wide characters, a combining accent, an escape.
        {{"show", "traffic-policy", "\xe6\x97\xa5\xe6\x9c\xac", "cpu", "e\xcc\x81\x1b["},
         "\"e\xcc\x81\\x1b[\" cannot stand here\n"
         "  show traffic-policy \xe6\x97\xa5\xe6\x9c\xac cpu e\xcc\x81\\x1b[\n"
         "                               ^~~~~~ expected summary, detail, errors, counters or the "
         "end of the "
         "command"},
    };
    for (const auto& row : rows) EXPECT_EQ(complaintAbout(row.words), row.complaint);
}

TEST(Grammar, offersANameForAnAmbiguousWord) {
    constexpr std::string_view lines[] = {"show (NAME | inside | into)"};
    const Cli::Grammar grammar(lines);
    try {
        grammar.match({"show", "in"});
        FAIL();
    } catch (const Cli::CommandError& error) {
        EXPECT_EQ(error.expected(), "inside or into, or \"in\" in double quotes for a name");
    }
}

TEST(Grammar, takesAnExactKeywordThatAnotherBeginsWith) {
    constexpr std::string_view lines[] = {"clear all", "clear all-counters [now]"};
    const Cli::Grammar grammar(lines);
    EXPECT_EQ(grammar.match({"clear", "all"}).command, 0U);
    EXPECT_EQ(grammar.match({"cl", "all-", "n"}).command, 1U);
}

}  // namespace
