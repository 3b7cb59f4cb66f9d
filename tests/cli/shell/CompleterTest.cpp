// What can stand at the cursor.
#include "cli/shell/Completer.h"

#include <gmock/gmock.h>

#include <deque>

#include "../../state/TemporaryState.h"
#include "cli/shell/CommandLoop.h"

namespace Cli::Shell {
namespace {

class CompletionOfTheShell : public testing::Test {
  protected:
    CompletionOfTheShell() {
        directory_.documentIs("config", R"({
            "policyMapConfig": {"IN": {"currCfg": {"namedCounter": ["WEB", "interface"], "rules": [
                {"name": "r", "priority": 1, "action": {
                    "redirectNexthopGroup": {"nexthopGroups": ["CORE"]}}}]}}, "LOOSE": {}},
            "intfConfigInput": {"Ethernet1": "IN", "Ethernet2": "BOTH"},
            "intfConfigBridged": {"Vlan10": "BOTH"}, "vrfConfig": {"mgmt": "COPP"},
            "allVrfConfig": ["mgmt", "guest"],
            "fieldSetConfig": {
                "fieldSetIpPrefix": {"P4": {}}, "fieldSetIpv6Prefix": {"P6": {}},
                "fieldSetL4Port": {"PORTS": {}}, "fieldSetVlan": {"VLANS": {}}},
            "fieldSetMacAddr": {"cli": {"MACS": {}}}
        })");
        state_ = StateDirectory::readState(directory_.path());
    }

    Completion completion(std::string_view line) const {
        return complete(line, loop_.grammar(),
                        {&state_, [] {
                             return std::vector<std::string>{"before", "at night"};
                         }});
    }
    // What a Tab behind the line can become, with blanks between.
    std::string offered(std::string_view line) const {
        std::string text;
        for (const auto& choice : completion(line).choices) {
            if (choice.isTyped) text += (text.empty() ? "" : " ") + choice.text;
        }
        return text;
    }

    TemporaryState directory_;
    StateDirectory::State state_;
    Options options_;
    CommandLoop loop_{options_, directory_.path()};
};

// Every keyword and every argument has a line of help, wherever it can stand.
TEST_F(CompletionOfTheShell, knowsHelpForEveryWord) {
    std::set<std::pair<std::string, std::string>> seen;  // words, and those before them
    std::deque<std::pair<std::string, std::string>> lines = {{"", ""}};
    for (; !lines.empty(); lines.pop_front()) {
        const auto [line, last] = lines.front();
        for (const auto& choice :
             complete(line, loop_.grammar(), {nullptr, [] { return std::vector<std::string>(); }})
                 .choices) {
            if (!seen.emplace(choice.text, last).second) continue;
            EXPECT_FALSE(choice.help.empty()) << line << choice.text;
            const bool isKeyword = choice.isTyped || choice.text == "|";
            lines.emplace_back(line + (isKeyword ? choice.text : "\"9\"") + " ", choice.text);
        }
    }
    EXPECT_GT(seen.size(), 200U);
}

TEST_F(CompletionOfTheShell, offersNamesOfTheKind) {
    const std::pair<std::string_view, std::string_view> rows[] = {
        {"show traffic-policy ",
         "BOTH COPP IN LOOSE interface cpu vlan field-set attachments "
         "packet capture problems references state"},
        {"show traffic-policy I", "IN"},
        {"sh tr COPP ", "cpu"},
        {"sh tr COPP i", "interface"},
        {"sh tr BOTH ", "interface vlan"},
        {"sh tr LOOSE ", "interface cpu vlan"},
        {"sh tr field-set ipv4 prefix P", "P4"},
        {"sh tr field-set ipv6 prefix P", "P6"},
        {"sh tr field-set l4-port P", "PORTS"},
        {"sh tr field-set vlan V", "VLANS"},
        {"sh tr field-set mac M", "MACS"},
        {"sh tr references counter ", "WEB interface"},
        {"sh tr references field-set ", "MACS P4 P6 PORTS VLANS"},
        {"sh tr references nexthop-group ", "CORE"},
        {"sh tr references policy L", "LOOSE"},
        {"sh tr references vrf ", "guest mgmt"},
        {"sh tr packet interface Ethernet", "Ethernet1 Ethernet2"},
        {"sh tr packet cpu ", "guest mgmt"},
        {"sh tr packet vlan ", "10"},
        {"sh tr packet interface Ethernet1 input tcp", "tcp-flags"},
        {"sh tr packet vlan 10 destination-port 80 prot", "protocol"},
        {"sh tr cpu counters since ", R"("at night" before)"},
        {"delete mark b", "before"},
        {"mark b", ""},
        {"sh tr cpu | inc", "include"},
        {"nonsense ", ""},
    };
    for (const auto& [line, names] : rows) EXPECT_EQ(offered(line), names) << line;
}

TEST_F(CompletionOfTheShell, insertsWhatAllChoicesShare) {
    const struct {
        std::string_view line, inserted;
    } rows[] = {{"sh", "ow "},
                {"show traffic-policy packet interface E", "thernet"},
                {"sh tr COPP ", "cpu"},
                {"sh tr field-set l4-port PORTS f", "ilter "},
                {"show nothing ", ""}};
    for (const auto& row : rows) {
        EXPECT_EQ(answerTab(row.line, completion(row.line), 80).inserted, row.inserted) << row.line;
    }
}

}  // namespace
}  // namespace Cli::Shell
