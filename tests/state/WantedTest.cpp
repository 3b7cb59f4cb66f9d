// What is passed over of a document, and which mistakes are found there all the same.
#include "state/Wanted.h"

#include <gtest/gtest.h>

#include "TemporaryState.h"
#include "state/KeySearch.h"
#include "state/Reading.h"

namespace {

using StateDirectory::NotInPieces;
using StateDirectory::State;
using StateDirectory::Wanted;

Wanted onePolicy(const std::string& name) {
    Wanted wanted;
    wanted.policies = Wanted::Policies::named;
    wanted.policy = name;
    return wanted;
}

bool hasVersion(const State& state, const std::string& name) {
    const auto* const policy = state.config->policyMapConfig(name);
    return policy != nullptr && policy->currCfg();
}

std::string policyText(const std::string& name, const std::string& rules) {
    return "\"" + name + R"(": {"currCfg": {"rules": [)" + rules + "]}}";
}

// A large policy before and behind, which alone have the document read in pieces.
std::string configWith(const std::string& policies) {
    std::string rules;
    for (int i = 0; i < 3000; ++i) {
        rules += std::string(i == 0 ? "" : ",") + R"({"name": "rule-)" + std::to_string(i) +
                 R"(", "priority": )" + std::to_string(i) + R"(, "action": {"drop": {}}})";
    }
    return R"({"policyMapConfig": {)" + policyText("FIRST", rules) + ", " + policies + ", " +
           policyText("LAST", rules) + R"(}, "intfConfigInput": {"Ethernet1": "P"}})";
}

constexpr const char* goodRule = R"({"name": "a", "priority": 1})";

TEST(Wanted, passedOverPoliciesHaveNamesOnly) {
    TemporaryState directory;
    directory.documentIs("config", configWith(policyText("P", goodRule)));
    const State state = StateDirectory::readState(directory.path(), onePolicy("P"));
    EXPECT_EQ(state.config->policyMapConfig().size(), 3U);
    EXPECT_TRUE(hasVersion(state, "P"));
    EXPECT_FALSE(hasVersion(state, "FIRST"));
    EXPECT_FALSE(hasVersion(state, "LAST"));
    // One that is larger than a run.
    const State large = StateDirectory::readState(directory.path(), onePolicy("LAST"));
    EXPECT_FALSE(hasVersion(large, "P"));
    ASSERT_TRUE(hasVersion(large, "LAST"));
    EXPECT_EQ(large.config->policyMapConfig("LAST")->currCfg()->classMap().size(), 3000U);
}

// A mistake in what is wanted, and in what is passed over.
TEST(Wanted, mistakesAreRefusedAsEver) {
    const struct {
        std::string policies;
        std::string wrong;
        bool isMissed;  // where the policy is passed over
    } rows[] = {
        {policyText("P", goodRule), "", false},
        {policyText("P", R"({"name": "a"})"), "\"priority\" is missing", true},
        {policyText("P", R"({"name": "a", "priority": 1 "x"})"), "line 1, column", true},
        {policyText("P", R"({"name": "a, "priority": 1})"), "line 1, column", false},
        {policyText("P", R"({"name": "a", "priority": 1)"), "line 1, column", false},
        {policyText("P", R"({"name": "a", "priority": 1}})"), "line 1, column", false},
        {policyText("P", "{\"name\": \"\xc3(\", \"priority\": 1}"), "UTF-8", false},
        {R"("P": [])", "is a list", false},
        {R"("P": null)", "is null", false},
        {R"("\u0001": {}, "P": {})", "control character", false},
        {R"("P": {}, "\u0050": {})", "appears twice", false},
        {R"("P": {},)", "line 1, column", false},
        {R"("P" {})", "line 1, column", false},
    };
    TemporaryState directory;
    const auto refusalFor = [&](const Wanted& wanted) -> std::string {
        try {
            StateDirectory::readState(directory.path(), wanted);
            return "";
        } catch (const StateDirectory::StateError& error) {
            return error.what();
        }
    };
    for (const auto& row : rows) {
        directory.documentIs("config", configWith(row.policies));
        const std::string refusal = refusalFor({});
        EXPECT_EQ(refusal.empty(), row.wrong.empty()) << row.policies;
        EXPECT_NE(refusal.find(row.wrong), std::string::npos) << refusal << row.policies;
        EXPECT_EQ(refusalFor(onePolicy("P")), refusal) << row.policies;
        EXPECT_EQ(refusalFor(onePolicy("OTHER")), row.isMissed ? "" : refusal) << row.policies;
    }
}

// The directions of a policy are compared also when it was passed over at first.
TEST(Wanted, directionsThatDifferAreRefused) {
    const auto side = [](const std::string& name, const std::string& option) {
        return "\"" + name + R"(": {"policyMapStatus": {"P": {"classMapStatus": {"r": [")" +
               option + R"("]}}, "Q": {}}})";
    };
    TemporaryState directory;
    directory.documentIs("status", "{" + side("interfaceInput", "ipv4") + ", " +
                                       side("interfaceOutput", "ipv6") + "}");
    constexpr std::size_t runSize = 60;
    EXPECT_THROW(StateDirectory::readInPieces(directory.path(), onePolicy("P"), runSize),
                 NotInPieces);
    EXPECT_NO_THROW(StateDirectory::readInPieces(directory.path(), onePolicy("Q"), runSize));
}

// Cut anywhere, or with a bracket, a quote or half a character anywhere: what is no JSON then is
// refused in text that is passed over too.
TEST(Wanted, textThatIsNotJsonIsRefusedEverywhere) {
    const std::string rule = R"({"name": "a\"],[{\\", "priority": 2, "match": {"ipv4": {}}})";
    const std::string config = R"({"policyMapConfig": {"ä": {"currCfg" : { "rules": [)" + rule +
                               R"( , {"name":"ü€", "priority":4}] } } , "B" :{ }}})";
    TemporaryState directory;
    Wanted points;
    points.policies = Wanted::Policies::points;
    int refused = 0;
    const auto check = [&](const std::string& text) {
        directory.documentIs("config", text);
        try {
            StateDirectory::readWhole(directory.path());
        } catch (const StateDirectory::StateError& error) {
            // With a pointer: it is JSON, and a key is wrong.
            if (std::string(error.what()).find(": at \"") != std::string::npos) return;
            ++refused;
            for (const Wanted& wanted : {onePolicy("none"), points}) {
                EXPECT_THROW(StateDirectory::readInPieces(directory.path(), wanted, 60),
                             NotInPieces)
                    << text;
            }
        }
    };
    for (std::size_t place = 0; place < config.size(); ++place) {
        check(config.substr(0, place));
        for (const char byte : {'{', ']', '"', '\x80'}) {
            std::string text = config;
            text.insert(place, 1, byte);
            check(text);
        }
    }
    EXPECT_GT(refused, 600);
}

TEST(KeySearch, findsKeysWhereverTheyStand) {
    constexpr std::string_view names[] = {"ipv4", "mac"};
    constexpr char letters[] = {'i', 'm'};
    for (std::size_t before = 0; before < 40; ++before) {
        const std::string blanks(before, ' ');
        const struct {
            std::string text;
            U64 keys;
        } rows[] = {
            {R"({"ipv4":{}})", 1},
            {R"({"mac" : {}})", 2},
            {R"({"ipv4":0,"mac":0})", 3},
            {R"({"ipv":{},"macs":{},"a":"ipv4"})", 0},
            {R"(["mac","ipv4"],"xipv4":0)", 0},
            {R"("mac")", 0},
            {R"("ma)", 0},
        };
        for (const auto& row : rows) {
            EXPECT_EQ(StateDirectory::keysIn(blanks + row.text, names, letters), row.keys)
                << blanks << row.text;
        }
    }
}

}  // namespace
