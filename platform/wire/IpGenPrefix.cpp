// Parsing and printing of addresses and prefixes. Both run once per prefix of sets of a million, so
// they work on characters directly and allocate nothing.
#include "wire/IpGenPrefix.h"

#include <algorithm>
#include <array>

#include "orb/Assert.h"
#include "orb/Hash.h"
#include "wire/Digits.h"

namespace Wire {

namespace {

constexpr U32 groupCount = 8;
using Groups = std::array<U16, groupCount>;

// A decimal number of at most three digits without leading zeros, at most `max`, from `at` on,
// which it moves behind the number.
bool parseDecimal(std::string_view text, std::size_t& at, U32 max, U32& value) {
    const auto digitAt = [&](std::size_t place) -> U32 {
        return place < text.size() ? static_cast<U8>(text[place] - '0') : 10;
    };
    value = digitAt(at++);
    if (value > 9) return false;
    for (U32 more = 0; more < 2; ++more) {
        const U32 digit = digitAt(at);
        if (digit > 9) break;
        if (value == 0) return false;
        value = 10 * value + digit;
        ++at;
    }
    return value <= max;
}

// The four numbers of an address from `at` on, which it moves behind them.
bool parseOctets(std::string_view text, std::size_t& at, U32& address) {
    for (U32 i = 0; i < 4; ++i) {
        U32 octet = 0;
        if (i > 0 && (at == text.size() || text[at++] != '.')) return false;
        if (!parseDecimal(text, at, 255, octet)) return false;
        address = address << 8 | octet;
    }
    return true;
}

bool parseIpv4(std::string_view text, U32& address) {
    std::size_t at = 0;
    return parseOctets(text, at, address) && at == text.size();
}

constexpr U32 noGap = groupCount + 1;

// At most four digits; none leave at as it is.
U32 parseGroup(std::string_view text, std::size_t& at) {
    const std::size_t end = std::min(text.size(), at + 4);
    U32 value = 0;
    while (at < end && hexDigitValue(text[at]) >= 0) {
        value = value << 4 | static_cast<U32>(hexDigitValue(text[at++]));
    }
    return value;
}

// An IPv4 address as the last two groups, of which count are there.
bool parseIpv4Groups(std::string_view text, Groups& groups, U32 count) {
    U32 address = 0;
    if (count + 2 > groupCount || !parseIpv4(text, address)) return false;
    groups[count] = static_cast<U16>(address >> 16);
    groups[count + 1] = static_cast<U16>(address);
    return true;
}

// A ":" with something behind it, or the one "::".
bool parseSeparator(std::string_view text, std::size_t& at, U32 count, U32& gap) {
    if (text[at++] != ':' || at == text.size()) return false;
    if (text[at] != ':') return true;
    if (gap != noGap) return false;
    gap = count;
    ++at;
    return true;
}

// Reads the groups and the place of the "::" (noGap when there is none); returns how many groups
// were written, groupCount + 1 when the text is no address.
U32 parseGroups(std::string_view text, Groups& groups, U32& gap) {
    constexpr U32 invalid = groupCount + 1;
    U32 count = 0;
    std::size_t at = 0;
    gap = noGap;
    if (text.starts_with("::")) {
        gap = 0;
        at = 2;
    }
    while (at < text.size()) {
        const std::size_t begin = at;
        const U32 value = parseGroup(text, at);
        if (count == groupCount || at == begin) return invalid;
        if (at < text.size() && text[at] == '.') {
            return parseIpv4Groups(text.substr(begin), groups, count) ? count + 2 : invalid;
        }
        groups[count++] = static_cast<U16>(value);
        if (at == text.size()) break;
        if (!parseSeparator(text, at, count, gap)) return invalid;
    }
    return count;
}

bool parseIpv6(std::string_view text, U64& high, U64& low) {
    Groups groups{};
    U32 gap = 0;
    const U32 count = parseGroups(text, groups, gap);
    // Without "::" all groups are there; with it at least one is not.
    if (gap == noGap ? count != groupCount : count >= groupCount) return false;
    for (U32 i = 0; i < groupCount; ++i) {
        const U32 missing = groupCount - count;
        const U16 group = i < gap ? groups[i] : i < gap + missing ? 0 : groups[i - missing];
        U64& word = i < groupCount / 2 ? high : low;
        word = word << 16 | group;
    }
    return true;
}

char* printGroup(char* out, U32 group) {
    if (group >= 0x1000) *out++ = hexDigits[group >> 12];
    if (group >= 0x100) *out++ = hexDigits[group >> 8 & 15];
    if (group >= 0x10) *out++ = hexDigits[group >> 4 & 15];
    *out++ = hexDigits[group & 15];
    return out;
}

struct Run {
    U32 begin = groupCount;
    U32 length = 1;  // only longer runs are shortened
};

Run longestZeroRun(const Groups& groups) {
    Run longest;
    for (U32 i = 0; i < groupCount;) {
        U32 end = i;
        while (end < groupCount && groups[end] == 0) ++end;
        if (end - i > longest.length) longest = {i, end - i};
        i = end + 1;
    }
    return longest;
}

char* printIpv6(char* out, U64 high, U64 low) {
    if (high == 0 && low >> 32 == 0xffff) {
        static constexpr std::string_view mapped = "::ffff:";
        out = std::copy(mapped.begin(), mapped.end(), out);
        return out + IpGenAddr::ipv4(static_cast<U32>(low)).print(out);
    }
    Groups groups{};
    for (U32 i = 0; i < groupCount; ++i) {
        groups[i] = static_cast<U16>((i < 4 ? high : low) >> (48 - 16 * (i % 4)));
    }
    const Run run = longestZeroRun(groups);
    for (U32 i = 0; i < groupCount;) {
        if (i == run.begin) {
            *out++ = ':';
            if (i == 0) *out++ = ':';
            i += run.length;
        } else {
            out = printGroup(out, groups[i]);
            if (++i < groupCount) *out++ = ':';
        }
    }
    return out;
}

U64 hashOfWords(U64 high, U64 low, U64 rest) {
    return Orb::mixBits(Orb::mixBits(high ^ rest << 7) ^ low) ^ rest;
}

}  // namespace

std::optional<IpGenAddr> IpGenAddr::parse(std::string_view text) {
    // The first group of an IPv6 address has at most four digits, so its first colon comes early.
    if (text.substr(0, 5).find(':') == std::string_view::npos) {
        U32 address = 0;
        if (!parseIpv4(text, address)) return std::nullopt;
        return ipv4(address);
    }
    IpGenAddr address = ipv6(0, 0);
    if (!parseIpv6(text, address.high_, address.low_)) return std::nullopt;
    return address;
}

std::size_t IpGenAddr::printOther(char* buffer) const {
    return isNullAddr() ? 0 : static_cast<std::size_t>(printIpv6(buffer, high_, low_) - buffer);
}

Orb::String IpGenAddr::stringValue() const {
    std::array<char, maxPrintedSize> buffer{};
    return {buffer.data(), print(buffer.data())};
}

U64 IpGenAddr::hashValue() const { return hashOfWords(high_, low_, family_); }

std::optional<IpGenPrefix> IpGenPrefix::parse(std::string_view text) {
    IpGenAddr address;
    std::size_t at = 0;
    U32 octets = 0;
    if (parseOctets(text, at, octets)) {  // as in most
        address = IpGenAddr::ipv4(octets);
    } else {
        at = text.rfind('/');
        const auto other = IpGenAddr::parse(text.substr(0, at));
        if (!other) return std::nullopt;
        address = *other;
    }
    U32 length = 0;
    if (at >= text.size() || text[at++] != '/' ||
        !parseDecimal(text, at, maxLength(address.family_), length) || at != text.size()) {
        return std::nullopt;
    }
    return IpGenPrefix(address, length);
}

IpGenPrefix IpGenPrefix::masked() const {
    IpGenPrefix result = *this;
    result.high_ &= upperMask(length_);
    result.low_ &= lowerMask(length_);
    return result;
}

Orb::String IpGenPrefix::stringValue() const {
    std::array<char, maxPrintedSize> buffer{};
    return {buffer.data(), print(buffer.data())};
}

U64 IpGenPrefix::hashValue() const { return hashOfWords(high_, low_, U64{family_} << 8 | length_); }

}  // namespace Wire
