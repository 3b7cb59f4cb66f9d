#include "state/Values.h"

#include <algorithm>

#include "base/Escape.h"
#include "base/Number.h"
#include "base/Time.h"
#include "state/Shared.h"

namespace StateDirectory {

using Base::Bounds;
using Classification::NumericalRange;
using PolicyMap::ClassMapMatchOption;
using Wire::AddressFamily;
using Wire::IpGenAddr;
using Wire::IpGenPrefix;

namespace {

void checkName(const Node& node, std::string_view text, const char* what, Spot spot) {
    static const std::string expected = "a name of at least one byte without control characters";
    if (isName(text)) return;
    if (text.empty()) node.refuse(std::string("empty ") + what, expected, spot);
    node.refuse(std::string(what) + " with a control character, " + inQuotes(text), expected, spot);
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
        node.refuse(inQuotes(text) + " is not a prefix",
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

std::string rangeForm(Bounds bounds) {
    return "a number or \"low-high\", from " + bounds.stringValue();
}

NumericalRange parseRange(const Node& node, std::string_view text, Bounds bounds, Spot spot) {
    if (const auto range = Base::parseRange(text, bounds)) {
        return {static_cast<U32>(range->low), static_cast<U32>(range->high)};
    }
    const Base::NumberFault fault = Base::rangeFault(text, bounds);
    node.refuse(inQuotes(text) + " " + std::string(fault.wrong),
                fault.right.empty() ? rangeForm(bounds) : inQuotes(fault.right), spot);
}

}  // namespace

bool isName(std::string_view text) {
    if (Base::isPlainAscii(text)) return !text.empty();
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
    checkName(node, text, "name", Spot::value);
    return Orb::String(text);
}

Orb::Name readSharedName(const Node& node) {
    const std::string_view text = node.text();
    checkName(node, text, "name", Spot::value);
    return Shared::name(text);
}

Orb::String readText(const Node& node) {
    const std::string_view text = node.text();
    if (text.empty()) node.refuse("empty text", "at least one byte");
    return Orb::String(text);
}

Orb::Seconds readTime(const Node& node) {
    const std::string_view text = node.text();
    const auto time = Base::parseTime(text);
    if (!time)
        node.refuse(inQuotes(text) + " is not a time", "one such as \"2026-11-21T15:40:00Z\"");
    return *time;
}

IpGenAddr readAddress(const Node& node) {
    const std::string_view text = node.text();
    const auto address = IpGenAddr::parse(text);
    if (!address) {
        node.refuse(inQuotes(text) + " is not an address",
                    "an address such as \"192.0.2.1\" or \"2001:db8::1\"");
    }
    return *address;
}

Wire::EthAddr readMacAddress(const Node& node) {
    const std::string_view text = node.text();
    const auto address = Wire::EthAddr::parse(text);
    if (!address) {
        node.refuse(inQuotes(text) + " is not a MAC address", "one such as \"00:00:5e:00:00:99\"");
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

NumericalRange readRange(const Node& node, Bounds bounds) {
    std::string_view text;
    if (node.element().get(text) == simdjson::SUCCESS) {
        return parseRange(node, text, bounds, Spot::value);
    }
    if (!node.element().is_number()) node.refuseType(rangeForm(bounds));
    const auto value = static_cast<U32>(node.number(bounds));
    return {value, value};
}

Orb::HashSet2018<IpGenPrefix> readPrefixes(const Node& node, std::optional<AddressFamily> family) {
    return readSet<Orb::HashSet2018<IpGenPrefix>>(
        node, [family](const Node& item) { return readPrefix(item, family); });
}

void writeRange(Writer& writer, const NumericalRange& range) {
    if (range.low == range.high) {
        writer.number(range.low);
    } else {
        writer.text(range.stringValue());
    }
}

void writePrefixes(Writer& writer, const Orb::HashSet2018<IpGenPrefix>& prefixes) {
    writeSet(writer, prefixes,
             [&](const IpGenPrefix& prefix) { writer.text(prefix.stringValue()); });
}

Orb::String nameKey(const Node& member, std::string_view key) {
    checkName(member, key, "key", Spot::key);
    return Orb::String(key);
}

Orb::Name sharedNameKey(const Node& member, std::string_view key) {
    checkName(member, key, "key", Spot::key);
    return Shared::name(key);
}

Wire::IntfId intfKey(const Node& member, std::string_view key) {
    return Wire::IntfId(nameKey(member, key));
}

Wire::IntfId vlanIntfKey(const Node& member, std::string_view key) {
    constexpr std::string_view word = "Vlan";
    constexpr Bounds bounds = Classification::VlanRange::bounds;
    const std::string_view digits =
        key.starts_with(word) ? key.substr(word.size()) : std::string_view();
    if (!Base::parseNumber(digits, bounds)) {
        const auto name = [&](const std::string& number) {
            return inQuotes(std::string(word) + number);
        };
        const std::string meant = Base::numberFault(digits, bounds).right;
        member.refuse(inQuotes(key) + " is not a VLAN interface",
                      meant.empty() ? name(std::to_string(bounds.lowest)) + " to " +
                                          name(std::to_string(bounds.highest))
                                    : name(meant),
                      Spot::key);
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
    const NumericalRange range =
        parseRange(member, key, Classification::ProtocolRange::bounds, Spot::key);
    return {range.low, range.high};
}

}  // namespace StateDirectory
