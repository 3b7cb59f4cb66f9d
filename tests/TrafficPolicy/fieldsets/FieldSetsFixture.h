// Field sets told as a state document tells them, and what is shown of them.
#pragma once

#include <gmock/gmock.h>

#include "SmallState.h"
#include "orb/ActivityLock.h"
#include "traffic-policy/ShowFieldSets.h"

namespace TrafficPolicyCli::FieldSets {

using Captured::MemoryFile;
using Classification::FieldSetConfig;
using Classification::PortRange;
using Classification::VlanRange;
using SmallState::json;
using SmallState::text;

inline Wire::IpGenPrefix prefix(std::string_view told) { return *Wire::IpGenPrefix::parse(told); }

inline Orb::Ptr<const FieldSetConfig> configOf(const std::string& fieldSets) {
    return SmallState::stateOf("{\"fieldSetConfig\":{" + fieldSets + "}}", "{}").fieldSetConfig;
}

// A set of prefixes, which are inserted in any order.
inline Orb::Ptr<Classification::FieldSetIpPrefixConfig> prefixSet(
    const std::string& name, const Orb::Ptr<Classification::FieldSetIpPrefixSubConfig>& version) {
    const auto set = Orb::make<Classification::FieldSetIpPrefixConfig>(name);
    version->contentsSourceIs(Classification::ContentsSource::configured);
    set->currCfgIs(version);
    return set;
}

// Renders a show object, with the activity lock held as a host does.
template <class Show>
std::string shown(const Orb::Ptr<Show>& show, U32 format) {
    const MemoryFile file;
    const Orb::ActivityLockGuard locked;
    show->render(static_cast<U32>(file.fd()), format, 2);
    return file.text();
}

// Which sets a command asks for.
enum class Of { ipv4, ipv6, ports, vlans };
struct Question {
    Of kind = Of::ipv4;
    std::string name{};
    std::string filter{};  // a prefix, or a range; empty: none
    bool exact = false;
};

inline std::string listing(const Orb::Ptr<const FieldSetConfig>& config, U32 format,
                           const Question& question = {}) {
    const auto& [kind, name, filter, exact] = question;
    const bool filters = !filter.empty();
    if (kind == Of::ipv4 || kind == Of::ipv6) {
        return shown(showTrafficPolicyPrefixFieldSetFactory(
                         config, name, kind == Of::ipv4, filters,
                         filters ? prefix(filter) : Wire::IpGenPrefix(), exact),
                     format);
    }
    U32 low = 0;
    U32 high = 0;
    if (std::sscanf(filter.c_str(), "%u-%u", &low, &high) == 1) high = low;
    return kind == Of::ports ? shown(showTrafficPolicyL4PortFieldSetFactory(config, name, filters,
                                                                            PortRange(low, high)),
                                     format)
                             : shown(showTrafficPolicyVlanFieldSetFactory(config, name, filters,
                                                                          VlanRange(low, high)),
                                     format);
}

}  // namespace TrafficPolicyCli::FieldSets
