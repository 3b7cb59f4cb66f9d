// The state of a switch as the documents of one directory tell it. docs/state.md shows every key.
#pragma once

#include <optional>
#include <string>

#include "hive/Attachments.h"
#include "hive/FieldSets.h"
#include "hive/PolicyMapConfig.h"
#include "hive/PolicyMapStatus.h"
#include "orb/Dir.h"
#include "orb/Seconds.h"
#include "state/StateError.h"
#include "state/Wanted.h"

namespace StateDirectory {

// What the show commands take. A pointer is null when its document has no such object; only macDir
// never is.
struct State {
    // From config.json.
    Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> config;
    Orb::Ptr<const Classification::FieldSetConfig> fieldSetConfig;
    // A directory per source of MAC field sets, which holds a FieldSetMacAddrConfig per set.
    Orb::Ptr<const Orb::Dir> macDir;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigInput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigOutput;
    Orb::Ptr<const PolicyMap::IntfConfig> intfConfigBridged;
    Orb::Ptr<const PolicyMap::VrfConfig> vrfConfig;
    Orb::Ptr<const Ip::AllVrfConfig> allVrfConfig;
    Orb::Ptr<const L3::Intf::StatusDir> l3IntfStatusDir;

    // From status.json.
    Orb::String source;                // where the state came from; empty: not told
    std::optional<Orb::Seconds> time;  // when
    Orb::Ptr<const TrafficPolicy::HwStatus> hwStatus;
    Orb::Ptr<const TrafficPolicy::TrafficPolicyIntfParamStatus> intfParamStatus;
    Orb::Ptr<const TrafficPolicy::Status> interfaceInput;
    Orb::Ptr<const TrafficPolicy::Status> interfaceOutput;
    Orb::Ptr<const TrafficPolicy::Status> cpu;
    Orb::Ptr<const TrafficPolicy::Status> cpuSoftware;
    Orb::Ptr<const TrafficPolicy::Status> vlan;
    Orb::Seconds statusWritten{0};  // when the document was written that was read
};

// Reads config.json and status.json, on two threads; of a directory that is imported into those of
// one import. Throws StateError when either is missing, unreadable, larger than 1 GiB or has a
// mistake; of two faulty documents config.json is reported. wanted: of what nobody wants not every
// mistake is found, see docs/state.md.
State readState(const std::string& directory, const Wanted& wanted = {});

// The documents that are read back as the same state. A line for each rule and each record of the
// status. Throws StateError when the state holds a name that the reader would refuse.
std::string configText(const State& state);
std::string statusText(const State& state);

}  // namespace StateDirectory
