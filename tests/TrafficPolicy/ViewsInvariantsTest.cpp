// What cannot be in a state that was read is an assertion that names what is wrong.
#include <gmock/gmock.h>

#include "ViewsFixture.h"
#include "views/ListLayout.h"

namespace TrafficPolicyCli {
namespace {

using namespace Classification;
using std::string;

struct Form {
    const char* attribute;
    void (*fill)(Filter& filter);
};

// In the order in which they are named.
const Form sourceForms[] = {
    {"sources", [](Filter& filter) { filter.sourcesIs(prefix("10.0.0.0/8")); }},
    {"srcPrefixSets", [](Filter& filter) { filter.srcPrefixSetsIs("FS1"); }},
    {"sourceLpms", [](Filter& filter) { filter.sourceLpmsIs(prefix("10.0.0.0/8")); }},
    {"srcLpmPrefixSets", [](Filter& filter) { filter.srcLpmPrefixSetsIs("FS1"); }},
};
const Form destinationForms[] = {
    {"destinations", [](Filter& filter) { filter.destinationsIs(prefix("10.0.0.0/8")); }},
    {"dstPrefixSets", [](Filter& filter) { filter.dstPrefixSetsIs("FS1"); }},
    {"destinationLpms", [](Filter& filter) { filter.destinationLpmsIs(prefix("10.0.0.0/8")); }},
    {"dstLpmPrefixSets", [](Filter& filter) { filter.dstLpmPrefixSetsIs("FS1"); }},
};

void expectDeath(const std::function<void()>& run, const string& expression) {
    EXPECT_DEATH(run(), testing::HasSubstr("assertion failed: " + expression + " "));
}

TEST(ViewsInvariants, oneFormOfASourceAndOfADestination) {
    for (const auto& forms : {sourceForms, destinationForms}) {
        for (std::size_t first = 0; first < 4; ++first) {
            for (std::size_t second = first + 1; second < 4; ++second) {
                const auto both = [&](Filter& filter) {
                    forms[second].fill(filter);
                    forms[first].fill(filter);
                };
                const string attribute = forms[first].attribute + string("()");
                const auto outer = matchOf(both);
                expectDeath([&] { criteria(outer, textFormat, 2); },
                            "!structuredFilter->" + attribute);
                const auto inner =
                    matchOf([&](Filter& filter) { setInnerMatch(filter, 1, 0, both); });
                expectDeath([&] { criteria(inner, jsonFormat, 2); }, "!sf->" + attribute);
            }
        }
    }
    // One of each is no pair, nor is one of the outer and one of the inner header.
    const auto fine = matchOf([](Filter& filter) {
        sourceForms[3].fill(filter);
        destinationForms[0].fill(filter);
        setInnerMatch(filter, 1, 0, [](Filter& inner) {
            sourceForms[0].fill(inner);
            destinationForms[1].fill(inner);
        });
    });
    EXPECT_NE(criteria(fine, textFormat, 2), "");
}

Fill tcpFlags(U16 mask, U16 flag) {
    return [=](Filter& filter) {
        addProtocol(filter, 6, 6, [=](ProtoField& field) { addFlags(field, mask, flag); });
    };
}

TEST(ViewsInvariants, criteria) {
    const auto protocol = [](Filter& filter) { addProtocol(filter, 6, 6); };
    const struct {
        string expression;
        Fill fill;
        MatchOption option = MatchOption::ipv4;
    } rows[] = {
        {"!range.vlans() || !range.vlanFieldSets()",
         [](Filter& filter) {
             addVlanTag(filter, [](VlanRangeSet& tag) {
                 tag.vlansIs(VlanRange(1, 1));
                 tag.vlanFieldSetsIs("FS1");
             });
         }},
        {"false && \"Unrecognized match option\"", protocol, MatchOption::mac},
        {"false && \"Unrecognized match option\"", protocol, MatchOption::mpls},
        {"activeFlags.size() != 0", tcpFlags(0, 0)},
        {"activeFlags.size() != 0", tcpFlags(0xfc00, 0)},
        {"activeFlags.size() == 1", tcpFlags(0x300, 0x300)},
        {"activeFlags.size() == 1", tcpFlags(0x102, 0x102)},
        {"flagBool", tcpFlags(0x200, 0)},
        {"flagBool", tcpFlags(0x100, 0)},
    };
    for (const auto& row : rows) {
        const auto match = matchOf(row.fill, row.option);
        expectDeath([&] { criteria(match, textFormat, 2); }, row.expression);
    }
}

TEST(ViewsInvariants, labelsRulesAndActions) {
    expectDeath([] { jsonNameOf("Source prefixes"); },
                "!!jsonName && \"Invalid mapping in cliMap\"");
    RuleFixture fixture;
    for (const U8 type : {13, 27, 255}) {
        fixture.setActions("r1", [=](PolicyMap::PolicyClassAction& actions) {
            addPlainAction(actions, static_cast<PolicyMap::ActionType>(type));
        });
        expectDeath([&] { fixture.actions(textFormat); }, "false && \"Unexpected action type\"");
    }
    fixture.policyState = nullptr;
    expectDeath([&] { fixture.rules(textFormat); }, "policyState");
}

}  // namespace
}  // namespace TrafficPolicyCli
