#include "cli/Filters.h"

#include "cli/Number.h"

namespace Cli {

namespace {

struct RangeKind {
    U32 lowest;
    U32 highest;
    std::string_view expected;
};

constexpr RangeKind ports{0, 65535, "ports 0 to 65535: one, as 443, or a range, as 1024-65535"};
constexpr RangeKind vlans{1, 4094, "VLANs 1 to 4094: one, as 10, or a range, as 100-199"};

Classification::NumericalRange rangeFilter(const Token& token, const RangeKind& kind) {
    const std::string_view text = token.text;
    const std::size_t dash = text.find('-');
    const auto low = parseNumber(text.substr(0, dash));
    const auto high = dash == std::string_view::npos ? low : parseNumber(text.substr(dash + 1));
    const std::string expected(kind.expected);
    if (!low || !high) {
        throw CommandError(token.position, quoted(token.text) + " is no range", expected);
    }
    if (*low < kind.lowest || *low > kind.highest || *high < kind.lowest || *high > kind.highest) {
        throw CommandError(token.position, quoted(token.text) + " is out of range", expected);
    }
    if (*low > *high) {
        throw CommandError(token.position, quoted(token.text) + " begins above its end",
                           Classification::NumericalRange(*high, *low).stringValue());
    }
    return {*low, *high};
}

}  // namespace

Wire::IpGenPrefix prefixFilter(const Token& token, bool ipv4) {
    if (const auto address = Wire::IpGenAddr::parse(token.text)) {
        return {*address, address->family() == Wire::AddressFamily::ipv4 ? 32U : 128U};
    }
    const auto prefix = Wire::IpGenPrefix::parse(token.text);
    if (!prefix) {
        throw CommandError(token.position, quoted(token.text) + " is no prefix",
                           ipv4 ? "a prefix, as 10.1.0.0/16, or an address, as 10.1.2.3"
                                : "a prefix, as 2001:db8::/32, or an address, as 2001:db8::1");
    }
    if (prefix->hasHostBits()) {
        throw CommandError(token.position, quoted(token.text) + " has host bits",
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
