// Show objects from their making to the end of render: arguments, the choice of the view,
// interrupts and failures, and the yielding of the activity lock.
#include <fcntl.h>
#include <gmock/gmock.h>

#include <thread>

#include "SmallState.h"
#include "frame/Yield.h"
#include "orb/ActivityLock.h"

namespace TrafficPolicyCli {
namespace {

using Captured::MemoryFile;
using SmallState::Command;
using SmallState::ShowKind;
using SmallState::shown;
using SmallState::State;
using std::string;

// An argument of a kind, and how its attribute reads: "name=value", objects by their address.
struct Argument {
    Argument(const string& name, const char* text) : value(string(text)), line(name + "=" + text) {}
    Argument(const string& name, bool flag)
        : value(flag), line(name + (flag ? "=true" : "=false")) {}
    template <class T>
    Argument(const string& name, const Orb::Ptr<T>& object)
        : value(object), line(name + "=" + addressOf(object.get())) {}

    static string addressOf(const void* object) {
        return object == nullptr ? "null"
                                 : std::to_string(reinterpret_cast<std::uintptr_t>(object));
    }

    std::any value;
    string line;
};

std::vector<Argument> sharedArguments(ShowKind kind, const State& state, const Command& command) {
    return {{"policyJsonDictKeyword", "trafficPolicies"},
            {"policyFeatureName", "Traffic policy "},
            {"config", state.config},
            {"status", kind == ShowKind::interface ? state.interfaceInput
                       : kind == ShowKind::cpu     ? state.cpu
                                                   : state.vlan},
            {"counter", command.snapshots},
            {"policyName", "name"},
            {"summary", command.summary},
            {"errors", command.errors},
            {"detail", command.detail},
            {"counters", command.counters},
            {"byteCountersSupported", command.bytes},
            {"fieldSetConfig", state.fieldSetConfig},
            {"trafficPolicyHwStatus", state.hwStatus},
            {"policyMapCounters", command.inputStore}};
}

std::vector<Argument> ownArguments(ShowKind kind, const State& state, const Command& command) {
    if (kind == ShowKind::vlan) return {{"intfConfigBridged", state.intfConfigBridged}};
    if (kind == ShowKind::cpu) {
        return {{"vrfConfig", state.vrfConfig},
                {"allVrfConfig", state.allVrfConfig},
                {"l3IntfStatusDir", state.l3IntfStatusDir},
                {"iptablesStatus", state.cpuSoftware}};
    }
    return {{"statusOutput", state.interfaceOutput},
            {"counterOutput", command.outputSnapshots},
            {"intfConfigInput", state.intfConfigInput},
            {"intfConfigOutput", state.intfConfigOutput},
            {"policyParamStatus", state.intfParamStatus},
            {"policyMapCountersOutput", command.outputStore},
            {"filterInputPolicies", command.inputOnly},
            {"filterOutputPolicies", command.outputOnly}};
}

// The attributes in their order; of the record of field sets only that it is there.
std::vector<string> linesOf(const Orb::PtrInterface& object) {
    std::vector<string> lines;
    for (const Orb::Attribute& attribute : object.fwkType().attributes()) {
        const Orb::Value value = attribute.value(object);
        string text = "null";
        if (const auto* flag = std::get_if<bool>(&value)) text = *flag ? "true" : "false";
        if (const auto* name = std::get_if<Orb::String>(&value)) text = *name;
        if (std::holds_alternative<std::vector<Orb::ValueEntry>>(value)) text = "entries";
        if (const auto* pointer = std::get_if<Orb::Ptr<const Orb::PtrInterface>>(&value)) {
            text = attribute.name == "fieldSetState" ? "made" : Argument::addressOf(pointer->get());
        }
        lines.push_back(string(attribute.name) + "=" + text);
    }
    return lines;
}

// By the factories and by name. One flag is set at a time, so that no two can be mistaken.
TEST(FrameFactories, storeEveryArgumentWhereItBelongs) {
    using PolicyMap::Counters::Direction;
    using PolicyMap::Counters::PolicyMapTypeCounters;
    const State state = SmallState::stateOf(R"({"policyMapConfig":{},"fieldSetConfig":{},
        "intfConfigInput":{},"intfConfigOutput":{},"intfConfigBridged":{},"vrfConfig":{},
        "allVrfConfig":[],"l3IntfStatusDir":{}})",
                                            R"({"hwStatus":{},"intfParamStatus":{},
        "interfaceInput":{},"interfaceOutput":{},"cpu":{},"cpuSoftware":{},"vlan":{}})");
    const std::pair<ShowKind, string> kinds[] = {
        {ShowKind::interface, "Interface"}, {ShowKind::cpu, "Cpu"}, {ShowKind::vlan, "VAcl"}};
    for (bool Command::*const flag :
         {&Command::summary, &Command::errors, &Command::detail, &Command::counters,
          &Command::bytes, &Command::inputOnly, &Command::outputOnly}) {
        Command command{
            .policyName = "name",
            .snapshots = Orb::make<TrafficPolicy::Counter>(),
            .outputSnapshots = Orb::make<TrafficPolicy::Counter>(),
            .inputStore = Orb::make<PolicyMapTypeCounters>(nullptr, Direction::input),
            .outputStore = Orb::make<PolicyMapTypeCounters>(nullptr, Direction::output)};
        command.*flag = true;
        for (const auto& [kind, name] : kinds) {
            std::vector<std::any> values;
            std::vector<string> lines;
            const auto add = [&](const std::vector<Argument>& arguments) {
                for (const Argument& argument : arguments) {
                    values.push_back(argument.value);
                    lines.push_back(argument.line);
                }
            };
            add(sharedArguments(kind, state, command));
            for (const char* const made :
                 {"fieldSetState=made", "policyState=entries", "inputCounterHelper=null"}) {
                lines.emplace_back(made);
            }
            add(ownArguments(kind, state, command));
            if (kind == ShowKind::interface) {
                lines.insert(lines.end(), {"outputCounterHelper=null", "isInput=true"});
            }
            const string type = "TrafficPolicyCli::ShowTrafficPolicy" + name;
            EXPECT_EQ(linesOf(*SmallState::showOf(kind, state, command)), lines);
            const auto byName = Orb::typeByName(type)->create(values);
            EXPECT_EQ(linesOf(*byName), lines);
            EXPECT_EQ(byName->fwkType().name(), type);
        }
    }
}

// Two policies, of which P counts.
State smallState() {
    return SmallState::stateOf(R"({
        "policyMapConfig":{
            "O":{"currCfg":{}},
            "P":{"currCfg":{"rules":[{"name":"r1","priority":1,"match":{"ipv4":{}},"action":{"count":{}}}]}}}})",
                               R"({
        "hwStatus":{},
        "interfaceInput":{"policyMapStatus":{"O":{},"P":{"classMapStatus":{"r1":["ipv4"]}}}},
        "cpu":{"policyMapStatus":{"O":{},"P":{"classMapStatus":{"r1":["ipv4"]},
            "classCounter":{"r1":{"uniqueId":1,"packets":7}}}}},
        "vlan":{"policyMapStatus":{"P":{"classMapStatus":{"r1":["ipv4"]}}}}})");
}

TEST(Frame, countersGoesBeforeEveryOtherView) {
    const State state = smallState();
    const Command all{.summary = true, .errors = true, .detail = true, .counters = true};
    EXPECT_EQ(shown(ShowKind::cpu, state, all, SmallState::text),
              "Traffic policy O\nTraffic policy P\n   match rule: r1: 7 packets\n");
    EXPECT_EQ(shown(ShowKind::vlan, state, all, SmallState::json), "") << "none for VLANs";
}

TEST(Frame, makesARecordAnewThatWasRemoved) {
    const auto show = SmallState::cpuShow(smallState());
    const auto record = show->getOrCreatePolicyState("X");
    EXPECT_EQ(show->getOrCreatePolicyState("X"), record);
    show->policyStateDel("X");
    EXPECT_NE(show->getOrCreatePolicyState("X"), record);
    show->policyStateDelAll();  // with the record that was asked for last
    EXPECT_EQ(show->getOrCreatePolicyState("Y")->name(), "Y");
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
        ShowTrafficPolicyCpu::cachePolicyState(policyName);
        if (whileGathering) whileGathering();
    }
    void renderCountAction(textout::RendererV2* renderer, U32 ruleIndex,
                           const Orb::Ptr<const PolicyState>& record,
                           const Orb::Ptr<const PolicyMap::Action>& action, U32 indent) override {
        if (whileRendering) whileRendering();
        ShowTrafficPolicyCpu::renderCountAction(renderer, ruleIndex, record, action, indent);
    }

    std::function<void()> whileGathering;
    std::function<void()> whileRendering;
};

TEST(FrameInterrupt, keepsWhatWasPrinted) {
    const string text =
        "Traffic policy O\n   Configured on CPU for VRFs: \n"
        "   Total number of rules configured: 0\n"
        "Traffic policy P\n   Configured on CPU for VRFs: \n"
        "   Total number of rules configured: 1\n      match r1 ipv4\n         Actions: \n";
    const string json = R"({"trafficPolicies":{"O":{"configuredVrfs":[],"rules":[]},)"
                        R"("P":{"configuredVrfs":[],"rules":[{"ruleString":"r1",)"
                        R"("matchOption":"ipv4","actions":{}}]}})";
    for (const U32 format : {SmallState::text, SmallState::json}) {
        for (const bool whileGathering : {true, false}) {
            const auto show = Orb::make<Steered>(smallState());
            (whileGathering ? show->whileGathering : show->whileRendering) = [] {
                Orb::interruptRequestedIs(true);
            };
            const Captured::StandardOutput standardOutput;
            const string report = shown(*show, format);
            Orb::interruptRequestedIs(false);
            EXPECT_EQ(standardOutput.text(), "exiting interrupted\n");
            EXPECT_EQ(report, whileGathering ? "" : format == SmallState::text ? text : json);
            EXPECT_EQ(show->policyState().size(), whileGathering ? 1U : 2U);
        }
    }
}

TEST(Frame, otherExceptionsPassThrough) {
    const auto show = Orb::make<Steered>(smallState());
    show->whileGathering = [] { throw std::runtime_error("other"); };
    EXPECT_THROW(show->render(STDOUT_FILENO, 1, 2), std::runtime_error);
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    for (const ShowKind kind : {ShowKind::interface, ShowKind::cpu, ShowKind::vlan}) {
        EXPECT_THROW(SmallState::showOf(kind, smallState())->render(static_cast<U32>(full), 1, 2),
                     textout::WriteError);
    }
    EXPECT_THROW(
        SmallState::cpuShow(smallState(), {.counters = true})->render(static_cast<U32>(full), 2, 2),
        textout::WriteError);
    ::close(full);
}

TEST(YieldThreads, letsOthersInForAMillisecondAndTakesTheLockAgain) {
    int shared = 0;  // guarded by the activity lock
    const Orb::ActivityLockGuard lock;
    std::thread other([&] {
        const Orb::ActivityLockGuard othersLock;
        ++shared;
    });
    const auto begin = std::chrono::steady_clock::now();
    yieldActivityLock("prefixes");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1));
    while (shared == 0 && std::chrono::steady_clock::now() < begin + std::chrono::seconds(30)) {
        yieldActivityLock("prefixes");
    }
    EXPECT_EQ(shared, 1);
    EXPECT_TRUE(Orb::activityLockHeld());
    other.join();
}

TEST(YieldDeathTest, asksForTheLock) {
    EXPECT_DEATH(yieldActivityLock("none"), "assertion failed: activityLockHeld\\(\\)");
}

}  // namespace
}  // namespace TrafficPolicyCli
