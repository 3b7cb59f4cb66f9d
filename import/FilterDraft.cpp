#include "import/FilterDraft.h"

#include "import/StateBuilder.h"

namespace Import {

using namespace Classification;

std::optional<Wire::IpGenPrefix> prefixOf(const std::string& text) {
    if (const auto prefix = Wire::IpGenPrefix::parse(text)) return prefix->masked();
    const auto address = Wire::IpGenAddr::parse(text);
    if (!address) return std::nullopt;
    return Wire::IpGenPrefix(*address, address->family() == Wire::AddressFamily::ipv4 ? 32 : 128);
}

void FilterDraft::other(const std::string& text) { filter_->otherCriteriaIs(nameOf(text)); }

// What is asked beside the protocol; null: nothing.
Orb::Ptr<const ProtoField> FilterDraft::layer4() const {
    auto proto = Orb::make<ProtoField>();
    if (sourcePorts || destinationPorts || sourcePortSets || destinationPortSets) {
        auto ports = Orb::make<PortField>();
        ports->sportIs(sourcePorts);
        ports->sportFieldSetsIs(sourcePortSets);
        ports->dportIs(destinationPorts);
        ports->dportFieldSetsIs(destinationPortSets);
        proto->portFieldsIs(0, Orb::Ptr<const PortField>(ports));
    }
    if (tcpFlags) proto->tcpFlagsIs(tcpFlags);
    if (icmpTypes || icmpCodes) {
        IcmpTypeRange types;
        const NumericalRange any(IcmpTypeRange::bounds.lowest, IcmpTypeRange::bounds.highest);
        const NumericalRange range = icmpTypes.value_or(any);
        types.low = range.low;
        types.high = range.high;
        if (icmpCodes) types.codes.is(IcmpCodeRange(icmpCodes->low, icmpCodes->high));
        proto->icmpTypesIs(0, std::move(types));
    }
    if (proto->portFields().empty() && !tcpFlags && proto->icmpTypes().empty()) return nullptr;
    return proto;
}

Orb::Ptr<const StructuredFilter> FilterDraft::take() {
    const Orb::Ptr<const ProtoField> asked = layer4();
    if (protocols.empty() && asked) {
        // Flags and types speak of a protocol. Ports do not: a packet of any protocol without ports
        // does not meet them.
        if (tcpFlags) {
            protocols.push_back(tcpProtocol);
        } else if (icmpTypes || icmpCodes) {
            protocols.push_back(option_ == ClassMapMatchOption::ipv6 ? icmpv6Protocol
                                                                     : icmpProtocol);
        } else {
            filter_->protocolsIs(
                ProtocolRange(ProtocolRange::bounds.lowest, ProtocolRange::bounds.highest), asked);
        }
    }
    for (const U32 protocol : protocols) {
        filter_->protocolsIs(ProtocolRange(protocol, protocol), asked);
    }
    return std::move(filter_);
}

}  // namespace Import
