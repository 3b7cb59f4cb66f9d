// Random policies over few values, so that every way that the unknown fields of a packet can be
// filled in is tried: the endings told are those that are met, no more and no fewer.
#include <random>
#include <set>

#include "diagnosis/MatchingFixture.h"
#include "diagnosis/QuickPolicy.h"

namespace TrafficPolicyCli::Diagnosis {
namespace {

// One value of every kind that the rules below tell apart, and one beyond.
struct FieldPool {
    Field field;
    std::vector<U32> numbers;
};
const std::vector<FieldPool> pools = {
    {Field::protocol, {6, 17, 50}}, {Field::destinationPort, {1, 2, 3}},
    {Field::sourcePort, {1, 2, 3}}, {Field::fragment, {0, 1, 2}},
    {Field::dscp, {0, 1}},          {Field::tracked, {0, 1}},
};

class RandomPolicies {
  public:
    explicit RandomPolicies(U32 seed) : random_(seed) {}

    std::vector<RuleText> rules() {
        std::vector<RuleText> rules;
        for (U32 i = 0; i < 7; ++i) {
            RuleText rule{"r" + std::to_string(i), "{" + criteria() + "}"};
            const U32 kind = below(4);
            if (kind == 0) rule.actions = R"("drop": {})";
            if (kind == 1) rule.actions = R"("gotoMatch": {})";
            if (kind == 2) {
                rule.actions =
                    R"("gotoMatch": {"matchName": "r)" + std::to_string(below(8)) + "\"}";
            }
            rules.push_back(std::move(rule));
        }
        return rules;
    }
    U32 below(U32 limit) { return std::uniform_int_distribution<U32>(0, limit - 1)(random_); }

  private:
    std::string ports(const char* side) {
        return below(2) == 0
                   ? ""
                   : std::string("\"") + side + "\": [" + std::to_string(1 + below(2)) + "]";
    }
    std::string protocol(const char* number) {
        const std::string sport = ports("sport");
        const std::string dport = ports("dport");
        const std::string field = sport + (sport.empty() || dport.empty() ? "" : ", ") + dport;
        return std::string("\"") + number +
               "\": " + (below(2) == 0 ? "{}" : "{\"portFields\": [{" + field + "}]}");
    }
    std::string criteria() {
        std::string text;
        const auto add = [&](const std::string& criterion) {
            text += (text.empty() ? "" : ", ") + criterion;
        };
        if (below(4) != 0) {
            add("\"protocols\": {" + protocol("6") + (below(2) == 0 ? "" : ", " + protocol("17")) +
                "}");
        }
        if (below(4) == 0) add(R"("dscp": [1])");
        if (below(5) == 0) add(R"("tracked": true)");
        if (below(5) == 0) add(R"("fragment": {"type": "matchAll"})");
        return text;
    }

    std::mt19937 random_;
};

std::string ending(const CompiledPolicy& policy, const Ending& ending) {
    std::string text = ending.verdict == Verdict::dropped ? "dropped" : "forwarded";
    for (const U32 rule : ending.decidedBy) text += " " + policy.name(rule);
    return text;
}

// Every packet that agrees with the known fields and that can be.
void complete(const Packet& known, std::size_t pool, const std::function<void(Packet)>& visit) {
    if (pool == pools.size()) {
        Packet packet = known;
        if (!packet.settle()) visit(packet);
        return;
    }
    const auto& [field, numbers] = pools[pool];
    if (known.isKnown(field)) return complete(known, pool + 1, visit);
    const bool isPort = field == Field::sourcePort || field == Field::destinationPort;
    const bool hasPorts = known.number(Field::protocol) != 50;
    // A packet without ports leaves them open; only a fragment that is not the first takes them.
    if (isPort && !hasPorts) return complete(known, pool + 1, visit);
    for (const U32 number : numbers) {
        Packet packet = known;
        packet.numberIs(field, number);
        complete(packet, pool + 1, visit);
    }
    if (isPort) complete(known, pool + 1, visit);
}

TEST(MatchingRandom, TheEndingsToldAreThoseThatPacketsMeet) {
    RandomPolicies random(7);
    U32 undecided = 0;
    for (U32 round = 0; round < 60; ++round) {
        const auto state = policyState(random.rules());
        FieldSetValues sets(nullptr);
        const CompiledPolicy policy(versionOf(state), MatchOption::ipv4, sets);
        const QuickPolicy quick(policy);
        for (U32 question = 0; question < 5; ++question) {
            Packet given(MatchOption::ipv4);
            for (const auto& [field, numbers] : pools) {
                const bool isPort = field == Field::sourcePort || field == Field::destinationPort;
                if (random.below(2) == 0 || isPort) continue;
                given.numberIs(field, numbers[random.below(static_cast<U32>(numbers.size()))]);
            }
            Packet packet = given;
            ASSERT_FALSE(packet.settle());
            const PolicyAnswer answer = askPolicy(policy, packet);
            std::set<std::string> told;
            for (const Ending& one : answer.endings) told.insert(ending(policy, one));
            undecided += told.size() > 1 ? 1 : 0;
            std::set<std::string> met;
            complete(given, 0, [&](const Packet& whole) {
                const PolicyAnswer one = askPolicy(policy, whole);
                // A packet with ports that the pools leave open is met elsewhere.
                if (!one.isDecided()) return;
                met.insert(ending(policy, one.endings.front()));
                std::vector<U32> decidedBy;
                const auto result = quick.decide(whole, decidedBy);
                if (result == QuickPolicy::Result::depends) return;
                EXPECT_EQ(decidedBy, one.endings.front().decidedBy);
                EXPECT_EQ(result == QuickPolicy::Result::dropped,
                          one.verdict() == Verdict::dropped);
            });
            EXPECT_EQ(told, met) << "round " << round;
        }
    }
    EXPECT_GT(undecided, 100U);
}

}  // namespace
}  // namespace TrafficPolicyCli::Diagnosis
