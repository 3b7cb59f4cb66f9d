#include "cli/Filters.h"

#include "base/Number.h"

namespace Cli {

namespace {

struct RangeKind {
    Base::Bounds bounds;
    std::string_view expected;
};

constexpr RangeKind ports{{0, 65535}, "ports 0 to 65535: one, as 443, or a range, as 1024-65535"};
constexpr RangeKind vlans{{1, 4094}, "VLANs 1 to 4094: one, as 10, or a range, as 100-199"};

Classification::NumericalRange rangeFilter(const Token& token, const RangeKind& kind) {
    if (const auto range = Base::parseRange(token.text, kind.bounds)) {
        return {static_cast<U32>(range->low), static_cast<U32>(range->high)};
    }
    const Base::NumberFault fault = Base::rangeFault(token.text, kind.bounds);
    throw CommandError(token.position, inQuotes(token.text) + " " + std::string(fault.wrong),
                       fault.right.empty() ? std::string(kind.expected) : fault.right);
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
    const auto [low, high] = rangeFilter(token, ports);
    return {low, high};
}

Classification::VlanRange vlanFilter(const Token& token) {
    const auto [low, high] = rangeFilter(token, vlans);
    return {low, high};
}

}  // namespace Cli
