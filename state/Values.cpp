#include "state/Values.h"

#include <algorithm>
#include <charconv>

namespace StateDirectory {

using Classification::NumericalRange;
using PolicyMap::ClassMapMatchOption;
using Wire::AddressFamily;
using Wire::IpGenAddr;
using Wire::IpGenPrefix;

namespace {

void checkName(const Node& node, std::string_view text, const char* what) {
    static const std::string expected = "a name of at least one byte without control characters";
    if (isName(text)) return;
    if (text.empty()) node.refuse(std::string("empty ") + what, expected);
    node.refuse(std::string(what) + " with a control character, " + inQuotes(text), expected);
}

constexpr const char* familyName(AddressFamily family) {
    return family == AddressFamily::ipv4 ? "IPv4" : "IPv6";
}

// Says why a text is no prefix.
[[noreturn]] void refusePrefix(const Node& node, std::string_view text,
                               std::optional<AddressFamily> family) {
    const std::size_t slash = text.rfind('/');
    const auto address = IpGenAddr::parse(text.substr(0, slash));
    if (!address) {
        node.refuse(inQuotes(text) + " is no prefix",
                    family == AddressFamily::ipv6 ? "an IPv6 prefix such as \"2001:db8::/32\""
                    : family == AddressFamily::ipv4
                        ? "an IPv4 prefix such as \"10.1.0.0/16\""
                        : "a prefix such as \"10.1.0.0/16\" or \"2001:db8::/32\"");
    }
    const std::string maxLength = address->family() == AddressFamily::ipv4 ? "32" : "128";
    if (slash == std::string_view::npos) {
        node.refuse(inQuotes(text) + " has no length",
                    inQuotes(address->stringValue() + "/" + maxLength) + " for the address alone");
    }
    node.refuse(inQuotes(text) + " has a wrong length", "a length of 0 to " + maxLength);
}

// Decimal digits without leading zeros; a number beyond 32 bits reads as the largest one.
std::optional<U32> parseDecimal(std::string_view text) {
    U32 value = 0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
    if (result.ptr != text.data() + text.size() || text.empty()) return std::nullopt;
    if (text.size() > 1 && text.front() == '0') return std::nullopt;
    return result.ec == std::errc::result_out_of_range ? ~U32{0} : value;
}

std::string limits(U32 lowest, U32 highest) {
    return std::to_string(lowest) + " to " + std::to_string(highest);
}

std::string rangeForm(U32 lowest, U32 highest) {
    return "a number or \"low-high\", from " + limits(lowest, highest);
}

NumericalRange parseRange(const Node& node, std::string_view text, U32 lowest, U32 highest) {
    const std::size_t dash = text.find('-');
    const auto low = parseDecimal(text.substr(0, dash));
    const auto high = dash == std::string_view::npos ? low : parseDecimal(text.substr(dash + 1));
    if (!low || !high) {
        node.refuse(inQuotes(text) + " is no range", rangeForm(lowest, highest));
    }
    if (*low > *high) {
        node.refuse(inQuotes(text) + " has its low bound above its high one",
                    inQuotes(NumericalRange(*high, *low).stringValue()));
    }
    if (*low < lowest || *high > highest) {
        node.refuse(inQuotes(text) + " is out of range", limits(lowest, highest));
    }
    return {*low, *high};
}

}  // namespace

bool isName(std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7f) return false;
        // U+0080 to U+009F are c2 80 to c2 9f.
        const bool isLast = i + 1 == text.size();
        if (byte == 0xc2 && !isLast && static_cast<unsigned char>(text[i + 1]) < 0xa0) return false;
    }
    return !text.empty();
}

Orb::String readName(const Node& node) {
    const std::string_view text = node.text();
    checkName(node, text, "name");
    return Orb::String(text);
}

IpGenAddr readAddress(const Node& node) {
    const std::string_view text = node.text();
    const auto address = IpGenAddr::parse(text);
    if (!address) {
        node.refuse(inQuotes(text) + " is no address",
                    "an address such as \"192.0.2.1\" or \"2001:db8::1\"");
    }
    return *address;
}

Wire::EthAddr readMacAddress(const Node& node) {
    const std::string_view text = node.text();
    const auto address = Wire::EthAddr::parse(text);
    if (!address) {
        node.refuse(inQuotes(text) + " is no MAC address", "one such as \"00:00:5e:00:00:99\"");
    }
    return *address;
}

IpGenPrefix readPrefix(const Node& node, std::optional<AddressFamily> family) {
    const std::string_view text = node.text();
    const auto prefix = IpGenPrefix::parse(text);
    if (!prefix) refusePrefix(node, text, family);
    if (family && prefix->family() != *family) {
        node.refuse(inQuotes(text) + " is an " + familyName(prefix->family()) + " prefix",
                    std::string("an ") + familyName(*family) + " prefix");
    }
    if (prefix->hasHostBits()) {
        node.refuse(inQuotes(text) + " has host bits", inQuotes(prefix->masked().stringValue()));
    }
    return *prefix;
}

NumericalRange readRange(const Node& node, U32 lowest, U32 highest) {
    std::string_view text;
    if (node.element().get(text) == simdjson::SUCCESS) {
        return parseRange(node, text, lowest, highest);
    }
    if (!node.element().is_number()) node.refuseType(rangeForm(lowest, highest));
    const auto value = static_cast<U32>(node.number(lowest, highest));
    return {value, value};
}

Orb::HashSet2018<IpGenPrefix> readPrefixes(const Node& node, std::optional<AddressFamily> family) {
    return readSet<Orb::HashSet2018<IpGenPrefix>>(
        node, [family](const Node& item) { return readPrefix(item, family); });
}

Orb::String nameKey(const Node& member, std::string_view key) {
    checkName(member, key, "key");
    return Orb::String(key);
}

Wire::IntfId intfKey(const Node& member, std::string_view key) {
    return Wire::IntfId(nameKey(member, key));
}

Wire::IntfId vlanIntfKey(const Node& member, std::string_view key) {
    constexpr std::string_view word = "Vlan";
    const auto number =
        key.starts_with(word) ? parseDecimal(key.substr(word.size())) : std::nullopt;
    if (!number || *number < 1 || *number > 4094) {
        member.refuse(inQuotes(key) + " is no VLAN interface", "\"Vlan1\" to \"Vlan4094\"");
    }
    return Wire::IntfId(Orb::String(key));
}

std::span<const std::string_view> matchOptionWords() {
    static constexpr std::string_view words[] = {
        PolicyMap::matchOptionName(ClassMapMatchOption::ipv4),
        PolicyMap::matchOptionName(ClassMapMatchOption::ipv6),
        PolicyMap::matchOptionName(ClassMapMatchOption::mac),
        PolicyMap::matchOptionName(ClassMapMatchOption::mpls),
    };
    return words;
}

ClassMapMatchOption matchOptionKey(const Node& member, std::string_view key) {
    const auto words = matchOptionWords();
    const auto word = std::find(words.begin(), words.end(), key);
    if (word == words.end()) member.parent().refuseKey(key, words);
    return static_cast<ClassMapMatchOption>(word - words.begin());
}

Classification::ProtocolRange protocolKey(const Node& member, std::string_view key) {
    const NumericalRange range = parseRange(member, key, 0, 255);
    return {range.low, range.high};
}

}  // namespace StateDirectory
