#include "state/Wanted.h"

#include <set>

#include "state/State.h"

namespace StateDirectory {

namespace {

using PolicyNames = std::set<std::string, std::less<>>;

void addReported(PolicyNames& names, const Orb::Ptr<const TrafficPolicy::Status>& status) {
    if (!status) return;
    for (const auto& entry : status->policyMapStatus()) names.insert(entry.first);
}

template <class Config>
void addAttached(PolicyNames& names, const Orb::Ptr<const Config>& config) {
    if (!config) return;
    PolicyMap::forEachAttachment(
        *config, [&](const auto&, const Orb::String& policy) { names.insert(policy); });
}

}  // namespace

std::function<bool(std::string_view)> wantedPolicies(const Wanted& wanted, const State& state) {
    PolicyNames names;
    switch (wanted.policies) {
        case Wanted::Policies::named:
            names.insert(wanted.policy);
            break;
        case Wanted::Policies::onCpu:
            addAttached(names, state.vrfConfig);
            addReported(names, state.cpu);
            addReported(names, state.cpuSoftware);
            break;
        case Wanted::Policies::onVlans:
            addAttached(names, state.intfConfigBridged);
            addReported(names, state.vlan);
            break;
        case Wanted::Policies::all:
        case Wanted::Policies::points:
        case Wanted::Policies::none:
            break;
    }
    return [names = std::move(names)](std::string_view name) { return names.contains(name); };
}

}  // namespace StateDirectory
