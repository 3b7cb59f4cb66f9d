// The field-set show commands: what is in the named sets of prefixes, ports, VLANs and MAC
// addresses that rules refer to. The command layer builds a show object through a factory and calls
// render() once, holding the activity lock; nothing is gathered, the views walk the configuration.
//
//     auto show = TrafficPolicyCli::showTrafficPolicyPrefixFieldSetFactory(
//         fieldSetConfig, "", true, true, *Wire::IpGenPrefix::parse("10.1.0.0/16"), false);
//     show->render(STDOUT_FILENO, 1, 2);
#pragma once

#include "hive/FieldSets.h"
#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// All four:
//     render(fd, format, revision)  prints. fd: where to; not closed. format: 1 text, 2 JSON.
// revision: of the JSON model. An operator's interrupt ends the report: what was printed is
// flushed, "exiting interrupted" goes to standard output, and render returns. textout::WriteError
// passes through. REQUIRES: the calling thread holds the activity lock.
// A set without a current version is never printed.

// IPv4 or IPv6 prefix field sets, with their prefixes and excepted prefixes in ascending order.
// While it sorts it gives up the activity lock after every sortYieldThreshold prefixes; a set that
// is replaced meanwhile is listed whole as it was.
class ShowTrafficPolicyPrefixFieldSet : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyPrefixFieldSet)
    ORB_KEY(fsConfig, Orb::Ptr<const Classification::FieldSetConfig>)
    ORB_KEY(fieldSetName, Orb::String)
    ORB_KEY(ipv4, bool)
    ORB_KEY(filter, bool)
    ORB_KEY(filterPrefix, Wire::IpGenPrefix)
    ORB_KEY(exact, bool)
    ORB_ATTRIBUTE(foundMatches, bool)  // at least one set was printed
    ORB_KEY(sortYieldThreshold, U32)

    ShowTrafficPolicyPrefixFieldSet(Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                                    Orb::String fieldSetName, bool ipv4, bool filter,
                                    const Wire::IpGenPrefix& filterPrefix, bool exact);

    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);

    void renderFieldSets(U32 fd, U32 format, U32 revision);
    void renderFieldSet(textout::RendererV2& renderer, const Orb::String& name, bool isIpv4,
                        const Classification::FieldSetIpPrefixConfig& entry);
    // Says whether the filter leaves the set out: no prefix of its current version matches.
    bool skipFieldSet(const Classification::FieldSetIpPrefixConfig& entry) const;
    void renderPrefixes(textout::RendererV2& renderer,
                        const Classification::FieldSetIpPrefixSubConfig& currCfg,
                        bool isIpv4) const;

  private:
    bool matchesFilter(const Wire::IpGenPrefix& pfx) const;
};

// Layer-4 port field sets, with their ranges in ascending order.
class ShowTrafficPolicyL4PortFieldSet : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyL4PortFieldSet)
    ORB_KEY(fsConfig, Orb::Ptr<const Classification::FieldSetConfig>)
    ORB_KEY(fieldSetName, Orb::String)
    ORB_KEY(filter, bool)
    ORB_KEY(filterPorts, Classification::PortRange)
    ORB_ATTRIBUTE(foundMatches, bool)  // at least one set was printed

    ShowTrafficPolicyL4PortFieldSet(Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                                    Orb::String fieldSetName, bool filter,
                                    Classification::PortRange filterPorts);

    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);
};

// VLAN field sets, with their ranges in ascending order.
class ShowTrafficPolicyVlanFieldSet : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyVlanFieldSet)
    ORB_KEY(fsConfig, Orb::Ptr<const Classification::FieldSetConfig>)
    ORB_KEY(fieldSetName, Orb::String)
    ORB_KEY(filter, bool)
    ORB_KEY(filterVlans, Classification::VlanRange)
    ORB_ATTRIBUTE(foundMatches, bool)  // at least one set was printed

    ShowTrafficPolicyVlanFieldSet(Orb::Ptr<const Classification::FieldSetConfig> fsConfig,
                                  Orb::String fieldSetName, bool filter,
                                  Classification::VlanRange filterVlans);

    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);
};

// MAC field sets by source, with their addresses in ascending order. Every source is named, also
// one without a set to show; there is no message when no source has the set asked for.
class ShowTrafficPolicyMacFieldSet : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyMacFieldSet)
    ORB_KEY(configDir, Orb::Ptr<const Orb::Dir>)
    ORB_KEY(fieldSetName, Orb::String)

    ShowTrafficPolicyMacFieldSet(Orb::Ptr<const Orb::Dir> configDir, Orb::String fieldSetName);

    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);

    void renderFieldSetSources(U32 fd, U32 format, U32 revision) const;
    void renderFieldSets(textout::RendererV2& renderer, const Orb::Dir& source) const;
    // shown: how many sets of the source were printed; counts this one.
    void renderFieldSet(textout::RendererV2& renderer, const Orb::String& name,
                        const Classification::FieldSetMacAddrConfig& entry, U32& shown) const;
    void renderMacAddrs(textout::RendererV2& renderer,
                        const Classification::FieldSetMacAddrSubConfig& currCfg, U32 indent) const;
};

// The factories, and the creators: the same with the same arguments. Arguments:
//   fsConfig       the configured field sets; null: none
//   configDir      a directory of sources, each a directory of
//   Classification::FieldSetMacAddrConfig
//                  (entries of other types are left out); null: none
//   fieldSetName   shows only the set of this name; empty: all
//   ipv4           IPv4 prefix field sets; false: IPv6 ones
//   filter         shows only sets that match the argument behind it, which is not looked at
//                  otherwise
//   filterPrefix   a prefix matches it when both are of one family and one contains the other; only
//                  matching prefixes are listed. Host bits, if any, count in exact matches only
//   exact          a prefix matches filterPrefix only when it is equal
//   filterPorts,   inclusive; a set matches when one of its ranges contains the whole of it, and is
//   filterVlans    listed whole then
// The pointers are kept until the object dies.

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyPrefixFieldSet> showTrafficPolicyPrefixFieldSetFactory(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool ipv4,
    bool filter, const Wire::IpGenPrefix& filterPrefix, bool exact);
ORB_EXPORT decltype(showTrafficPolicyPrefixFieldSetFactory) ShowTrafficPolicyPrefixFieldSetIs;

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyL4PortFieldSet> showTrafficPolicyL4PortFieldSetFactory(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool filter,
    Classification::PortRange filterPorts);
ORB_EXPORT decltype(showTrafficPolicyL4PortFieldSetFactory) ShowTrafficPolicyL4PortFieldSetIs;

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyVlanFieldSet> showTrafficPolicyVlanFieldSetFactory(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool filter,
    Classification::VlanRange filterVlans);
ORB_EXPORT decltype(showTrafficPolicyVlanFieldSetFactory) ShowTrafficPolicyVlanFieldSetIs;

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyMacFieldSet> showTrafficPolicyMacFieldSetFactory(
    Orb::Ptr<const Orb::Dir> configDir, Orb::String fieldSetName);
ORB_EXPORT decltype(showTrafficPolicyMacFieldSetFactory) ShowTrafficPolicyMacFieldSetIs;

}  // namespace TrafficPolicyCli
