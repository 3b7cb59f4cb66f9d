// The criteria of one rule in one family while an import gathers them. What is asked of the layer-4
// header stands in several statements of the source and becomes one criterion here; what there is
// no criterion for is kept word for word, so that a rule never looks wider than it is.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "hive/MatchOption.h"
#include "hive/StructuredFilter.h"

namespace Import {

using PolicyMap::ClassMapMatchOption;

inline bool isIp(ClassMapMatchOption option) {
    return option == ClassMapMatchOption::ipv4 || option == ClassMapMatchOption::ipv6;
}

// IP protocol numbers (IANA "Protocol Numbers").
inline constexpr U32 icmpProtocol = 1;
inline constexpr U32 tcpProtocol = 6;
inline constexpr U32 udpProtocol = 17;
inline constexpr U32 icmpv6Protocol = 58;

// EtherTypes (IANA "IEEE 802 Numbers").
inline constexpr U32 ipv4EtherType = 0x0800;
inline constexpr U32 ipv6EtherType = 0x86dd;
inline constexpr U32 mplsEtherType = 0x8847;

// The family of the frames with an EtherType; mac for those without a family of their own.
constexpr ClassMapMatchOption familyOf(U32 etherType) {
    return etherType == ipv4EtherType   ? ClassMapMatchOption::ipv4
           : etherType == ipv6EtherType ? ClassMapMatchOption::ipv6
           : etherType == mplsEtherType ? ClassMapMatchOption::mpls
                                        : ClassMapMatchOption::mac;
}

// A prefix without its host bits, or an address as the prefix of it alone; nothing when the text is
// neither.
std::optional<Wire::IpGenPrefix> prefixOf(const std::string& text);

class FilterDraft {
  public:
    explicit FilterDraft(ClassMapMatchOption option) : option_(option) {}

    ClassMapMatchOption option() const { return option_; }
    bool hasIp() const { return isIp(option_); }
    Wire::AddressFamily addressFamily() const {
        return option_ == ClassMapMatchOption::ipv4 ? Wire::AddressFamily::ipv4
                                                    : Wire::AddressFamily::ipv6;
    }

    // The criteria other than those of layer 4.
    Classification::StructuredFilter& filter() { return *filter_; }
    // A criterion without a counterpart: "ethertype 0x88cc".
    void other(const std::string& text);

    // What is asked of layer 4. Each of these holds beside the others.
    std::vector<U32> protocols;  // one of them; empty: any
    Orb::HashSet2018<Classification::PortRange> sourcePorts, destinationPorts;
    Orb::HashSet2018<Orb::String> sourcePortSets, destinationPortSets;
    Orb::HashSet2018<Classification::TcpFlagAndMask> tcpFlags;  // one group suffices
    std::optional<Classification::NumericalRange> icmpTypes;
    std::optional<Classification::NumericalRange> icmpCodes;

    // The criteria; the draft is used up.
    Orb::Ptr<const Classification::StructuredFilter> take();

  private:
    Orb::Ptr<const Classification::ProtoField> layer4() const;

    ClassMapMatchOption option_;
    Orb::Ptr<Classification::StructuredFilter> filter_ =
        Orb::make<Classification::StructuredFilter>();
};

}  // namespace Import
