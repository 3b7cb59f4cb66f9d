// What follows the word "filter": a prefix, or a range of ports or VLANs. What cannot be read as
// one is an error of that word, which shows what a right one looks like.
#pragma once

#include "cli/Grammar.h"
#include "hive/Ranges.h"
#include "wire/IpGenPrefix.h"

namespace Cli {

// A prefix of either family without host bits; an address stands for /32 or /128. Throws
// CommandError, with an example of the family asked for.
Wire::IpGenPrefix prefixFilter(const Token& token, bool ipv4);

// A number, or two with "-" between, the lower first: ports 0 to 65535, VLANs 1 to 4094. Throws
// CommandError.
Classification::PortRange portFilter(const Token& token);
Classification::VlanRange vlanFilter(const Token& token);

}  // namespace Cli
