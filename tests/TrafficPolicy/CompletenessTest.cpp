// A criterion that is forgotten in one place makes a rule look wider than it is. Each attribute of
// a filter has a row here, and is read, shown, asked of packets, and told when it differs.
#include "ViewsFixture.h"
#include "diagnosis/CompiledPolicy.h"
#include "diagnosis/MatchingFixture.h"
#include "diagnosis/Sameness.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

const std::map<std::string, std::string> filterOf = {
    {"vlanTags", R"([{"vlans":[10]}])"},
    {"sources", R"(["10.0.0.0/8"])"},
    {"srcPrefixSets", R"(["FS1"])"},
    {"sourceLpms", R"(["10.0.0.0/8"])"},
    {"srcLpmPrefixSets", R"(["FS1"])"},
    {"destinations", R"(["10.0.0.0/8"])"},
    {"dstPrefixSets", R"(["FS1"])"},
    {"destinationLpms", R"(["10.0.0.0/8"])"},
    {"dstLpmPrefixSets", R"(["FS1"])"},
    {"protocols", R"({"6":{}})"},
    {"length", "[64]"},
    {"fragment", R"({"type":"matchAll"})"},
    {"dscp", "[46]"},
    {"ecn", "[1]"},
    {"ttl", "[255]"},
    {"neighborsProtocol", R"("bgp")"},
    {"l4Protocol", R"("bgp")"},
    {"ipOptions", "true"},
    {"tracked", "true"},
    {"otherCriteria", R"(["ethertype 0x88cc"])"},
    {"innerMatch", R"({"encapType":"gtpv1","af":"ipv4","structuredFilter":{}})"},
};

TEST(Completeness, everyCriterionIsReadShownAndAsked) {
    for (const auto& attribute : Filter::orbType().attributes()) {
        SCOPED_TRACE(attribute.name);
        const auto row = filterOf.find(std::string(attribute.name));
        ASSERT_NE(row, filterOf.end()) << "no row";
        const std::string member = "\"" + row->first + "\":" + row->second;
        const auto shown = criteriaState(member);
        EXPECT_NE(shownRule(shown, SmallState::text), "");
        EXPECT_NE(shownRule(shown, SmallState::json), "\"matches\":{}");

        const auto asked = policyState({{"r", "{" + member + "}"}});
        FieldSetValues sets(nullptr);
        const CompiledPolicy policy(versionOf(asked), MatchOption::ipv4, sets);
        ASSERT_EQ(policy.size(), 1U);
        const CompiledRule& rule = policy.rule(0);
        EXPECT_TRUE(rule.asksOther || !rule.clauses.empty());

        const auto plain = policyState({{"r", "{}"}});
        const Orb::String name = "r";
        const auto difference = differenceOf({name, 0, versionOf(asked)->classMap(name), nullptr},
                                             {name, 0, versionOf(plain)->classMap(name), nullptr});
        ASSERT_EQ(difference.criteria.size(), 1U);
        EXPECT_EQ(difference.criteria[0].key, attribute.name);
    }
}

TEST(Completeness, everyKindOfFieldSetIsWalked) {
    std::set<std::string_view> kinds;
    forEachKindOfRules([&](FieldSetKind kind, auto setsOf) {
        kinds.insert(keyOf(kind));
        EXPECT_TRUE(setsOf(*Orb::make<Classification::FieldSetConfig>()).empty());
    });
    EXPECT_EQ(kinds.size(), Classification::FieldSetConfig::orbType().attributes().size());
}

}  // namespace

}  // namespace TrafficPolicyCli::Diagnosis
