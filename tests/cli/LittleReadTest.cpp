// A command that needs little of a state prints, of a state that was read for it alone, what it
// prints of all of the state.
#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "../state/TemporaryState.h"
#include "Captured.h"
#include "cli/Commands.h"
#include "cli/DiagnosisCommands.h"
#include "orb/ActivityLock.h"
#include "state/Reading.h"

namespace {

using StateDirectory::State;
using StateDirectory::StatePtr;
using StateDirectory::Wanted;

class GivenState : public StateDirectory::StateSource {
  public:
    explicit GivenState(State state) : state_(std::make_shared<State>(std::move(state))) {}
    StatePtr loaded() override { return state_; }
    StatePtr current() override { return state_; }

  private:
    StatePtr state_;
};

// All that an operator sees of a command: its report in both formats, what it says beside it, its
// exit status, and on a terminal the number of problems that it does not show.
std::string outcomeOf(const Cli::Words& words, const std::string& folder, const State& state) {
    GivenState source(state);
    std::ostringstream outcome;
    for (const U32 format : {1U, 2U}) {
        const Captured::MemoryFile output;
        const Cli::Session session(folder, static_cast<U32>(output.fd()), format, 2, source);
        testing::internal::CaptureStderr();
        const Orb::ActivityLockGuard lock;
        const int status = Cli::planOf(words)(session);
        outcome << output.text() << testing::internal::GetCapturedStderr() << status << '\n';
        const Wanted wanted = Cli::wantedBy(words);
        using enum TrafficPolicyCli::PolicyViewWord;
        for (const auto& [word, view] :
             {std::pair{"interface", interface}, {"cpu", cpu}, {"vlan", vlan}}) {
            if (words.back() != word || words[2] == "field-set") continue;
            outcome << trafficPolicyProblemsNotShown(Cli::diagnosisSources(session),
                                                     {view, wanted.policy, false, false});
        }
    }
    return outcome.str();
}

constexpr const char* commands[] = {"NAME interface",
                                    "NAME interface detail",
                                    "NAME interface input counters",
                                    "NAME interface errors",
                                    "NAME cpu",
                                    "NAME cpu counters",
                                    "NAME vlan",
                                    "cpu",
                                    "cpu detail",
                                    "cpu counters",
                                    "vlan",
                                    "vlan detail",
                                    "problems NAME",
                                    "attachments",
                                    "attachments interface Ethernet1",
                                    "attachments interface Ethernet9",
                                    "attachments vrf default",
                                    "attachments vlan 10",
                                    "references policy NAME",
                                    "packet policy NAME source 10.1.2.3",
                                    "packet cpu default source 10.1.2.3",
                                    "packet vlan 10 source 10.1.2.3",
                                    "field-set ipv4 prefix",
                                    "field-set ipv4 prefix SERVERS",
                                    "field-set ipv6 prefix",
                                    "field-set ipv6 prefix SERVERS",
                                    "field-set l4-port WEB-PORTS",
                                    "field-set l4-port filter 80",
                                    "field-set vlan",
                                    "field-set vlan GUESTS",
                                    "field-set mac",
                                    "field-set mac PRINTERS",
                                    "field-set holding 10.9.0.1",
                                    "field-set holding l4-port 80"};

// The words of a row, with a policy's name.
Cli::Words wordsOf(const std::string& row, const std::string& name) {
    Cli::Words words = {"show", "traffic-policy"};
    std::istringstream text(row);
    for (std::string word; text >> word;) words.push_back(word == "NAME" ? name : word);
    return words;
}

void expectSame(const std::string& folder, const std::vector<std::string>& names,
                std::size_t runSize) {
    const State whole = StateDirectory::readWhole(folder);
    for (const std::string row : commands) {
        for (const std::string& name : names) {
            const Cli::Words words = wordsOf(row, name);
            const State little =
                StateDirectory::readInPieces(folder, Cli::wantedBy(words), runSize);
            EXPECT_EQ(outcomeOf(words, folder, little), outcomeOf(words, folder, whole))
                << folder << ", runs of " << runSize << ": " << row << ", " << name;
            if (row.find("NAME") == std::string::npos) break;
        }
    }
}

TEST(LittleRead, printsTheSameOfTheExamples) {
    const DocumentedState documented;
    for (const std::size_t runSize : {120U, 700U, 20000U}) {
        expectSame(documented.path(), {"CAMPUS-IN", "STAGED", "CAMPUS-ON"}, runSize);
        expectSame(EXAMPLES_DIR "/campus", {"SERVER-FARM", "EDGE-OUT"}, runSize);
        expectSame(EXAMPLES_DIR "/branch", {"NOBODY"}, runSize);
    }
}

// Draws documents: policies on all kinds of places, in part without configuration, version or
// status, with names that look like JSON, in any order of keys.
class Drawing {
  public:
    explicit Drawing(unsigned seed) : random_(seed) {}

    std::string config() {
        return object({member("policyMapConfig", policies()),
                       member("intfConfigInput", attachments({"Ethernet1", "Ethernet2"})),
                       member("intfConfigOutput", attachments({"Ethernet1"})),
                       member("intfConfigBridged", attachments({"Vlan10", "Vlan20"})),
                       member("vrfConfig", attachments({"default", "all"})),
                       member("l3IntfStatusDir", R"({"Cpu0": {"vrf": "default"}})"),
                       member("fieldSetConfig", fieldSets())});
    }
    std::string status() {
        std::vector<std::string> members;
        for (const char* const side : {"interfaceInput", "interfaceOutput"}) {
            members.push_back(side_(side, {"Ethernet1", "Ethernet2"}));
        }
        for (const char* const side : {"cpu", "cpuSoftware"})
            members.push_back(side_(side, {"Cpu0"}));
        members.push_back(side_("vlan", {"Vlan10"}));
        return object(members);
    }

  private:
    bool isHeads() { return random_() % 2 == 0; }
    static std::string member(const std::string& key, const std::string& value) {
        return "\"" + key + "\": " + value;
    }
    // Some of the members, shuffled.
    std::string object(std::vector<std::string> members) {
        std::ranges::shuffle(members, random_);
        std::string text;
        for (const std::string& one : members) {
            if (random_() % 5 != 0) text += (text.empty() ? "" : " ,\n") + one;
        }
        return "{" + text + "}";
    }
    static constexpr const char* names[] = {"A",     "B",         "mac", "ipv6", R"(a\"ipv4\":{)",
                                            R"(\\)", R"(\u0043)", "ä€"};
    static constexpr const char* options[] = {"ipv4", "ipv6", "mac", "mpls"};

    std::string policies() {
        std::vector<std::string> members;
        for (const char* const name : names) {
            std::string rules;
            for (unsigned i = random_() % 4; i-- > 0;) {
                std::vector<std::string> matches;
                for (const char* const option : options) {
                    if (isHeads()) matches.push_back(member(option, R"({"structuredFilter": {}})"));
                }
                rules += std::string(rules.empty() ? "" : ", ") + R"({"name": ")" +
                         names[random_() % 4] + std::to_string(i) + R"(", "priority": )" +
                         std::to_string(i) + R"(, "match" : )" + object(matches) +
                         (isHeads() ? R"(, "action": {"count": {}})" : "") + "}";
            }
            const std::string version = R"({"currCfg": {"rules": [)" + rules + "]}}";
            members.push_back(member(name, isHeads() ? version : "{ }"));
        }
        return object(members);
    }
    std::string attachments(const std::vector<std::string>& points) {
        std::vector<std::string> members;
        for (const std::string& point : points) {
            members.push_back(member(point, "\"" + std::string(names[random_() % 8]) + "\""));
        }
        return object(members);
    }
    std::string fieldSets() {
        std::vector<std::string> kinds;
        for (const auto& [kind, key, value] :
             {std::array{"fieldSetIpPrefix", "prefixes", "\"10.9.0.0/16\""},
              {"fieldSetIpv6Prefix", "prefixes", "\"2001:db8::/32\""},
              {"fieldSetL4Port", "ports", "80"},
              {"fieldSetVlan", "vlans", "10"}}) {
            std::vector<std::string> sets;
            for (const char* const name : {"SERVERS", "WEB-PORTS", "GUESTS", "OTHER"}) {
                const std::string values = member(key, "[" + std::string(value) + "]");
                sets.push_back(member(name, object({member("currCfg", object({values}))})));
            }
            kinds.push_back(member(kind, object(sets)));
        }
        return object(kinds);
    }
    std::string side_(const std::string& side, const std::vector<std::string>& points) {
        std::vector<std::string> statuses;
        for (const char* const name : names) {
            std::vector<std::string> reports;
            for (const std::string& point : points) {
                const std::string state = member("state", std::to_string(random_() % 4));
                reports.push_back(member(point, object({member("ipv4", "{" + state + "}"),
                                                        member("mac", "{" + state + "}")})));
            }
            const std::string counter = R"({"uniqueId": 7, "packets": 1})";
            statuses.push_back(
                member(name, object({member("classMapStatus", R"({"A0": ["ipv4"], "gone": []})"),
                                     member("intfStatus", object(reports)),
                                     member("classCounter", object({member("A0", counter)}))})));
        }
        return member(side, object({member("policyMapStatus", object(statuses))}));
    }

    std::mt19937 random_;
};

TEST(LittleRead, printsTheSameOfDrawnStates) {
    TemporaryState state;
    for (unsigned seed = 0; seed < 6; ++seed) {
        Drawing drawing(seed);
        state.documentIs("config", drawing.config());
        state.documentIs("status", drawing.status());
        expectSame(state.path(), {"C", "mac", "a\"ipv4\":{"}, 140 + seed * 97);
    }
}

// A mistake where other commands do not look, or only some do.
TEST(LittleRead, checkReadsEveryDocument) {
    TemporaryState directory;
    for (const std::string name : {"config", "status", "snapshots", "heard"}) {
        const std::string before = name == "config" || name == "status" ? "{}" : "";
        directory.documentIs(name, R"({"unknown": 1})");
        try {
            Cli::StateReadOnce source(directory.path());
            Cli::planOf({"check"})(Cli::Session(directory.path(), 1, 1, 2, source));
            ADD_FAILURE() << name;
        } catch (const StateDirectory::StateError& error) {
            EXPECT_NE(std::string(error.what()).find(name + ".json"), std::string::npos);
        }
        std::filesystem::remove(directory.document(name));
        if (!before.empty()) directory.documentIs(name, before);
    }
}

}  // namespace
