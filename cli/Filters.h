// What commands ask of field sets and points: prefixes and ranges to filter by, single addresses,
// ports and VLANs. What cannot be read as one is an error of that word, which shows what a right
// one looks like.
#pragma once

#include "cli/Grammar.h"
#include "hive/Ranges.h"
#include "wire/EthAddr.h"
#include "wire/IpGenPrefix.h"

namespace Cli {

// A prefix of either family without host bits; an address stands for /32 or /128. Throws
// CommandError, with an example of the family asked for.
Wire::IpGenPrefix prefixFilter(const Token& token, bool ipv4);

// A number, or two with "-" between, the lower first. noun: what the numbers are, "ports";
// examples: of one and of a range. Throws CommandError.
Classification::NumericalRange rangeFilter(const Token& token, Base::Bounds bounds,
                                           const std::string& noun, std::string_view examples);
// The same of ports 0 to 65535, and of VLANs 1 to 4094.
Classification::PortRange portFilter(const Token& token);
Classification::VlanRange vlanFilter(const Token& token);

// One address of either family, one port, one VLAN (a number, or its interface as "Vlan20"), one
// MAC address. Throw CommandError.
Wire::IpGenAddr ipAddress(const Token& token);
U32 onePort(const Token& token);
U32 oneVlan(const Token& token);
Wire::EthAddr macAddress(const Token& token);

}  // namespace Cli
