#include "cli/KnownNames.h"

#include <cstdio>
#include <vector>

#include "cli/CommandError.h"
#include "orb/Nearest.h"

namespace Cli {

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

template <class Collection>
Names keysOf(const Collection& collection) {
    Names names;
    addKeys(names, collection);
    return names;
}

// The policies that points (interfaces, VLANs, VRFs) are configured with.
template <class Points>
void addPolicies(Names& names, const Points& points) {
    for (const auto& entry : points) names.insert(entry.value);
}

}  // namespace

Names policyNames(const StateDirectory::State& state) {
    Names names;
    if (state.config) addKeys(names, state.config->policyMapConfig());
    for (const auto* status : {&state.interfaceInput, &state.interfaceOutput, &state.cpu,
                               &state.cpuSoftware, &state.vlan}) {
        if (*status) addKeys(names, (*status)->policyMapStatus());
    }
    for (const auto* points :
         {&state.intfConfigInput, &state.intfConfigOutput, &state.intfConfigBridged}) {
        if (*points) addPolicies(names, (*points)->intf());
    }
    if (state.vrfConfig) addPolicies(names, state.vrfConfig->vrf());
    return names;
}

Names prefixFieldSetNames(const StateDirectory::State& state, bool ipv4) {
    if (!state.fieldSetConfig) return {};
    return keysOf(ipv4 ? state.fieldSetConfig->fieldSetIpPrefix()
                       : state.fieldSetConfig->fieldSetIpv6Prefix());
}

Names portFieldSetNames(const StateDirectory::State& state) {
    return state.fieldSetConfig ? keysOf(state.fieldSetConfig->fieldSetL4Port()) : Names();
}

Names vlanFieldSetNames(const StateDirectory::State& state) {
    return state.fieldSetConfig ? keysOf(state.fieldSetConfig->fieldSetVlan()) : Names();
}

Names macFieldSetNames(const StateDirectory::State& state) {
    Names names;
    for (const auto& [sourceName, entry] : state.macDir->entry()) {
        if (const auto source = Orb::ptrCast<const Orb::Dir>(entry)) {
            addKeys(names, source->entry());
        }
    }
    return names;
}

void reportUnknownName(const std::string& name, std::string_view noun, const Names& known) {
    if (name.empty() || known.contains(name)) return;
    const std::vector<std::string_view> candidates(known.begin(), known.end());
    std::string line = "tpcli: no " + std::string(noun) + " " + quoted(name) + " is known";
    if (candidates.empty()) {
        line += ", nor any other";
    } else {
        line += "; the nearest name is " + quoted(std::string(Orb::nearest(name, candidates)));
    }
    std::fprintf(stderr, "%s\n", line.c_str());
}

}  // namespace Cli
