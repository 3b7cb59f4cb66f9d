// What cannot be in a state that was read: an assertion that names what is wrong, or nothing shown.
#include "ViewsFixture.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {
namespace {

using namespace Classification;
using SmallState::json;
using SmallState::text;
using std::string;
using testing::HasSubstr;
using testing::Not;

struct Form {
    string attribute;
    void (*fill)(Filter& filter);
};

Wire::IpGenPrefix somePrefix() { return *Wire::IpGenPrefix::parse("10.0.0.0/8"); }

// In the order in which they are named.
const std::vector<Form> formsOfBothEnds[] = {
    {{"sources", [](Filter& filter) { filter.sourcesIs(somePrefix()); }},
     {"srcPrefixSets", [](Filter& filter) { filter.srcPrefixSetsIs("FS1"); }},
     {"sourceLpms", [](Filter& filter) { filter.sourceLpmsIs(somePrefix()); }},
     {"srcLpmPrefixSets", [](Filter& filter) { filter.srcLpmPrefixSetsIs("FS1"); }}},
    {{"destinations", [](Filter& filter) { filter.destinationsIs(somePrefix()); }},
     {"dstPrefixSets", [](Filter& filter) { filter.dstPrefixSetsIs("FS1"); }},
     {"destinationLpms", [](Filter& filter) { filter.destinationLpmsIs(somePrefix()); }},
     {"dstLpmPrefixSets", [](Filter& filter) { filter.dstLpmPrefixSetsIs("FS1"); }}}};

void expectDeath(const std::function<void()>& run, const string& expression) {
    EXPECT_DEATH(run(), HasSubstr("assertion failed: " + expression + " "));
}

TEST(ViewsInvariants, oneFormOfASourceAndOfADestination) {
    for (const auto& forms : formsOfBothEnds) {
        for (std::size_t first = 0; first < 4; ++first) {
            for (std::size_t second = first + 1; second < 4; ++second) {
                const auto both = [&](Filter& filter) {
                    forms[second].fill(filter);
                    forms[first].fill(filter);
                };
                const auto inside = [&](Filter& filter) { setInnerMatch(filter, 1, 0, both); };
                const string attribute = forms[first].attribute + "()";
                expectDeath([&] { criteriaByHand(both, text); }, "!structuredFilter->" + attribute);
                expectDeath([&] { criteriaByHand(inside, json); }, "!sf->" + attribute);
            }
        }
    }
}

void addTcp(Filter& filter, U16 mask, U16 flag) {
    TcpFlagAndMask group;
    group.mask = mask;
    group.flag = flag;
    const auto field = Orb::make<ProtoField>();
    field->tcpFlagsIs(group);
    filter.protocolsIs(ProtocolRange(6, 6), Orb::Ptr<const ProtoField>(field));
}

TEST(ViewsInvariants, criteria) {
    const auto tcpFlags = [](U16 mask, U16 flag) {
        return [=](Filter& filter) { addTcp(filter, mask, flag); };
    };
    const struct {
        string expression;
        Fill fill;
        MatchOption option = MatchOption::ipv4;
    } rows[] = {
        {"!range.vlans() || !range.vlanFieldSets()",
         [](Filter& filter) {
             const auto tag = Orb::make<VlanRangeSet>();
             tag->vlansIs(VlanRange(1, 1));
             tag->vlanFieldSetsIs("FS1");
             filter.vlanTagsIs(filter.vlanTags().size(), Orb::Ptr<const VlanRangeSet>(tag));
         }},
        {"false && \"Unrecognized match option\"", tcpFlags(1, 1), MatchOption::mac},
        {"false && \"Unrecognized match option\"", tcpFlags(1, 1), MatchOption::mpls},
        {"activeFlags.size() != 0", tcpFlags(0, 0)},
        {"activeFlags.size() != 0", tcpFlags(0xfc00, 0)},
        {"activeFlags.size() == 1", tcpFlags(0x300, 0x300)},
        {"activeFlags.size() == 1", tcpFlags(0x102, 0x102)},
        {"flagBool", tcpFlags(0x200, 0)},
        {"flagBool", tcpFlags(0x100, 0)},
    };
    for (const auto& row : rows) {
        expectDeath([&] { criteriaByHand(row.fill, text, row.option); }, row.expression);
    }
}

TEST(ViewsInvariants, labelsRulesAndActions) {
    expectDeath([] { jsonNameOf("Source prefixes"); },
                "!!jsonName && \"Invalid mapping in cliMap\"");
    GatheredRules rules(ruleState(""));
    for (const U8 value : {13, 27, 255}) {
        const auto type = static_cast<PolicyMap::ActionType>(value);
        const auto actions = Orb::make<PolicyMap::PolicyClassAction>("r1");
        actions->actionIs(type,
                          Orb::Ptr<const PolicyMap::Action>(Orb::make<PolicyMap::Action>(type)));
        rules.actionsAre(actions);
        expectDeath([&] { rules.print(text); }, "false && \"Unexpected action type\"");
    }
    rules.record = nullptr;
    expectDeath([&] { rules.print(text); }, "policyState");
}

TEST(ViewsInvariants, unknownValuesAreNotShown) {
    const auto criteria = [](Filter& filter) {
        const auto fragment = Orb::make<Fragment>(static_cast<FragmentType>(1));
        fragment->offsetIs(FragmentOffsetRange(1, 1));
        filter.fragmentIs(fragment);
        filter.neighborsProtocolIs(static_cast<NeighborsProtocol>(2));
        filter.l4ProtocolIs(static_cast<L4Protocol>(2));
    };
    EXPECT_EQ(criteriaByHand(criteria, text), "");
    EXPECT_EQ(criteriaByHand(criteria, json), "{\"matches\":{}}\n");
    const auto inner = [](Filter& filter) { setInnerMatch(filter, 7, 1, [](Filter&) {}); };
    EXPECT_EQ(criteriaByHand(inner, text), "   Encapsulation  inner header IPv6\n");
    EXPECT_THAT(criteriaByHand(inner, json),
                HasSubstr(R"("encapsulation":{},"innerMatch":{"addressFamily":"ipv6"})"));
}

}  // namespace
}  // namespace TrafficPolicyCli
