#include "cli/Filters.h"

#include "base/Number.h"

namespace Cli {

namespace {

// noun: what the numbers are; examples: of one and of a range.
template <class Range>
Range rangeFilter(const Token& token, const std::string& noun, std::string_view examples) {
    constexpr Base::Bounds bounds = Range::bounds;
    if (const auto range = Base::parseRange(token.text, bounds)) {
        return {static_cast<U32>(range->low), static_cast<U32>(range->high)};
    }
    const Base::NumberFault fault = Base::rangeFault(token.text, bounds);
    throw CommandError(token.position, inQuotes(token.text) + " " + std::string(fault.wrong),
                       fault.right.empty()
                           ? noun + " " + bounds.stringValue() + ": " + std::string(examples)
                           : fault.right);
}

}  // namespace

Wire::IpGenPrefix prefixFilter(const Token& token, bool ipv4) {
    if (const auto address = Wire::IpGenAddr::parse(token.text)) {
        return {*address, address->family() == Wire::AddressFamily::ipv4 ? 32U : 128U};
    }
    const auto prefix = Wire::IpGenPrefix::parse(token.text);
    if (!prefix) {
        throw CommandError(token.position, inQuotes(token.text) + " is not a prefix",
                           ipv4 ? "a prefix, as 10.1.0.0/16, or an address, as 10.1.2.3"
                                : "a prefix, as 2001:db8::/32, or an address, as 2001:db8::1");
    }
    if (prefix->hasHostBits()) {
        throw CommandError(token.position, inQuotes(token.text) + " has host bits",
                           prefix->masked().stringValue());
    }
    return *prefix;
}

Classification::PortRange portFilter(const Token& token) {
    return rangeFilter<Classification::PortRange>(token, "ports",
                                                  "one, as 443, or a range, as 1024-65535");
}

Classification::VlanRange vlanFilter(const Token& token) {
    return rangeFilter<Classification::VlanRange>(token, "VLANs",
                                                  "one, as 10, or a range, as 100-199");
}

}  // namespace Cli
