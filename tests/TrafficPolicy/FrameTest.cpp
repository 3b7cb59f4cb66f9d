// Show objects from their making to the end of render: arguments, the choice of the view,
// interrupts and failures, and the yielding of the activity lock.
#include <fcntl.h>
#include <gmock/gmock.h>

#include <map>
#include <thread>

#include "SmallState.h"
#include "blip/Blip.h"
#include "frame/Yield.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli {
namespace {

using Captured::MemoryFile;
using SmallState::Command;
using SmallState::Kind;
using SmallState::shown;
using SmallState::State;
using testing::ElementsAre;

// The arguments of a kind: what stands for each in an attribute, and the argument itself.
struct Argument {
    std::string attribute;
    std::any value;
};

template <class T>
Argument object(const char* attribute, const Orb::Ptr<T>& value = Orb::make<T>()) {
    return {attribute, value};
}

std::vector<Argument> sharedArguments() {
    return {{"policyJsonDictKeyword", Orb::String("keyword")},
            {"policyFeatureName", Orb::String("feature ")},
            object<TrafficPolicy::TrafficPolicyConfig>("config"),
            object<TrafficPolicy::Status>("status"),
            object<TrafficPolicy::Counter>("counter"),
            {"policyName", Orb::String("name")},
            {"summary", false},
            {"errors", false},
            {"detail", false},
            {"counters", false},
            {"byteCountersSupported", false},
            object<Classification::FieldSetConfig>("fieldSetConfig"),
            object<TrafficPolicy::HwStatus>("trafficPolicyHwStatus"),
            object("policyMapCounters", Orb::make<PolicyMap::Counters::PolicyMapTypeCounters>(
                                            nullptr, PolicyMap::Counters::Direction::input))};
}

struct KindArguments {
    const char* type;
    std::vector<Argument> own;
    // What the object holds besides its arguments, and before which own argument it stands.
    std::vector<std::string> madeLater;
};

std::vector<KindArguments> kinds() {
    return {
        {"TrafficPolicyCli::ShowTrafficPolicyCpu",
         {object<PolicyMap::VrfConfig>("vrfConfig"), object<Ip::AllVrfConfig>("allVrfConfig"),
          object<L3::Intf::StatusDir>("l3IntfStatusDir"),
          object<TrafficPolicy::Status>("iptablesStatus")},
         {}},
        {"TrafficPolicyCli::ShowTrafficPolicyInterface",
         {object<TrafficPolicy::Status>("statusOutput"),
          object<TrafficPolicy::Counter>("counterOutput"),
          object<PolicyMap::IntfConfig>("intfConfigInput"),
          object<PolicyMap::IntfConfig>("intfConfigOutput"),
          object<TrafficPolicy::TrafficPolicyIntfParamStatus>("policyParamStatus"),
          object("policyMapCountersOutput", Orb::make<PolicyMap::Counters::PolicyMapTypeCounters>(
                                                nullptr, PolicyMap::Counters::Direction::output)),
          {"filterInputPolicies", false},
          {"filterOutputPolicies", false}},
         {"outputCounterHelper", "isInput"}},
        {"TrafficPolicyCli::ShowTrafficPolicyVAcl",
         {object<PolicyMap::IntfConfig>("intfConfigBridged")},
         {}}};
}

// A value as text; objects by their address.
std::string textOf(const Orb::Value& value) {
    if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
    if (const auto* name = std::get_if<Orb::String>(&value)) return *name;
    if (const auto* pointer = std::get_if<Orb::Ptr<const Orb::PtrInterface>>(&value)) {
        return std::to_string(reinterpret_cast<std::uintptr_t>(pointer->get()));
    }
    if (const auto* entries = std::get_if<std::vector<Orb::ValueEntry>>(&value)) {
        return std::to_string(entries->size()) + " entries";
    }
    return "null";
}

std::map<std::string, std::string> attributesOf(const Orb::PtrInterface& object) {
    std::map<std::string, std::string> values;
    for (const Orb::Attribute& attribute : object.fwkType().attributes()) {
        values[std::string(attribute.name)] = textOf(attribute.value(object));
    }
    return values;
}

std::vector<std::any> valuesOf(const std::vector<Argument>& arguments) {
    std::vector<std::any> values;
    for (const Argument& argument : arguments) values.push_back(argument.value);
    return values;
}

std::vector<Argument> argumentsOf(const KindArguments& kind) {
    std::vector<Argument> all = sharedArguments();
    all.insert(all.end(), kind.own.begin(), kind.own.end());
    return all;
}

TEST(FrameFactories, listAttributesInTheOrderOfTheArguments) {
    for (const KindArguments& kind : kinds()) {
        SCOPED_TRACE(kind.type);
        std::vector<std::string> expected;
        for (const Argument& argument : sharedArguments()) expected.push_back(argument.attribute);
        for (const char* made : {"fieldSetState", "policyState", "inputCounterHelper"}) {
            expected.emplace_back(made);
        }
        for (const Argument& argument : kind.own) expected.push_back(argument.attribute);
        expected.insert(expected.end(), kind.madeLater.begin(), kind.madeLater.end());
        std::vector<std::string> names;
        for (const auto& attribute : Orb::typeByName(kind.type)->attributes()) {
            names.emplace_back(attribute.name);
        }
        EXPECT_EQ(names, expected);
    }
}

// One flag is set at a time, so that no two can be mistaken.
TEST(FrameFactories, storeEveryFlagWhereItBelongs) {
    for (const KindArguments& kind : kinds()) {
        SCOPED_TRACE(kind.type);
        std::vector<Argument> arguments = argumentsOf(kind);
        for (Argument& chosen : arguments) {
            if (chosen.value.type() != typeid(bool)) continue;
            chosen.value = true;
            const auto show = Orb::typeByName(kind.type)->create(valuesOf(arguments));
            auto values = attributesOf(*show);
            for (const Argument& argument : arguments) {
                if (argument.value.type() != typeid(bool)) continue;
                EXPECT_EQ(values[argument.attribute],
                          argument.attribute == chosen.attribute ? "true" : "false")
                    << argument.attribute;
            }
            chosen.value = false;
        }
    }
}

TEST(FrameFactories, storeEveryReferenceWhereItBelongs) {
    const State state =
        SmallState::stateOf(R"({"policyMapConfig":{},"fieldSetConfig":{},
        "intfConfigInput":{},"intfConfigOutput":{},"intfConfigBridged":{},"vrfConfig":{},
        "allVrfConfig":[],"l3IntfStatusDir":{}})",
                            R"({"hwStatus":{},"intfParamStatus":{},"interfaceInput":{},
        "interfaceOutput":{},"cpu":{},"cpuSoftware":{},"vlan":{}})");
    const Command command{.policyName = "P",
                          .snapshots = Orb::make<TrafficPolicy::Counter>(),
                          .outputSnapshots = Orb::make<TrafficPolicy::Counter>()};
    const auto onInterfaces = SmallState::interfaceShow(state, command);
    EXPECT_EQ(onInterfaces->policyJsonDictKeyword(), "trafficPolicies");
    EXPECT_EQ(onInterfaces->policyFeatureName(), "Traffic policy ");
    EXPECT_EQ(onInterfaces->policyName(), "P");
    EXPECT_EQ(onInterfaces->config(), state.config);
    EXPECT_EQ(onInterfaces->status(), state.interfaceInput);
    EXPECT_EQ(onInterfaces->counter(), command.snapshots);
    EXPECT_EQ(onInterfaces->fieldSetConfig(), state.fieldSetConfig);
    EXPECT_EQ(onInterfaces->trafficPolicyHwStatus(), state.hwStatus);
    EXPECT_EQ(onInterfaces->statusOutput(), state.interfaceOutput);
    EXPECT_EQ(onInterfaces->counterOutput(), command.outputSnapshots);
    EXPECT_EQ(onInterfaces->intfConfigInput(), state.intfConfigInput);
    EXPECT_EQ(onInterfaces->intfConfigOutput(), state.intfConfigOutput);
    EXPECT_EQ(onInterfaces->policyParamStatus(), state.intfParamStatus);
    const auto onCpu = SmallState::cpuShow(state, command);
    EXPECT_EQ(onCpu->status(), state.cpu);
    EXPECT_EQ(onCpu->vrfConfig(), state.vrfConfig);
    EXPECT_EQ(onCpu->allVrfConfig(), state.allVrfConfig);
    EXPECT_EQ(onCpu->l3IntfStatusDir(), state.l3IntfStatusDir);
    EXPECT_EQ(onCpu->iptablesStatus(), state.cpuSoftware);
    EXPECT_EQ(SmallState::vlanShow(state, command)->intfConfigBridged(), state.intfConfigBridged);
}

TEST(FrameFactories, buildByNameWhatTheyBuildThemselves) {
    for (const KindArguments& kind : kinds()) {
        SCOPED_TRACE(kind.type);
        const auto arguments = argumentsOf(kind);
        const auto show = Orb::typeByName(kind.type)->create(valuesOf(arguments));
        EXPECT_EQ(show->fwkType().name(), kind.type);
        auto values = attributesOf(*show);
        EXPECT_EQ(values["policyJsonDictKeyword"], "keyword");
        EXPECT_EQ(values["policyFeatureName"], "feature ");
        EXPECT_EQ(values["policyName"], "name");
        EXPECT_EQ(values["policyState"], "0 entries");
        EXPECT_EQ(values["inputCounterHelper"], "null");
        EXPECT_NE(values["fieldSetState"], "null");
        if (kind.madeLater.empty()) continue;
        EXPECT_EQ(values["outputCounterHelper"], "null");
        EXPECT_EQ(values["isInput"], "true");
    }
}

// Two policies, of which P counts.
State smallState() {
    return SmallState::stateOf(R"({
        "policyMapConfig":{
            "O":{"currCfg":{}},
            "P":{"currCfg":{"rules":[{"name":"r1","priority":1,"match":{"ipv4":{}},"action":{"count":{}}}]}}},
        "fieldSetConfig":{"fieldSetL4Port":{"PORTS":{"currCfg":{"ports":[1,"1-3"]}}}}})",
                               R"({
        "hwStatus":{},
        "interfaceInput":{"policyMapStatus":{"O":{},"P":{"classMapStatus":{"r1":["ipv4"]}}}},
        "cpu":{"policyMapStatus":{"O":{},"P":{"classMapStatus":{"r1":["ipv4"]},
            "classCounter":{"r1":{"uniqueId":1,"packets":7}}}}},
        "vlan":{"policyMapStatus":{"P":{"classMapStatus":{"r1":["ipv4"]}}}}})");
}

TEST(Frame, countersGoesBeforeEveryOtherView) {
    const State state = smallState();
    const Command plain{.counters = true};
    const Command all{.summary = true, .errors = true, .detail = true, .counters = true};
    EXPECT_EQ(shown(Kind::cpu, state, all, SmallState::text),
              "Traffic policy O\nTraffic policy P\n   match rule: r1: 7 packets\n");
    for (const Kind kind : {Kind::interface, Kind::cpu}) {
        EXPECT_EQ(shown(kind, state, all, SmallState::text),
                  shown(kind, state, plain, SmallState::text));
    }
    EXPECT_EQ(shown(Kind::vlan, state, all, SmallState::json), "") << "none for VLANs";
}

TEST(Frame, gathersFieldSetsOnlyWhenTheyAreConfigured) {
    State state = smallState();
    const auto with = SmallState::vlanShow(state);
    EXPECT_NE(shown(*with, SmallState::text), "");
    EXPECT_EQ(with->fieldSetState()->name(), "");
    EXPECT_EQ(with->fieldSetState()->l4PortFieldSet("PORTS")->totalEntries(), 3U);
    state.fieldSetConfig = nullptr;
    const auto without = SmallState::vlanShow(state);
    EXPECT_EQ(shown(*without, SmallState::text), shown(*with, SmallState::text));
    EXPECT_TRUE(without->fieldSetState()->l4PortFieldSet().empty());
}

TEST(Frame, recordsAreMadeOnceAndBearTheFlags) {
    const State state = smallState();
    const Command command{.summary = true, .errors = true, .outputOnly = true};
    for (const Kind kind : {Kind::interface, Kind::cpu, Kind::vlan}) {
        const auto show = SmallState::showOf(kind, state, command);
        const auto record = show->getOrCreatePolicyState("X");
        EXPECT_EQ(show->getOrCreatePolicyState("X"), record);
        EXPECT_NE(show->getOrCreatePolicyState("Y"), record);
        EXPECT_EQ(show->getOrCreatePolicyState("X"), record);
        EXPECT_EQ(show->policyState("X"), record.get());
        EXPECT_EQ(record->name(), "X");
        EXPECT_TRUE(record->summary() && record->errors() && !record->detail());
        EXPECT_EQ(record->indentCountPerLevel(), 3U);
        if (const auto onInterface = Orb::ptrCast<PolicyStateInterface>(record)) {
            EXPECT_EQ(kind, Kind::interface);
            EXPECT_TRUE(onInterface->filterOutputPolicies());
            EXPECT_FALSE(onInterface->filterInputPolicies());
        }
        show->policyStateDel("X");
        EXPECT_NE(show->getOrCreatePolicyState("X"), record);
    }
}

TEST(FrameDeathTest, refusesARecordOfAnotherKind) {
    const auto show = SmallState::cpuShow(smallState());
    show->policyStateIs("O", Orb::Ptr<PolicyState>(policyStateVAclFactory("O")));
    EXPECT_DEATH(show->cachePoliciesState(), "assertion failed: policyState != nullptr");
}

// A kind of its own whose slots do what a test asks.
class Steered : public ShowTrafficPolicyCpu {
  public:
    explicit Steered(const State& state)
        : ShowTrafficPolicyCpu(
              ShowArguments{"trafficPolicies", "Traffic policy ", state.config, state.cpu, nullptr,
                            "", false, false, false, false, false, nullptr, nullptr, nullptr},
              state.vrfConfig, nullptr, state.l3IntfStatusDir, state.cpuSoftware) {}
    void cachePolicyState(const Orb::String& policyName) override {
        gathered.push_back(policyName);
        ShowTrafficPolicyCpu::cachePolicyState(policyName);
        if (whileGathering) whileGathering();
    }
    void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                           const Orb::Ptr<const PolicyState>& record,
                           const Orb::Ptr<const PolicyMap::Action>& action, U32 indent) override {
        if (whileRendering) whileRendering();
        ShowTrafficPolicyCpu::renderCountAction(renderer, ruleIndex, record, action, indent);
    }
    Orb::Ptr<PolicyState> baseRecord() {
        return ShowTrafficPolicyBase::getOrCreatePolicyState("P");
    }

    std::vector<std::string> gathered;
    std::function<void()> whileGathering;
    std::function<void()> whileRendering;
};

TEST(Frame, baseKindMakesNoRecords) {
    EXPECT_EQ(Orb::make<Steered>(smallState())->baseRecord(), nullptr);
}

TEST(FrameInterrupt, whileGatheringEndsWithoutAView) {
    for (const U32 format : {SmallState::text, SmallState::json}) {
        const auto show = Orb::make<Steered>(smallState());
        show->whileGathering = [] { Orb::interruptRequestedIs(true); };
        const Captured::StandardOutput standardOutput;
        const std::string report = shown(*show, format);
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(report, "");
        EXPECT_EQ(standardOutput.text(), "exiting interrupted\n");
        EXPECT_THAT(show->gathered, ElementsAre("O"));
    }
}

TEST(FrameInterrupt, whilePrintingKeepsWhatWasPrinted) {
    const struct {
        U32 format;
        std::string report;
    } rows[] = {
        {SmallState::text,
         "Traffic policy O\n   Configured on CPU for VRFs: \n"
         "   Total number of rules configured: 0\n"
         "Traffic policy P\n   Configured on CPU for VRFs: \n"
         "   Total number of rules configured: 1\n      match r1 ipv4\n         Actions: \n"},
        {SmallState::json, R"({"trafficPolicies":{"O":{"configuredVrfs":[],"rules":[]},)"
                           R"("P":{"configuredVrfs":[],"rules":[{"ruleString":"r1",)"
                           R"("matchOption":"ipv4","actions":{}}]}})"},
    };
    for (const auto& row : rows) {
        const auto show = Orb::make<Steered>(smallState());
        show->whileRendering = [] { Orb::interruptRequestedIs(true); };
        const Captured::StandardOutput standardOutput;
        const std::string report = shown(*show, row.format);
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(report, row.report);
        EXPECT_EQ(standardOutput.text(), "exiting interrupted\n");
    }
}

TEST(Frame, otherExceptionsPassThrough) {
    const auto show = Orb::make<Steered>(smallState());
    show->whileGathering = [] { throw std::runtime_error("other"); };
    EXPECT_THROW(show->render(STDOUT_FILENO, 1, 2), std::runtime_error);
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    for (const Kind kind : {Kind::interface, Kind::cpu, Kind::vlan}) {
        EXPECT_THROW(SmallState::showOf(kind, smallState())->render(static_cast<U32>(full), 1, 2),
                     textout::WriteError);
    }
    EXPECT_THROW(
        SmallState::cpuShow(smallState(), {.counters = true})->render(static_cast<U32>(full), 2, 2),
        textout::WriteError);
    ::close(full);
}

TEST(YieldThreads, letsOthersInAndTakesTheLockAgain) {
    int shared = 0;  // guarded by the activity lock
    const Orb::ActivityLockGuard lock;
    std::thread other([&] {
        const Orb::ActivityLockGuard othersLock;
        ++shared;
    });
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (shared == 0 && std::chrono::steady_clock::now() < deadline)
        yieldActivityLock("prefixes");
    EXPECT_EQ(shared, 1);
    EXPECT_TRUE(Orb::activityLockHeld());
    other.join();
}

TEST(YieldThreads, leavesTwoMessagesInTheFlightRecorder) {
    const Orb::ActivityLockGuard lock;
    const auto begin = std::chrono::system_clock::now();
    yieldActivityLock("a label");
    std::vector<std::string> texts;
    std::vector<std::chrono::system_clock::time_point> times;
    for (const Blip::Message& message : Blip::messages()) {
        if (message.time < begin) continue;
        texts.push_back(message.text);
        times.push_back(message.time);
    }
    ASSERT_THAT(texts, ElementsAre("yielding activing lock: a label", "resuming"));
    EXPECT_GE(times[1] - times[0], std::chrono::milliseconds(1));
}

TEST(YieldDeathTest, asksForTheLock) {
    EXPECT_DEATH(yieldActivityLock("none"), "assertion failed: activityLockHeld\\(\\)");
}

}  // namespace
}  // namespace TrafficPolicyCli
