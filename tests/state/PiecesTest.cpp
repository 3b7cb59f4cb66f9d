// A document that is read in pieces is read as it is as a whole, wherever the runs of its text end.
#include <gtest/gtest.h>

#include <random>

#include "TemporaryState.h"
#include "state/Reading.h"

namespace {

using StateDirectory::NotInPieces;
using StateDirectory::State;

std::string textsOf(const State& state) {
    return StateDirectory::configText(state) + StateDirectory::statusText(state);
}

std::string wholeOf(const std::string& folder) {
    try {
        return textsOf(StateDirectory::readWhole(folder));
    } catch (const StateDirectory::StateError& error) {
        return error.what();
    }
}

// What cuts may fall into: brackets, commas and escapes in strings, blanks, keys that are escaped,
// empty containers, and a rule that is larger than any run of the test.
std::string oddConfig() {
    std::string prefixes;
    for (int i = 0; i < 200; ++i) {
        prefixes += (i == 0 ? "\"10.0." : " ,\n\"10.0.") + std::to_string(i) + ".0/24\"";
    }
    const std::string large = R"({"name": "wide", "priority": 1, "match": {"ipv4": )"
                              R"({"structuredFilter": {"sources": [)" +
                              prefixes + R"(]}}}, "action": {}})";
    const std::string odd =
        R"({"name":"a\"],[{\\","priority":2}, {"priority":3,"name":"\u00e4,\\\\\"}"},)"
        R"({"name":"\\","priority":4,"action":{"other":{"text":"}]\\\"{[,"}}})";
    return "\t{ \"policyMapConfig\" :\r\n{\"P\\u0031 {[\\\"\" : { \"currCfg\":{\"rules\":[" +
           large + ", " + odd +
           " ], \"namedCounter\":[ ] } } ,\n\"empty\":{ }, \"more\":{\"currCfg\":" +
           "{\"rules\":[" + odd + "," + large + "]}}} ,\"allVrfConfig\":[\"blue\",\"red\"]} \n";
}

TEST(Pieces, readTheSameWhereverRunsEnd) {
    TemporaryState odd;
    odd.documentIs("config", oddConfig());
    const DocumentedState documented;
    for (const std::string& folder :
         {odd.path(), documented.path(), std::string(EXAMPLES_DIR "/campus"),
          std::string(EXAMPLES_DIR "/branch")}) {
        const std::string expected = wholeOf(folder);
        // A string as long as a run is not read in pieces.
        for (const std::size_t runSize : {120U, 121U, 128U, 190U, 256U, 1000U, 4099U, 1U << 17}) {
            EXPECT_EQ(textsOf(StateDirectory::readInPieces(folder, {}, runSize)), expected)
                << folder << " in runs of " << runSize;
        }
    }
}

TEST(Pieces, acceptNothingThatIsRefusedAsAWhole) {
    TemporaryState state;
    const std::string config = oddConfig();
    std::mt19937 random(1);
    int refused = 0;
    for (int i = 0; i < 200; ++i) {
        std::string text = config;
        const std::size_t place = random() % text.size();
        constexpr std::string_view bytes = "{}[],:\"\\ 0\n\x80";
        switch (random() % 4) {
            case 0:
                text.erase(place, 1);
                break;
            case 1:
                text.resize(place);
                break;
            default:
                text.insert(place, 1, bytes[random() % bytes.size()]);
        }
        state.documentIs("config", text);
        try {
            const State read = StateDirectory::readInPieces(state.path(), {}, 130 + random() % 200);
            EXPECT_EQ(textsOf(read), wholeOf(state.path())) << text;
        } catch (const NotInPieces&) {
            ++refused;
        }
    }
    EXPECT_GT(refused, 60);
    EXPECT_LT(refused, 196);
}

TEST(Pieces, findAPrefixThatALargeSetHasTwice) {
    std::string prefixes;
    for (int i = 0; i < 255; ++i) prefixes += "\"10." + std::to_string(i) + ".0.0/16\",";
    const auto stateWith = [&](TemporaryState& state, const std::string& last) {
        state.documentIs("config", R"({"fieldSetConfig":{"fieldSetIpPrefix":{"A":{"currCfg":)"
                                   R"({"prefixes":[)" +
                                       prefixes + last + "]}}}}}");
    };
    TemporaryState state;
    stateWith(state, R"("10.255.0.0/16")");
    EXPECT_EQ(textsOf(StateDirectory::readInPieces(state.path(), {}, 300)), wholeOf(state.path()));
    stateWith(state, R"("10.3.0.0/16")");
    EXPECT_THROW(StateDirectory::readInPieces(state.path(), {}, 300), NotInPieces);
    EXPECT_NE(state.refusal().find("/prefixes/255"), std::string::npos) << state.refusal();
}

// Both threads read policies; a mistake of any of them is refused with its place.
TEST(PiecesThreads, readManyPoliciesTogether) {
    std::string policies;
    for (int i = 0; i < 400; ++i) {
        policies += (i == 0 ? "\"P" : ",\n\"P") + std::to_string(i) +
                    R"(":{"currCfg":{"rules":[{"name":"r","priority":1,"action":{"drop":{}}}]}})";
    }
    TemporaryState state;
    state.documentIs("config", "{\"policyMapConfig\":{" + policies + "}}");
    EXPECT_EQ(textsOf(StateDirectory::readInPieces(state.path(), {}, 300)), wholeOf(state.path()));
    for (const auto& [more, wrong] :
         {std::pair{R"(,"P7":{})", "appears twice"},
          std::pair{R"(,"Q":{"currCfg":{"rules":1}})", "is a number"}}) {
        state.documentIs("config", "{\"policyMapConfig\":{" + policies + more + "}}");
        EXPECT_THROW(StateDirectory::readInPieces(state.path(), {}, 300), NotInPieces);
        EXPECT_NE(state.refusal().find(wrong), std::string::npos) << state.refusal();
    }
}

// Likewise the rules of one policy.
TEST(PiecesThreads, readManyRulesTogether) {
    std::string rules;
    for (int i = 0; i < 400; ++i) {
        rules += (i == 0 ? R"({"name":"r)" : R"(,{"name":"r)") + std::to_string(i) +
                 R"(","priority":)" + std::to_string(i) +
                 R"(,"match":{"ipv4":{}},"action":{"drop":{}}})";
    }
    TemporaryState state;
    const auto configIs = [&](const std::string& more) {
        state.documentIs(
            "config", R"({"policyMapConfig":{"P":{"currCfg":{"rules":[)" + rules + more + "]}}}}");
    };
    configIs("");
    EXPECT_EQ(textsOf(StateDirectory::readInPieces(state.path(), {}, 300)), wholeOf(state.path()));
    for (const auto& [more, wrong] :
         {std::pair{R"(,{"name":"r7","priority":400,"match":1})", "a second rule named \"r7\""},
          std::pair{R"(,{"name":"s","priority":7})", "is already used by rule \"r7\""},
          std::pair{R"(,{"name":"s","priority":400,"match":1})", "is a number"}}) {
        configIs(more);
        EXPECT_THROW(StateDirectory::readInPieces(state.path(), {}, 300), NotInPieces);
        EXPECT_NE(state.refusal().find(wrong), std::string::npos) << state.refusal();
    }
}

// And policies that are read when all names are known.
TEST(PiecesThreads, readPassedOverPoliciesTogether) {
    std::string policies;
    std::string vrfs;
    for (int i = 0; i < 400; ++i) {
        const std::string name = "\"P" + std::to_string(i) + "\"";
        policies += (i == 0 ? "" : ",\n") + name +
                    R"(:{"currCfg":{"rules":[{"name":"r","priority":1,"action":{"drop":{}}}]}})";
        if (i % 7 != 0) vrfs += (vrfs.empty() ? name : "," + name) + ":" + name;
    }
    TemporaryState state;
    StateDirectory::Wanted onCpu;
    onCpu.policies = StateDirectory::Wanted::Policies::onCpu;
    state.documentIs("config",
                     "{\"policyMapConfig\":{" + policies + "},\"vrfConfig\":{" + vrfs + "}}");
    const State read = StateDirectory::readInPieces(state.path(), onCpu, 300);
    for (int i = 0; i < 400; ++i) {
        const auto& name = "P" + std::to_string(i);
        const auto version = read.config->policyMapConfig(name)->currCfg();
        EXPECT_EQ(version ? version->policyAction().size() : 0U, i % 7 == 0 ? 0U : 1U) << name;
    }
}

}  // namespace
