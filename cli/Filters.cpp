#include "cli/Filters.h"

#include "base/Number.h"

namespace Cli {

namespace {

// text: the digits in the token's text. noun: what the number is, "a port".
template <class Range>
U32 oneNumber(const Token& token, std::string_view text, const std::string& noun,
              std::string_view example) {
    constexpr Base::Bounds bounds = Range::bounds;
    if (const auto number = Base::parseNumber(text, bounds)) return static_cast<U32>(*number);
    const std::string meant = Base::numberFault(text, bounds).right;
    throw CommandError(
        token.position, inQuotes(token.text) + " is not " + noun,
        meant.empty() ? noun + " " + bounds.stringValue() + ", as " + std::string(example) : meant);
}

}  // namespace

Classification::NumericalRange rangeFilter(const Token& token, Base::Bounds bounds,
                                           const std::string& noun, std::string_view examples) {
    if (const auto range = Base::parseRange(token.text, bounds)) {
        return {static_cast<U32>(range->low), static_cast<U32>(range->high)};
    }
    const Base::NumberFault fault = Base::rangeFault(token.text, bounds);
    throw CommandError(token.position, inQuotes(token.text) + " " + std::string(fault.wrong),
                       fault.right.empty()
                           ? noun + " " + bounds.stringValue() + ": " + std::string(examples)
                           : fault.right);
}

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
    using Range = Classification::PortRange;
    const auto [low, high] =
        rangeFilter(token, Range::bounds, "ports", "one, as 443, or a range, as 1024-65535");
    return {low, high};
}

Classification::VlanRange vlanFilter(const Token& token) {
    using Range = Classification::VlanRange;
    const auto [low, high] =
        rangeFilter(token, Range::bounds, "VLANs", "one, as 10, or a range, as 100-199");
    return {low, high};
}

Wire::IpGenAddr ipAddress(const Token& token) {
    if (const auto address = Wire::IpGenAddr::parse(token.text)) return *address;
    throw CommandError(token.position, inQuotes(token.text) + " is not an address",
                       "an address, as 10.1.2.3 or 2001:db8::1");
}

U32 onePort(const Token& token) {
    return oneNumber<Classification::PortRange>(token, token.text, "a port", "443");
}

U32 oneVlan(const Token& token) {
    constexpr std::string_view interfaceWord = "Vlan";
    std::string_view text = token.text;
    if (text.starts_with(interfaceWord)) text.remove_prefix(interfaceWord.size());
    return oneNumber<Classification::VlanRange>(token, text, "a VLAN", "20");
}

Wire::EthAddr macAddress(const Token& token) {
    if (const auto address = Wire::EthAddr::parse(token.text)) return *address;
    throw CommandError(token.position, inQuotes(token.text) + " is not a MAC address",
                       "a MAC address, as 00:00:5e:00:53:01");
}

}  // namespace Cli
