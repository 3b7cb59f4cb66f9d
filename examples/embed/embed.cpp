// A host of the library in one file: it fills database objects by hand and shows a policy on the
// CPU as text and as JSON. Ctrl-C ends a report as it ends one of a switch.
#include <hive/Actions.h>
#include <hive/PolicyMapConfig.h>
#include <hive/PolicyMapStatus.h>
#include <orb/ActivityLock.h>
#include <orb/Interrupt.h>
#include <traffic-policy/Shows.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

constexpr auto ipv4 = PolicyMap::ClassMapMatchOption::ipv4;

// A policy with one rule, which drops UDP.
Orb::Ptr<TrafficPolicy::TrafficPolicyConfig> policies() {
    auto filter = Orb::make<Classification::StructuredFilter>();
    filter->protocolsIs(Classification::ProtocolRange(17, 17), nullptr);
    auto match = Orb::make<PolicyMap::ClassMapMatch>("no-udp", ipv4);
    match->structuredFilterIs(filter);
    auto rule = Orb::make<PolicyMap::ClassMapConfig>("no-udp");
    rule->matchIs(ipv4, match);
    auto actions = Orb::make<PolicyMap::PolicyClassAction>("no-udp");
    actions->actionIs(PolicyMap::ActionType::drop,
                      Orb::make<PolicyMap::Action>(PolicyMap::ActionType::drop));

    auto version = Orb::make<PolicyMap::PolicyMapSubConfig>("EXAMPLE");
    version->classPriorityIs(U32{10}, "no-udp");
    version->classMapIs("no-udp", rule);
    version->policyActionIs("no-udp", actions);
    auto policy = Orb::make<PolicyMap::PolicyMapConfig>("EXAMPLE");
    policy->currCfgIs(version);
    auto config = Orb::make<TrafficPolicy::TrafficPolicyConfig>();
    config->policyMapConfigIs("EXAMPLE", policy);
    return config;
}

// Where the platform says that it took the rule.
Orb::Ptr<TrafficPolicy::Status> installation() {
    auto rule = Orb::make<PolicyMap::ClassMapStatus>("no-udp");
    rule->matchIs(ipv4);
    auto policy = Orb::make<PolicyMap::PolicyMapStatus>("EXAMPLE");
    policy->classMapStatusIs("no-udp", rule);
    auto status = Orb::make<TrafficPolicy::Status>();
    status->policyMapStatusIs("EXAMPLE", policy);
    return status;
}

}  // namespace

int main() {
    std::signal(SIGINT, [](int) { Orb::interruptRequestedIs(true); });
    auto vrfs = Orb::make<PolicyMap::VrfConfig>();
    vrfs->vrfIs("default", "EXAMPLE");

    TrafficPolicyCli::CpuShow show;
    show.config = policies();
    show.status = installation();
    show.vrfConfig = vrfs;
    try {
        for (const U32 format : {1U, 2U}) {  // text, JSON
            const Orb::ActivityLockGuard lock;
            show.make()->render(STDOUT_FILENO, format, 2);
        }
    } catch (const textout::WriteError& error) {
        std::fprintf(stderr, "embed: %s\n", error.what());
        return 1;
    }
    return Orb::interruptRequested() ? 130 : 0;
}
