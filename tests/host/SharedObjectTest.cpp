// The shared object as a process sees it that loads it: what it exports, and that lock, interrupt
// flag, trace levels, message ring, type registry and live counts are the process's own.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstdio>
#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "Captured.h"
#include "blip/Blip.h"
#include "orb/ActivityLock.h"
#include "orb/Interrupt.h"
#include "traffic-policy/ShowFieldSets.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::StartsWith;

Orb::Ptr<TrafficPolicyCli::ShowTrafficPolicyVAcl> showOfOnePolicy() {
    auto currCfg = Orb::make<PolicyMap::PolicyMapSubConfig>("ISOLATION");
    currCfg->classPriorityIs(10, "web");
    auto policy = Orb::make<PolicyMap::PolicyMapConfig>("ISOLATION");
    policy->currCfgIs(Orb::Ptr<const PolicyMap::PolicyMapSubConfig>(currCfg));
    auto config = Orb::make<TrafficPolicy::TrafficPolicyConfig>();
    config->policyMapConfigIs("ISOLATION", Orb::Ptr<const PolicyMap::PolicyMapConfig>(policy));
    auto policyStatus = Orb::make<PolicyMap::PolicyMapStatus>("ISOLATION");
    auto status = Orb::make<TrafficPolicy::Status>();
    status->policyMapStatusIs("ISOLATION",
                              Orb::Ptr<const PolicyMap::PolicyMapStatus>(policyStatus));
    return TrafficPolicyCli::showTrafficPolicyVAclFactory(
        "trafficPolicies", "Traffic policy ", config, status, nullptr, "", false, false, false,
        false, false, nullptr, nullptr, nullptr, nullptr);
}

// Renders the object; returns what it has printed.
template <class Show>
std::string printed(Show& show, U32 format) {
    const Captured::MemoryFile file;
    const Orb::ActivityLockGuard lock;
    show.render(static_cast<U32>(file.fd()), format, 2);
    EXPECT_TRUE(Orb::activityLockHeld());
    return file.text();
}

std::map<std::string, U64> liveCounts() {
    std::map<std::string, U64> counts;
    for (const Orb::TypeInfo* type : Orb::registeredTypes())
        counts[type->name()] = type->liveCount();
    return counts;
}

TEST(SharedObject, keepsItsTypesInTheProcessesRegistry) {
    std::set<std::string> names;
    for (const Orb::TypeInfo* type : Orb::registeredTypes()) names.insert(type->name());
    EXPECT_EQ(names.size(), Orb::registeredTypes().size()) << "a name stands twice";
    EXPECT_THAT(names,
                IsSupersetOf({"TrafficPolicyCli::ShowTrafficPolicyVAcl",
                              "TrafficPolicyCli::PolicyState", "PolicyMap::PolicyMapConfig"}));
    const auto* const type = Orb::typeByName("TrafficPolicyCli::ShowTrafficPolicyMacFieldSet");
    const auto object = type->create({nullptr, std::string("PRINTERS")});
    EXPECT_EQ(&object->fwkType(), type);
    const auto target = Orb::make<TrafficPolicy::Counter>();
    const auto helperOf = [&](const char* store, const std::vector<std::any>& arguments) {
        const std::string name =
            std::string("TrafficPolicyCli::TrafficPolicy") + store + "CounterSnapshotHelper";
        return Orb::typeByName(name)->create(Orb::TypeInfo::Arguments(arguments));
    };
    EXPECT_TRUE(helperOf("Hive", {nullptr, target})->hasNotificationActive());
    EXPECT_TRUE(helperOf("Reef", {nullptr, target, true})->hasNotificationActive());
}

TEST(SharedObject, countsItsRecordsAndTracesWhereTheProcessSeesThem) {
    const auto before = liveCounts();
    const Captured::Traces traces("TrafficPolicyShowCliHelper", 8);
    {
        const auto show = showOfOnePolicy();
        EXPECT_THAT(printed(*show, 1), StartsWith("Traffic policy ISOLATION\n"));
        EXPECT_EQ(Orb::typeByName("TrafficPolicyCli::PolicyState")->liveCount(),
                  before.at("TrafficPolicyCli::PolicyState") + 1);
    }
    EXPECT_EQ(liveCounts(), before);
    EXPECT_THAT(traces.lines(), Contains(StartsWith("8 ")));
}

TEST(SharedObject, endsAReportByTheProcessesInterrupt) {
    const auto before = liveCounts();
    for (const U32 format : {1U, 2U}) {
        testing::internal::CaptureStdout();
        Orb::interruptRequestedIs(true);
        EXPECT_THAT(printed(*showOfOnePolicy(), format), IsEmpty());
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "exiting interrupted\n");
    }
    EXPECT_EQ(liveCounts(), before);
}

// A long sort gives up the lock that the process holds, and says so in the process's ring.
TEST(SharedObject, yieldsTheProcessesActivityLock) {
    auto currCfg = Orb::make<Classification::FieldSetIpPrefixSubConfig>();
    for (U32 i = 0; i < 30'000; ++i) {
        currCfg->prefixesIs(Wire::IpGenPrefix(Wire::IpGenAddr::ipv4(i), 32));
    }
    auto set = Orb::make<Classification::FieldSetIpPrefixConfig>("LARGE");
    set->currCfgIs(Orb::Ptr<const Classification::FieldSetIpPrefixSubConfig>(currCfg));
    auto config = Orb::make<Classification::FieldSetConfig>();
    config->fieldSetIpPrefixIs("LARGE",
                               Orb::Ptr<const Classification::FieldSetIpPrefixConfig>(set));
    const auto show = TrafficPolicyCli::showTrafficPolicyPrefixFieldSetFactory(
        config, "", true, false, Wire::IpGenPrefix(), false);
    printed(*show, 2);
    std::vector<std::string> texts;
    for (const Blip::Message& message : Blip::messages()) texts.push_back(message.text);
    EXPECT_THAT(texts, Contains("yielding activing lock: sort prefixes"));
}

std::string exportsOf(const void* function) {
    Dl_info object{};
    if (::dladdr(function, &object) == 0) return "";
    const std::string command =
        "nm --dynamic --defined-only --demangle '" + std::string(object.dli_fname) + "'";
    std::string text;
    FILE* const pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return "";
    char buffer[4096];
    while (const std::size_t count = std::fread(buffer, 1, sizeof buffer, pipe)) {
        text.append(buffer, count);
    }
    return ::pclose(pipe) == 0 ? text : "";
}

// Of its own it shows the factories, what their objects are asked to do, and its types. Templates
// and types of the platform that it uses are weak symbols, shared with whoever uses them too.
TEST(SharedObject, exportsOnlyItsInterface) {
    const std::regex interface(
        R"(TrafficPolicyCli::(show\w+Factory|trafficPolicy\w+CounterSnapshotHelperFactory|)"
        R"(ShowTrafficPolicy[A-Za-z4]+Is|TrafficPolicy\w+HelperIs|)"
        R"(trafficPolicyProblemsNotShown|trafficPolicyHealth|)"
        R"(Diagnosis::(Packet::\w+|fieldName|protocolHasPorts)|)"
        R"((ShowTrafficPolicy\w+::render)|(ShowTrafficPolicyCapture::(packetIs|undecodedIs))|(ShowTrafficPolicyRates::look)|)"
        R"((TrafficPolicy\w+::clearCounter))\(.*)");
    const std::regex typeRegistration(
        R"((guard variable for |reference temporary .* for )?TrafficPolicyCli::\w+::)"
        R"((orbType\(\)(::type)?|\w+_))"
        R"(|std::any::_Manager_\w+<TrafficPolicyCli::\w+>::_S_manage\(.*)"
        R"(|void\* std::__any_caster<TrafficPolicyCli::\w+>\(.*)"
        R"(|typeinfo (name )?for TrafficPolicyCli::((Holding|Reference)Kind|RateScope))"
        R"(|.*\bTrafficPolicyCli::Diagnosis::Packet\b.*)");
    std::istringstream lines(
        exportsOf(reinterpret_cast<const void*>(&TrafficPolicyCli::showTrafficPolicyVAclFactory)));
    std::string address, kind, name;
    std::set<std::string> functions;
    while (lines >> address >> kind && std::getline(lines >> std::ws, name)) {
        const bool isShared = kind == "V" || kind == "W" || kind == "u";
        if (!isShared) {
            EXPECT_TRUE(std::regex_match(name, interface)) << kind << " " << name;
            functions.insert(name.substr(0, name.find('(')));
        } else if (!name.starts_with("std::") &&
                   name.find("TrafficPolicyCli::") != std::string::npos) {
            EXPECT_TRUE(std::regex_match(name, typeRegistration)) << kind << " " << name;
        }
    }
    std::size_t factories = 0;
    for (const std::string& function : functions) {
        if (!function.ends_with("Factory")) continue;
        ++factories;
        std::string creator = function.substr(0, function.size() - 7) + "Is";
        char& first = creator[creator.rfind(':') + 1];
        first = static_cast<char>(std::toupper(first));
        EXPECT_TRUE(functions.contains(creator)) << creator;
    }
    EXPECT_GE(factories, 9U);
}

}  // namespace
