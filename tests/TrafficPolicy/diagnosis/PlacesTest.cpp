// Where things are: attachments, the order in which people count, and who holds an address.
#include <gmock/gmock.h>

#include <random>

#include "DiagnosisSource.h"
#include "diagnosis/Attachments.h"
#include "diagnosis/NaturalOrder.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

using testing::HasSubstr;

std::string shown(ShowTrafficPolicyDiagnosis& show, U32 format) {
    const Captured::MemoryFile file;
    const Orb::ActivityLockGuard lock;
    show.render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

TEST(NaturalOrder, isThatInWhichPeopleCount) {
    const char* const names[] = {"",
                                 "Ethernet2",
                                 "Ethernet10",
                                 "Ethernet10/1",
                                 "Ethernet10/2",
                                 "Vlan07",
                                 "Vlan7",
                                 "Vlan10",
                                 "Vlan18446744073709551616",
                                 "Vlan18446744073709551617",
                                 "a",
                                 "a0",
                                 "b"};
    for (std::size_t i = 0; i + 1 < std::size(names); ++i) {
        EXPECT_TRUE(naturalOrder(names[i], names[i + 1]) < 0) << names[i] << " " << names[i + 1];
        EXPECT_TRUE(naturalOrder(names[i + 1], names[i]) > 0) << names[i] << " " << names[i + 1];
        EXPECT_TRUE(naturalOrder(names[i], names[i]) == 0) << names[i];
    }
}

// What is told of one point is what is told of it among all, on a state that has every case.
TEST(Attachments, ofOnePointAreThoseAmongAll) {
    const auto state = StateDirectory::readState(EXAMPLES_DIR "/campus");
    const auto sources = SmallState::sourcesOf(state);
    const Attachments attachments(sources);
    const auto all = attachments.all();
    ASSERT_GT(all.size(), 40U);
    const auto told = [&](const Attachment& attachment) {
        std::string text = attachment.policy + (attachment.isConfigured ? " configured" : "") +
                           (attachment.isByAll ? " by all" : "");
        for (const auto option : {MatchOption::ipv4, MatchOption::ipv6, MatchOption::mac}) {
            for (const auto target : {Target::hardware, Target::kernel}) {
                const Installed installed = attachments.installed(attachment, option, target);
                text.append(" ").append(wordsOf(installed.outcome).key).append(installed.reason);
            }
        }
        return text;
    };
    for (const Attachment& point : all) {
        std::vector<std::string> among;
        for (const Attachment& one : all) {
            if (one.place == point.place && one.point == point.point) among.push_back(told(one));
        }
        std::vector<std::string> alone;
        for (const Attachment& one : attachments.at(point.place, point.point)) {
            alone.push_back(told(one));
        }
        EXPECT_EQ(alone, among) << pointText(point.place, point.point);
    }
}

// Two policies at a point, names that would act on a terminal or are wide there, and MAC rules.
TEST(Attachments, areATable) {
    const auto state = SmallState::stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"rules":[
              {"name":"a","priority":1,"match":{"mac":{}}}]}},"Ж中":{"currCfg":{}}},
            "intfConfigInput":{"Ethernet10":"P","Ethernet2":"Ж中"}})",
        R"({"interfaceInput":{"policyMapStatus":{
              "P":{"intfStatus":{"Ethernet10":{"mac":{"state":"failed","errorText":"n\u001b[1mo"}},
                                 "Ethernet2":{"ipv6":{"state":"programmed"}}}}}}})");
    const auto show = showTrafficPolicyAttachmentsFactory(SmallState::sourcesOf(state), "", "", "");
    EXPECT_EQ(shown(*show, 1),
              "Point       Side   Policy  IPv4       IPv6       Reason\n"
              "----------  -----  ------  ---------  ---------  ------\n"
              "Ethernet2   input  Ж中     not asked  not asked\n"
              "Ethernet2   input  P       not asked  left over  not configured here\n"
              "Ethernet10  input  P       not asked  not asked  failed, n\\x1b[1mo\n");
    const auto none =
        showTrafficPolicyAttachmentsFactory(SmallState::sourcesOf(state), "", "red", "");
    EXPECT_EQ(shown(*none, 1), "No attachments.\n");
    EXPECT_EQ(shown(*none, 2), "{\"attachments\":[]}\n");
}

// An interrupt leaves nothing that could be taken for a whole document.
TEST(Attachments, endByAnInterrupt) {
    const auto show = showTrafficPolicyAttachmentsFactory(
        SmallState::sourcesOf(SmallState::stateOf("{}", "{}")), "", "", "");
    testing::internal::CaptureStdout();
    Orb::interruptRequestedIs(true);
    EXPECT_EQ(shown(*show, 2), "");
    Orb::interruptRequestedIs(false);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "exiting interrupted\n");
}

// Small sets are compared prefix by prefix, large ones asked by length: both against the plain
// definition.
TEST(FieldSetHolding, isMembership) {
    std::mt19937 random(7);
    for (const U32 size : {3U, 2000U}) {
        for (const bool isIpv4 : {true, false}) {
            const auto address = [&] {
                const U32 bits = random() & 0xfff;
                return isIpv4 ? Wire::IpGenAddr::ipv4(0x0a000000 | bits << 8)
                              : Wire::IpGenAddr::ipv6(0x20010db800000000 | bits, 0);
            };
            const auto prefix = [&] {
                return Wire::IpGenPrefix(address(), isIpv4 ? 8 + random() % 20 : 32 + random() % 33)
                    .masked();
            };
            auto version = Orb::make<Classification::FieldSetIpPrefixSubConfig>();
            for (U32 i = 0; i < size; ++i) version->prefixesIs(prefix());
            for (U32 i = 0; i < 3; ++i) version->exceptPrefixesIs(prefix());
            auto set = Orb::make<Classification::FieldSetIpPrefixConfig>("A");
            set->currCfgIs(Orb::Ptr<const Classification::FieldSetIpPrefixSubConfig>(version));
            auto config = Orb::make<Classification::FieldSetConfig>();
            const Orb::Ptr<const Classification::FieldSetIpPrefixConfig> entry(set);
            if (isIpv4) {
                config->fieldSetIpPrefixIs("A", entry);
            } else {
                config->fieldSetIpv6PrefixIs("A", entry);
            }
            DiagnosisSources sources;
            sources.fieldSetConfig = config;
            for (U32 i = 0; i < 50; ++i) {
                const Wire::IpGenAddr asked = address();
                const auto longest = [&](const auto& prefixes) -> std::string {
                    Wire::IpGenPrefix best;
                    for (const auto& one : prefixes) {
                        const bool holds = Wire::IpGenPrefix(asked, one.length()).masked() == one;
                        if (holds && (best.isNullPrefix() || one.length() > best.length())) {
                            best = one;
                        }
                    }
                    return best.stringValue();
                };
                const std::string held = longest(version->prefixes());
                const std::string except = longest(version->exceptPrefixes());
                const std::string report =
                    shown(*showTrafficPolicyFieldSetHoldingFactory(sources, HoldingKind::address,
                                                                   asked, 0, Wire::EthAddr()),
                          2);
                const std::string expected =
                    held.empty() ? "\"fieldSets\":[]"
                                 : "\"holds\":" + std::string(except.empty() ? "true" : "false") +
                                       ",\"heldBy\":\"" + held + "\"" +
                                       (except.empty() ? "" : ",\"exceptedBy\":\"" + except + "\"");
                EXPECT_THAT(report, HasSubstr(expected)) << asked.stringValue();
            }
        }
    }
}

TEST(FieldSetHolding, tellsTheNarrowestRange) {
    const auto state = SmallState::stateOf(
        R"({"fieldSetConfig":{"fieldSetL4Port":{
              "A10":{"currCfg":{"ports":["0-65535","80-89","85-94","86"]}},
              "A9":{"currCfg":{"ports":["80-89","85-94"]}},"B":{"currCfg":{"ports":[84]}},
              "C":{}}}})",
        "{}");
    const auto holding = [&](U32 port) {
        return shown(*showTrafficPolicyFieldSetHoldingFactory(SmallState::sourcesOf(state),
                                                              HoldingKind::l4Port, {}, port, {}),
                     1);
    };
    EXPECT_EQ(holding(85),
              "Kind     Field set  Held by  Taken out by\n"
              "-------  ---------  -------  ------------\n"
              "L4 port  A9         80-89\n"
              "L4 port  A10        80-89\n"
              "2 field sets hold port 85.\n");
    EXPECT_THAT(holding(86), HasSubstr("A10        86\n"));
    EXPECT_THAT(holding(65535), HasSubstr("1 field set holds port 65535.\n"));
}

// Criteria of the inner packet and of the other kinds count; a name is one of all kinds.
TEST(References, findEveryPlaceOfAName) {
    const auto state = SmallState::stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"rules":[
              {"name":"b","priority":2,"match":{"ipv4":{"structuredFilter":{
                 "vlanTags":[{"vlanFieldSets":["S"]}],"dstLpmPrefixSets":["S"],
                 "protocols":{"17":{"portFields":[{"sportFieldSets":["T","S"]}]}},
                 "innerMatch":{"af":"ipv6","encapType":"gtpv1","structuredFilter":{
                     "srcPrefixSets":["S"]}}}}}},
              {"name":"a","priority":1,"match":{"ipv4":{"structuredFilter":{
                 "srcPrefixSets":["S"]}}}}]}}}})",
        "{}");
    const auto show = showTrafficPolicyReferencesFactory(SmallState::sourcesOf(state),
                                                         ReferenceKind::fieldSet, "S");
    EXPECT_EQ(shown(*show, 1),
              "Field set S\nTraffic policy P\n"
              "   rule a ipv4: source prefix\n"
              "   rule b ipv4: destination longest match\n"
              "   rule b ipv4: VLAN tag\n"
              "   rule b ipv4: source port\n"
              "   rule b ipv4: inner source prefix\n"
              "   Attached to: nothing\n"
              "5 rules of 1 policy.\n");
    EXPECT_TRUE(show->foundReferences());
}

}  // namespace

}  // namespace TrafficPolicyCli::Diagnosis
