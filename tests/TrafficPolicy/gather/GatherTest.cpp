// What gathering makes of configuration and status: policies, rules and their index, undefined
// references; what it traces; and its walk while the status changes.
#include <random>
#include <regex>
#include <thread>

#include "ViewsFixture.h"
#include "frame/Yield.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli {
namespace {

using SmallState::ShowKind;
using SmallState::shown;
using SmallState::showOf;
using SmallState::State;
using SmallState::stateOf;
using SmallState::vlanShow;
using std::string;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

// The rules of a record: "index:name/option" each, on interfaces "index:input,output/option"; "-"
// for a direction without status.
string rulesOf(const PolicyState& record) {
    const auto* onInterfaces = dynamic_cast<const PolicyStateInterface*>(&record);
    const auto nameOf = [](const PolicyMap::ClassMapStatus* status) -> Orb::String {
        return status == nullptr ? "-" : status->name().text();
    };
    string text;
    for (U32 i = 0; i < record.classMapConfig().size(); ++i) {
        text +=
            (i == 0 ? "" : " ") + std::to_string(i) + ":" + nameOf(record.classMapStatusInput(i));
        if (onInterfaces != nullptr) text += "," + nameOf(onInterfaces->classMapStatusOutput(i));
        text += "/" + string(PolicyMap::matchOptionName(record.classMapConfig(i)->option()));
    }
    return text;
}

// The record of the policy P once a show of the kind has gathered the state.
Orb::Ptr<const PolicyState> recordOfP(ShowKind kind, const State& state) {
    const auto show = showOf(kind, state);
    if (state.fieldSetConfig) show->cacheFieldSetState();
    show->cachePoliciesState();
    return Orb::Ptr<const PolicyState>(show->policyState("P"));
}

string policyWith(const string& version, const string& more = "") {
    return R"({"policyMapConfig":{"P":{"currCfg":)" + version + "}}" + more + "}";
}

const string fourRules = policyWith(R"({"rules":[
    {"name":"r1","priority":20},{"name":"r2","priority":10,"match":{"ipv4":{}}},
    {"name":"r3","priority":30},{"name":"r4","priority":4000000000}]})");

TEST(GatherRules, getTheirIndexFromThePlatformsStatusByPriority) {
    const string noVersion = R"({"policyMapConfig":{"P":{}}})";
    const struct {
        ShowKind kind;
        string config;
        const char *input, *output;  // what the platform took; null: it does not know the policy
        string rules;
    } rows[] = {
        {ShowKind::vlan, fourRules, R"("r1":["ipv4"],"r2":["ipv4"],"r3":["mac"],"r4":["ipv6"])",
         nullptr, "0:r2/ipv4 1:r1/ipv4 2:r3/mac 3:r4/ipv6"},
        // Without status, without option, unknown.
        {ShowKind::cpu, fourRules, R"("r2":["ipv4"],"r3":[],"r4":["ipv6"],"r9":["ipv4"])", nullptr,
         "0:r2/ipv4 1:r4/ipv6"},
        {ShowKind::vlan, noVersion, R"("r1":["ipv4"])", nullptr, ""},
        {ShowKind::cpu, "{}", R"("r1":["ipv4"])", nullptr, ""},
        // Both directions number alike.
        {ShowKind::interface, fourRules, R"("r2":["ipv4"],"r3":["ipv6"],"r4":[])",
         R"("r1":["ipv4"],"r3":["ipv6"],"r4":[])", "0:r2,-/ipv4 1:-,r1/ipv4 2:r3,r3/ipv6"},
        {ShowKind::interface, fourRules, R"("r2":["ipv4"],"r1":["mpls"])", R"("r2":[])",
         "0:r2,-/ipv4 1:r1,-/mpls"},
        {ShowKind::interface, fourRules, nullptr, R"("r2":["ipv4"])", "0:-,r2/ipv4"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.rules);
        const auto statusOf = [](const string& key, const char* taken) {
            const string policy =
                taken == nullptr ? "" : R"("P":{"classMapStatus":{)" + string(taken) + "}}";
            return "\"" + key + R"(":{"policyMapStatus":{)" + policy + "}}";
        };
        const auto record = recordOfP(
            row.kind, stateOf(row.config, "{" + statusOf("interfaceInput", row.input) + "," +
                                              statusOf("interfaceOutput", row.output) + "," +
                                              statusOf("cpu", row.input) + "," +
                                              statusOf("vlan", row.input) + "}"));
        ASSERT_TRUE(record);
        EXPECT_EQ(rulesOf(*record), row.rules);
        EXPECT_EQ(record->ruleCount(), record->classMapConfig().size());
        const auto& families = record->matchOptionList();
        EXPECT_EQ(std::vector<MatchOption>(families.begin(), families.end()),
                  row.config.find("currCfg") == string::npos
                      ? std::vector<MatchOption>()
                      : (std::vector<MatchOption>{MatchOption::ipv4, MatchOption::ipv6}));
        EXPECT_EQ(record->policyMapStatusInput() != nullptr, row.input != nullptr);
    }
}

TEST(GatherFieldSets, undefinedOnesAreNotedInTheFamilyThatRefersToThem) {
    const string sets = R"(,"fieldSetConfig":{"fieldSetIpPrefix":{"V4":{"currCfg":{}},"NEW":{}},
        "fieldSetIpv6Prefix":{"V6":{"currCfg":{}}},"fieldSetL4Port":{"PORTS":{"currCfg":{}}},
        "fieldSetVlan":{"VLANS":{"currCfg":{}}}})";
    const auto inner = [](const string& family, const string& filter) {
        return R"("innerMatch":{"encapType":"gtpv1","af":")" + family +
               R"(","structuredFilter":{)" + filter + "}}";
    };
    const struct {
        string option, filter;
        bool isUndefined;
    } rows[] = {
        {"ipv4", "", false},
        {"ipv4", R"("srcPrefixSets":["V4"],"dstPrefixSets":["V4","NEW"])", false},
        {"ipv4", R"("srcPrefixSets":["V6"])", true},
        {"ipv6", R"("srcPrefixSets":["V6"],"dstLpmPrefixSets":["V6"])", false},
        {"ipv6", R"("dstPrefixSets":["V6","V4"])", true},
        {"ipv4", R"("srcLpmPrefixSets":["GONE"])", true},
        {"ipv4", R"("dstLpmPrefixSets":["V4","GONE"])", true},
        {"mac", R"("vlanTags":[{"vlanFieldSets":["VLANS"]}])", false},
        {"ipv4", R"("vlanTags":[{"vlans":[1]},{"vlanFieldSets":["PORTS"]}])", true},
        {"ipv4", R"("protocols":{"6":{"portFields":[{"sportFieldSets":["PORTS"]}]},"17":{}})",
         false},
        {"ipv4", R"("protocols":{"6":{"portFields":[{},{"sportFieldSets":["VLANS"]}]}})", true},
        {"ipv4", R"("protocols":{"17":{"portFields":[{"dportFieldSets":["GONE"]}]}})", true},
        {"ipv4", inner("ipv6", R"("srcPrefixSets":["V6"])"), false},
        {"ipv4", inner("ipv6", R"("srcPrefixSets":["V4"])"), true},
        {"ipv6", inner("ipv4", R"("dstPrefixSets":["V4"])"), false},
        {"ipv6", inner("ipv4", R"("protocols":{"6":{"portFields":[{"dportFieldSets":["GONE"]}]}})"),
         true},
    };
    const auto undefined = [](const string& option, const string& filter, const string& fieldSets) {
        const string match = "\"" + option + R"(":{"structuredFilter":{)" + filter + "}}";
        const string taken = R"({"r1":[")" + option + "\"]}";
        const string rule = R"({"rules":[{"name":"r1","priority":1,"match":{)" + match + "}}]}";
        return recordOfP(ShowKind::vlan,
                         stateOf(policyWith(rule, fieldSets),
                                 R"({"vlan":{"policyMapStatus":{"P":{"classMapStatus":)" + taken +
                                     "}}}}"))
            ->undefinedFieldSet();
    };
    for (const auto& [option, filter, isUndefined] : rows) {
        EXPECT_EQ(undefined(option, filter, sets), isUndefined) << option << filter;
        // Without a configuration of field sets no reference is defined.
        EXPECT_EQ(undefined(option, filter, ""), filter.find("Sets") != string::npos) << filter;
    }
}

TEST(GatherPolicies, nullReferencesReadAsEmpty) {
    const State nothing{};
    for (const ShowKind kind : {ShowKind::interface, ShowKind::cpu, ShowKind::vlan}) {
        EXPECT_EQ(shown(kind, nothing, {}, SmallState::text), "");
        EXPECT_EQ(shown(kind, nothing, {}, SmallState::json), "{\"trafficPolicies\":{}}\n");
    }
    EXPECT_EQ(shown(ShowKind::cpu, nothing, {.counters = true}, SmallState::json),
              "{\"trafficPolicies\":{}}\n");
    EXPECT_EQ(shown(ShowKind::interface, nothing, {.counters = true}, SmallState::json),
              "{\"trafficPolicies\":{},\"egressTrafficPolicies\":{}}\n");
    // No VRFs of interfaces.
    const State state = stateOf(policyWith("{}"), R"({"cpu":{"policyMapStatus":{"P":{"intfStatus":{
        "Cpu0":{"ipv4":{"state":"programmed"}}}}}}})");
    EXPECT_THAT(shown(ShowKind::cpu, state, {}, SmallState::text), Not(HasSubstr("Applied")));
}

TEST(GatherDeathTest, brokenInvariantsNameTheirExpression) {
    const auto unknown = vlanShow(stateOf("{}", R"({"vlan":{}})"));
    EXPECT_DEATH(unknown->cachePolicyState("X"), "assertion failed: policyStatus");
    EXPECT_DEATH(unknown->cacheFieldSetState(), "assertion failed: fieldSetConfig\\(\\)");
    State state = stateOf(fourRules, "{}");
    EXPECT_DEATH(vlanShow(state)->cacheClassState(state.config->policyMapConfig("P")->currCfg()),
                 "assertion failed: policyStatus");
    const auto twoOptions = Orb::make<PolicyMap::ClassMapStatus>("r1");
    twoOptions->matchIs(MatchOption::ipv4);
    twoOptions->matchIs(MatchOption::ipv6);
    const auto policy = Orb::make<PolicyMap::PolicyMapStatus>("P");
    policy->classMapStatusIs("r1", Orb::Ptr<const PolicyMap::ClassMapStatus>(twoOptions));
    const auto status = Orb::make<TrafficPolicy::Status>();
    status->policyMapStatusIs("P", Orb::Ptr<const PolicyMap::PolicyMapStatus>(policy));
    state.vlan = status;
    EXPECT_DEATH(vlanShow(state)->cachePoliciesState(),
                 "assertion failed: cmapStatus->matchs\\(\\) == 0");
}

TEST(GatherTraces, tellWhatWasFoundAndWhatNot) {
    const State state = stateOf(
        R"({"policyMapConfig":{"P":{"currCfg":{"rules":[
                {"name":"r1","priority":1},{"name":"r2","priority":2},
                {"name":"r3","priority":3,"match":{"ipv4":{}},"action":{"count":{"counterName":"c"}}}]}},
              "STAGED":{}},
            "l3IntfStatusDir":{"Cpu0":{"vrf":"red"},"Cpu1":{"vrf":"blue"},"Cpu2":{"vrf":"grey"}}})",
        R"({"cpu":{"policyMapStatus":{"GHOST":{},"STAGED":{},"P":{
                "classMapStatus":{"r2":[],"r3":["ipv4"]},
                "intfStatus":{"Cpu0":{"ipv4":{"state":"programmed"}},
                              "Cpu1":{"ipv4":{"state":"failed"}},"Cpu2":{}}}}},
            "interfaceOutput":{"policyMapStatus":{"P":{"intfStatus":{"E1":{"ipv4":{"state":"failed"}}}}}},
            "vlan":{"policyMapStatus":{"P":{"intfStatus":{"Vlan7":{"ipv6":{"state":"programmed"}}}}}}})");
    const std::pair<ShowKind, string> rows[] = {
        {ShowKind::cpu, "7 PolicyMapConfig not found for GHOST"},
        {ShowKind::cpu, "7 currCfg not found for STAGED"},
        {ShowKind::cpu, "7 ClassMapStatus not found for r1"},
        {ShowKind::cpu, "1 No match option status found for r2"},
        {ShowKind::cpu, "7 Found class match config for r3, ipv4"},
        {ShowKind::cpu, "7 Caching 0 r3 ipv4"},
        {ShowKind::cpu, "1 Class: r3 c"},
        {ShowKind::cpu, "4 ruleCount 1, total class count 3"},
        {ShowKind::cpu, "7 Applied on red"},
        {ShowKind::cpu, "7 Failed on blue"},
        {ShowKind::cpu, "7 grey is not processed"},
        {ShowKind::cpu, "8 No failures for option: ipv6"},
        {ShowKind::cpu, "8 ShowTrafficPolicyBase::render(...)"},
        {ShowKind::cpu, "8 ShowTrafficPolicyCpu::cachePoliciesState(...)"},
        {ShowKind::cpu, "8 ShowTrafficPolicyBase::cachePolicyState(...) STAGED"},
        {ShowKind::cpu, "8 ShowTrafficPolicyCpu::cachePolicyState(...) P"},
        {ShowKind::cpu, "8 ShowTrafficPolicyBase::renderRules(...)"},
        {ShowKind::cpu, "8 ShowTrafficPolicyBase::renderActions(... r3 0"},
        {ShowKind::cpu, "8 ShowTrafficPolicyCpu::renderCountAction(...)"},
        {ShowKind::interface, "7 Failed on E1"},
        {ShowKind::interface, "8 ShowTrafficPolicyInterface::cacheIntfStatus(...)- isInput: 0"},
        {ShowKind::interface,
         "8 ShowTrafficPolicyInterface::cacheInstalledState(...) matchOption ipv4 isInput: 0"},
        {ShowKind::interface,
         "8 ShowTrafficPolicyInterface::cacheInstallError(...), option:ipv6, isInput: 0"},
        {ShowKind::vlan, "7 Applied on 7"},
        {ShowKind::vlan, "8 ShowTrafficPolicyVAcl::cacheInstallError(...), option:ipv4"},
    };
    std::map<ShowKind, std::vector<string>> lines;
    for (const ShowKind kind : {ShowKind::interface, ShowKind::cpu, ShowKind::vlan}) {
        const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
        shown(kind, state, {}, SmallState::json);
        lines[kind] = traces.lines();
    }
    for (const auto& [kind, line] : rows) EXPECT_THAT(lines[kind], Contains(traceLine(line)));
    // A kind tells that it begins before what it builds on does.
    const auto begins = [&](const string& line) {
        return std::ranges::find_if(lines[ShowKind::cpu], [&](const string& text) {
            return text.find(line) != string::npos;
        });
    };
    EXPECT_LT(begins("Cpu::cachePolicyState("), begins("Base::cachePolicyState("));
}

TEST(GatherTraces, tellOfAViewThatIsEmpty) {
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
    shown(ShowKind::vlan, State{}, {.counters = true}, SmallState::text);
    EXPECT_THAT(traces.lines(),
                Contains(HasSubstr("ShowTrafficPolicyVAcl::renderTrafficPolicyCounters(")));
}

// An interface kind that gives up the lock between its two passes, and before it looks for the
// counters of a policy; what others change then is told by a test.
class Interrupted : public ShowTrafficPolicyInterface {
  public:
    explicit Interrupted(const State& state)
        : ShowTrafficPolicyInterface(
              ShowArguments{"", "", state.config, state.interfaceInput, nullptr, "", false, false,
                            false, false, false, nullptr, state.hwStatus, nullptr},
              state.interfaceOutput, nullptr, nullptr, nullptr, nullptr, nullptr, false, false) {}
    Orb::Ptr<const CounterReader> createCounterStatusHelper(bool forInput) override {
        if (!forInput && betweenPasses) betweenPasses();
        return ShowTrafficPolicyInterface::createCounterStatusHelper(forInput);
    }
    void cacheCounters(const Orb::String& name) override {
        if (beforeCounters) beforeCounters(name);
        ShowTrafficPolicyInterface::cacheCounters(name);
    }

    std::function<void()> betweenPasses;
    std::function<void(const string&)> beforeCounters;
};

// The status of a policy P that took these of the rules "1" to "9", with a counter of each.
Orb::Ptr<const PolicyMap::PolicyMapStatus> tookRules(const string& rules) {
    const auto policy = Orb::make<PolicyMap::PolicyMapStatus>("P");
    for (const char rule : rules) {
        const auto status = Orb::make<PolicyMap::ClassMapStatus>(string(1, rule));
        status->matchIs(MatchOption::ipv4);
        policy->classMapStatusIs(status->name(), Orb::Ptr<const PolicyMap::ClassMapStatus>(status));
        const U64 number = static_cast<U64>(rule - '0');
        const auto counter =
            Orb::make<PolicyMap::PacketDataStatus>(status->name(), Keel::UniqueId{number});
        counter->countIs(PolicyMap::PacketAndByte{number, 0});
        policy->classCounterIs(status->name(),
                               Orb::Ptr<const PolicyMap::PacketDataStatus>(counter));
    }
    return policy;
}

// Of every rule the name, the criteria and the counts tell the same number.
TEST(GatherRules, keepTheirNumbersWhenTheStatusChangesBetweenThePasses) {
    string rules;
    for (const char* const rule : {"1", "2", "3", "4", "5", "6", "7", "8", "9"}) {
        rules += (rules.empty() ? "" : ",") + (R"({"name":")" + string(rule)) + R"(","priority":)" +
                 rule + R"(,"match":{"ipv4":{"structuredFilter":{"ttl":[)" + rule +
                 R"(]}}},"action":{"count":{}}})";
    }
    const struct {
        const char *input, *output;            // what the first pass sees
        const char *laterInput, *laterOutput;  // what the second pass sees
        string shown;                          // "rule:input,output" each
    } rows[] = {
        {"135", "135", "135", "135", "1:1,1 3:3,3 5:5,5"},
        {"123", "23", "23", "23", "1:1,- 2:2,2 3:3,3"},
        {"123", "123", "123", "3", "1:1,- 2:2,- 3:3,3"},
        {"135", "24", "135", "246", "1:1,- 2:-,2 3:3,- 4:-,4 5:5,- 6:-,6"},
        {"24", "24", "123456", "13", "1:-,1 2:2,- 3:-,3 4:4,-"},
        {"123456789", "9", "", "987654321",
         "1:1,1 2:2,2 3:3,3 4:4,4 5:5,5 6:6,6 7:7,7 8:8,8 9:9,9"},
        {"19", "5", "5", "", "1:1,- 9:9,-"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.shown);
        State state = stateOf(policyWith(R"({"rules":[)" + rules + "]}"), R"({"hwStatus":{}})");
        const auto input = Orb::make<TrafficPolicy::Status>();
        const auto output = Orb::make<TrafficPolicy::Status>();
        input->policyMapStatusIs("P", tookRules(row.input));
        output->policyMapStatusIs("P", tookRules(row.output));
        state.interfaceInput = input;
        state.interfaceOutput = output;
        const auto show = Orb::make<Interrupted>(state);
        show->betweenPasses = [&] {
            input->policyMapStatusIs("P", tookRules(row.laterInput));
            output->policyMapStatusIs("P", tookRules(row.laterOutput));
        };
        const string report = shown(*show, SmallState::text);
        const std::regex rule(
            " +match (\\d) ipv4\n +TTL: (\\d)\n +Actions: \n +Count: (\\S+)( packets)? "
            "\\(input\\)\n +(\\S+)( packets)? \\(output\\)\n");
        string text;
        for (std::sregex_iterator at(report.begin(), report.end(), rule), end; at != end; ++at) {
            EXPECT_EQ(at->str(1), at->str(2)) << report;
            text += (text.empty() ? "" : " ") + at->str(1) + ":" + at->str(3) + "," + at->str(5);
        }
        EXPECT_EQ(std::regex_replace(text, std::regex("N/A"), "-"), row.shown) << report;
    }
}

// A policy that goes between two looks for its counters is not asked again.
TEST(GatherWalk, looksForNoCountersInAPolicyThatIsGone) {
    State state =
        stateOf(R"({"policyMapConfig":{"P":{"currCfg":{}},"Q":{"currCfg":{}}}})",
                R"({"hwStatus":{},"interfaceInput":{"policyMapStatus":{"P":{},"Q":{}}}})");
    const auto input = Orb::make<TrafficPolicy::Status>();
    input->policyMapStatusIs(state.interfaceInput->policyMapStatus());
    state.interfaceInput = input;
    const auto show = Orb::make<Interrupted>(state);
    show->beforeCounters = [&](const string& name) {
        if (name == "P") {
            input->policyMapStatusIs("P", tookRules("1"));
        } else {
            input->policyMapStatusDel("P");
        }
    };
    shown(*show, SmallState::text);
    EXPECT_EQ(show->policyState("P")->inputClassCounters("1")->count().packets, 1U);
    EXPECT_TRUE(show->policyState("Q")->inputClassCounters().empty());
}

// Policies "p000" to "p199", of which those that end in 0 or 5 stay while others come and go.
constexpr int policyCount = 200;

string policyName(int number) {
    string text = std::to_string(number);
    return "p" + string(3 - text.size(), '0') + text;
}

void add(TrafficPolicy::Status& status, int number) {
    const auto policy = Orb::make<PolicyMap::PolicyMapStatus>(policyName(number));
    const auto rules = tookRules("12");
    policy->classMapStatusIs(rules->classMapStatus());
    policy->classCounterIs(rules->classCounter());
    status.policyMapStatusIs(policy->name(), Orb::Ptr<const PolicyMap::PolicyMapStatus>(policy));
}

Orb::Ptr<TrafficPolicy::Status> changingStatus() {
    auto status = Orb::make<TrafficPolicy::Status>();
    for (int i = 0; i < policyCount; i += 5) add(*status, i);
    return status;
}

// Lets others in while it gathers, and notes in which order it gathers.
class Yielding : public ShowTrafficPolicyInterface {
  public:
    explicit Yielding(const State& state)
        : ShowTrafficPolicyInterface(
              ShowArguments{"", "", state.config, state.interfaceInput, nullptr, "", false, false,
                            false, false, false, nullptr, state.hwStatus, nullptr},
              state.interfaceOutput, nullptr, nullptr, nullptr, nullptr, nullptr, false, false) {}
    void cachePolicyState(const Orb::String& name) override {
        (isInput() ? input : output).push_back(name);
        ShowTrafficPolicyInterface::cachePolicyState(name);
    }
    void cacheIntfStatus(const Orb::Ptr<const PolicyMap::PolicyMapStatus>& policyStatus) override {
        yieldActivityLock("test");
        ShowTrafficPolicyInterface::cacheIntfStatus(policyStatus);
    }

    std::vector<string> input;
    std::vector<string> output;
};

TEST(GatherWalkThreads, missesAndRepeatsNoSurvivingPolicy) {
    string policies;
    for (int i = 0; i < policyCount; ++i) {
        policies +=
            (i == 0 ? "\"" : ",\"") + policyName(i) +
            R"(":{"currCfg":{"rules":[{"name":"1","priority":1},{"name":"2","priority":2}]}})";
    }
    State state = stateOf(R"({"policyMapConfig":{)" + policies + "}}", R"({"hwStatus":{}})");
    const auto input = changingStatus();
    const auto output = changingStatus();
    state.interfaceInput = input;
    state.interfaceOutput = output;

    std::atomic<bool> isDone{false};
    std::thread platform([&] {
        std::mt19937 random(7);
        while (!isDone) {
            {
                const Orb::ActivityLockGuard lock;
                for (const auto& status : {input, output}) {
                    // A run of neighbours at a time, so that it often holds the policy in hand.
                    const int first = static_cast<int>(random() % policyCount);
                    for (int i = first; i < std::min(first + 40, policyCount); ++i) {
                        if (i % 5 == 0) continue;
                        status->policyMapStatusDel(policyName(i));
                        if (random() % 2 != 0) add(*status, i);
                    }
                }
            }
            std::this_thread::yield();
        }
    });
    const auto show = Orb::make<Yielding>(state);
    {
        const Orb::ActivityLockGuard lock;
        show->cachePoliciesState();
    }
    isDone = true;
    platform.join();

    for (const auto& gathered : {show->input, show->output}) {
        EXPECT_TRUE(std::is_sorted(gathered.begin(), gathered.end()));
        EXPECT_EQ(std::adjacent_find(gathered.begin(), gathered.end()), gathered.end());
        EXPECT_GT(gathered.size(), policyCount / 5U) << "nothing came while it walked";
        for (int i = 0; i < policyCount; i += 5) EXPECT_THAT(gathered, Contains(policyName(i)));
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
