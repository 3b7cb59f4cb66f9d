// Field sets: named sets of prefixes, ports, VLANs or MAC addresses that rules refer to. A set has
// a current version, or none (currCfg null). A version never changes once it is published in a set:
// a change publishes a new one, so whoever holds a Ptr to a version may walk it without the lock.
#pragma once

#include "hive/Ranges.h"
#include "orb/Dir.h"
#include "orb/HashMap2018.h"
#include "orb/Type.h"
#include "wire/EthAddr.h"
#include "wire/IpGenPrefix.h"

namespace Classification {

enum class ContentsSource : U8 { other = 0, configured = 1, bgp = 2, url = 3 };

// Where a version's contents come from.
class ORB_EXPORT FieldSetSubConfig : public Orb::PtrInterface {
    ORB_TYPE(FieldSetSubConfig)
    ORB_ATTRIBUTE(contentsSource, ContentsSource)
    ORB_ATTRIBUTE(urlPath, Orb::String)  // of the source url
    ORB_ATTRIBUTE(urlVrf, Orb::String)   // VRF through which the URL is reached; may be empty
};

class ORB_EXPORT FieldSetIpPrefixSubConfig : public FieldSetSubConfig {
    ORB_DERIVED_TYPE(FieldSetIpPrefixSubConfig, FieldSetSubConfig)
    ORB_CONSTRUCTIBLE(FieldSetIpPrefixSubConfig)
    ORB_ATTRIBUTE(prefixes, Orb::HashSet2018<Wire::IpGenPrefix>)
    ORB_ATTRIBUTE(exceptPrefixes, Orb::HashSet2018<Wire::IpGenPrefix>)
};

class ORB_EXPORT FieldSetL4PortSubConfig : public FieldSetSubConfig {
    ORB_DERIVED_TYPE(FieldSetL4PortSubConfig, FieldSetSubConfig)
    ORB_CONSTRUCTIBLE(FieldSetL4PortSubConfig)
    ORB_ATTRIBUTE(ports, Orb::HashSet2018<PortRange>)

    // How many distinct ports the ranges cover.
    U64 numPorts() const;
};

class ORB_EXPORT FieldSetVlanSubConfig : public FieldSetSubConfig {
    ORB_DERIVED_TYPE(FieldSetVlanSubConfig, FieldSetSubConfig)
    ORB_CONSTRUCTIBLE(FieldSetVlanSubConfig)
    ORB_ATTRIBUTE(vlans, Orb::HashSet2018<VlanRange>)

    // How many distinct VLANs the ranges cover.
    U64 numVlans() const;
};

class ORB_EXPORT FieldSetMacAddrSubConfig : public Orb::PtrInterface {
    ORB_TYPE(FieldSetMacAddrSubConfig)
    ORB_CONSTRUCTIBLE(FieldSetMacAddrSubConfig)
    ORB_ATTRIBUTE(macAddrs, Orb::HashSet2018<Wire::EthAddr>)
};

// A set of one kind: its name and its current version.
class ORB_EXPORT FieldSetIpPrefixConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(FieldSetIpPrefixConfig, name, Orb::String)
    ORB_ATTRIBUTE(currCfg, Orb::Ptr<const FieldSetIpPrefixSubConfig>)
};

class ORB_EXPORT FieldSetL4PortConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(FieldSetL4PortConfig, name, Orb::String)
    ORB_ATTRIBUTE(currCfg, Orb::Ptr<const FieldSetL4PortSubConfig>)
};

class ORB_EXPORT FieldSetVlanConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(FieldSetVlanConfig, name, Orb::String)
    ORB_ATTRIBUTE(currCfg, Orb::Ptr<const FieldSetVlanSubConfig>)
};

// MAC field sets stand in a directory per source, and the sources in one directory (Orb::Dir).
class ORB_EXPORT FieldSetMacAddrConfig : public Orb::PtrInterface {
    ORB_KEYED_TYPE(FieldSetMacAddrConfig, name, Orb::String)
    ORB_ATTRIBUTE(currCfg, Orb::Ptr<const FieldSetMacAddrSubConfig>)
};

// The sets that rules refer to, by kind and name. One name may stand in several kinds.
class ORB_EXPORT FieldSetConfig : public Orb::PtrInterface {
    ORB_TYPE(FieldSetConfig)
    ORB_CONSTRUCTIBLE(FieldSetConfig)
    ORB_ATTRIBUTE(fieldSetIpPrefix,
                  Orb::HashMap2018<Orb::String, Orb::Ptr<const FieldSetIpPrefixConfig>>)
    ORB_ATTRIBUTE(fieldSetIpv6Prefix,
                  Orb::HashMap2018<Orb::String, Orb::Ptr<const FieldSetIpPrefixConfig>>)
    ORB_ATTRIBUTE(fieldSetL4Port,
                  Orb::HashMap2018<Orb::String, Orb::Ptr<const FieldSetL4PortConfig>>)
    ORB_ATTRIBUTE(fieldSetVlan, Orb::HashMap2018<Orb::String, Orb::Ptr<const FieldSetVlanConfig>>)
};

}  // namespace Classification
