#include "cli/KnownNames.h"

#include <map>
#include <optional>

#include "base/Text.h"
#include "cli/Failures.h"
#include "orb/Nearest.h"

namespace Cli {

using Base::inQuotes;

namespace {

// The names that a collection is keyed by; a null owner has none.
template <class Collection>
void addKeys(Names& names, const Collection& collection) {
    for (const auto& entry : collection) {
        if constexpr (requires { entry.first; }) {
            names.insert(entry.first);
        } else {
            names.insert(entry.key);
        }
    }
}

// One place where policies can be: the points they are configured on, as the state has them, and
// the status that tells of them.
struct Place {
    std::string_view name;
    std::optional<PolicyKind> kind;  // of the command that lists what is here; none does: nothing
    std::multimap<std::string_view, std::string_view> policies;  // by point
    const TrafficPolicy::Status* status;

    bool isInStatus(std::string_view policy) const {
        return status != nullptr && status->policyMapStatus().contains(Orb::String(policy));
    }
    // "a, b, c" of the points with the policy; three names at most.
    std::string pointsOf(std::string_view policy) const {
        std::string text;
        int count = 0;
        for (const auto& [point, attached] : policies) {
            if (attached != policy) continue;
            if (++count > 3) return text + ", ...";
            text += (count == 1 ? "" : ", ") + Base::shortened(point);
        }
        return text;
    }
};

std::string_view nameOf(const Orb::String& name) { return name; }
std::string_view nameOf(const Wire::IntfId& intfId) { return intfId.stringValue(); }

template <class Config>
std::multimap<std::string_view, std::string_view> pointsOf(const Config& config) {
    std::multimap<std::string_view, std::string_view> points;
    if (!config) return points;
    PolicyMap::forEachAttachment(*config, [&](const auto& point, const Orb::String& policy) {
        points.emplace(nameOf(point), policy);
    });
    return points;
}

std::vector<Place> placesOf(const StateDirectory::State& state) {
    return {
        {"interfaces on input", PolicyKind::interface, pointsOf(state.intfConfigInput),
         state.interfaceInput.get()},
        {"interfaces on output", PolicyKind::interface, pointsOf(state.intfConfigOutput),
         state.interfaceOutput.get()},
        {"the CPU", PolicyKind::cpu, pointsOf(state.vrfConfig), state.cpu.get()},
        {"the kernel's filter", std::nullopt, {}, state.cpuSoftware.get()},
        {"VLANs", PolicyKind::vlan, pointsOf(state.intfConfigBridged), state.vlan.get()},
    };
}

template <class Interfaces>
void addInterfaces(Names& names, const Interfaces& interfaces) {
    for (const auto& entry : interfaces) {
        if constexpr (requires { entry.first; }) {
            names.insert(entry.first.stringValue());
        } else {
            names.insert(entry.key.stringValue());
        }
    }
}

template <class Visit>
void forEachVersion(const StateDirectory::State& state, Visit visit) {
    if (!state.config) return;
    for (const auto& [name, policy] : state.config->policyMapConfig()) {
        if (policy->currCfg()) visit(*policy->currCfg());
    }
}

void report(const std::string& name, std::string line, const Names& known) {
    if (name.empty() || known.contains(name)) return;
    const std::vector<std::string_view> candidates(known.begin(), known.end());
    line += " " + inQuotes(name);
    if (candidates.empty()) line += ", nor any other";
    const std::string_view nearest = Orb::nearest(name, candidates);
    if (!nearest.empty()) line += "; the nearest name is " + inQuotes(nearest);
    complain(line);
}

}  // namespace

Names policyNames(const StateDirectory::State& state) {
    Names names;
    if (state.config) addKeys(names, state.config->policyMapConfig());
    for (const Place& place : placesOf(state)) {
        if (place.status != nullptr) addKeys(names, place.status->policyMapStatus());
        for (const auto& [point, policy] : place.policies) names.insert(policy);
    }
    return names;
}

std::vector<std::string_view> placeWordsOf(std::string_view policy,
                                           const StateDirectory::State& state) {
    static constexpr std::string_view words[] = {"interface", "cpu", "vlan"};
    std::vector<std::string_view> found;
    for (const Place& place : placesOf(state)) {
        if (!place.kind || (place.pointsOf(policy).empty() && !place.isInStatus(policy))) continue;
        const std::string_view word = words[static_cast<int>(*place.kind)];
        if (found.empty() || found.back() != word) found.push_back(word);
    }
    return found;
}

Names counterNames(const StateDirectory::State& state) {
    Names names;
    forEachVersion(state, [&](const PolicyMap::PolicyMapSubConfig& version) {
        for (const Orb::String& name : version.namedCounter()) names.insert(name);
    });
    return names;
}

Names interfaceNames(const StateDirectory::State& state) {
    Names names;
    for (const auto* config : {&state.intfConfigInput, &state.intfConfigOutput}) {
        if (*config) addInterfaces(names, (*config)->intf());
    }
    for (const auto* status : {&state.interfaceInput, &state.interfaceOutput}) {
        if (!*status) continue;
        for (const auto& policy : (*status)->policyMapStatus()) {
            addInterfaces(names, policy.second->intfStatus());
        }
    }
    if (state.l3IntfStatusDir) addInterfaces(names, state.l3IntfStatusDir->intfStatus());
    return names;
}

Names vrfNames(const StateDirectory::State& state) {
    Names names;
    if (state.allVrfConfig) {
        for (const Orb::String& vrf : state.allVrfConfig->vrf()) names.insert(vrf);
    }
    if (state.vrfConfig) addKeys(names, state.vrfConfig->vrf());
    if (state.l3IntfStatusDir) {
        for (const auto& entry : state.l3IntfStatusDir->intfStatus()) {
            names.insert(entry.value->vrf());
        }
    }
    return names;
}

Names vlanNumbers(const StateDirectory::State& state) {
    Names intfIds;
    if (state.intfConfigBridged) addInterfaces(intfIds, state.intfConfigBridged->intf());
    if (state.vlan) {
        for (const auto& policy : state.vlan->policyMapStatus()) {
            addInterfaces(intfIds, policy.second->intfStatus());
        }
    }
    Names numbers;
    for (const auto& intfId : intfIds)
        numbers.insert(intfId.substr(std::string_view("Vlan").size()));
    return numbers;
}

Names nexthopGroupNames(const StateDirectory::State& state) {
    Names names;
    forEachVersion(state, [&](const PolicyMap::PolicyMapSubConfig& version) {
        for (const auto& entry : version.policyAction()) {
            const PolicyMap::Action* const action =
                entry.value->action(PolicyMap::ActionType::redirectNexthopGroup);
            if (action == nullptr) continue;
            const auto& groups =
                static_cast<const PolicyMap::RedirectNexthopGroupAction*>(action)->nexthopGroups();
            for (const Orb::String& group : groups) names.insert(group);
        }
    });
    return names;
}

void reportUnknownName(const std::string& name, std::string_view noun, const Names& known) {
    report(name, "there is no " + std::string(noun), known);
}

void reportUnknownPoint(const std::string& name, std::string_view noun, const Names& known) {
    report(name, "the state knows no " + std::string(noun), known);
}
void reportMissingPolicy(const std::string& name, PolicyKind kind,
                         const StateDirectory::State& state) {
    if (name.empty()) return;
    std::string elsewhere;
    for (const Place& place : placesOf(state)) {
        const std::string points = place.pointsOf(name);
        if (points.empty() && !place.isInStatus(name)) continue;
        if (place.kind == kind) return;
        elsewhere += (elsewhere.empty() ? "" : " and ") + std::string(place.name) + " (" +
                     (points.empty() ? "in the status only" : points) + ")";
    }
    static constexpr std::string_view asked[] = {"interfaces", "the CPU", "VLANs"};
    const std::string policy = "traffic policy " + inQuotes(name);
    if (!elsewhere.empty()) {
        complain(policy + " is not on " + std::string(asked[static_cast<int>(kind)]) +
                 "; it is on " + elsewhere);
    } else if (state.config && state.config->policyMapConfig(name) != nullptr) {
        complain(policy + " is configured, but not attached anywhere");
    } else {
        reportUnknownName(name, "traffic policy", policyNames(state));
    }
}

}  // namespace Cli
