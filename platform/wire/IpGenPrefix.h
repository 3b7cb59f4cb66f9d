// IP addresses and prefixes of either family. Both keep the address as two words with its first bit
// on top, so that comparing, masking and overlapping are the same integer work for both families:
//
//     10.1.0.0/16    high 0a010000'00000000  low 0                   length 16  family 1
//     2001:db8::1    high 20010db8'00000000  low 00000000'00000001              family 2
#pragma once

#include <compare>
#include <optional>
#include <string_view>

#include "orb/Assert.h"
#include "wire/AddressFamily.h"
#include "wire/Digits.h"

namespace Wire {

class IpGenPrefix;

// An IPv4 or IPv6 address. Order: the null address, IPv4, IPv6; then by value.
class ORB_EXPORT IpGenAddr {
  public:
    // What print() writes at most, in bytes.
    static constexpr std::size_t maxPrintedSize = 39;

    // The null address: of no family, prints as an empty text.
    IpGenAddr() = default;
    static IpGenAddr ipv4(U32 address) {
        return {static_cast<U8>(AddressFamily::ipv4), U64{address} << 32, 0};
    }
    static IpGenAddr ipv6(U64 high, U64 low) {
        return {static_cast<U8>(AddressFamily::ipv6), high, low};
    }

    // IPv4 in dotted decimal, four numbers 0 to 255 without leading zeros; IPv6 in any form of RFC
    // 4291 section 2.2 ("::" once, in place of at least one group; the last 32 bits may be dotted
    // decimal), without a zone. Null for anything else.
    static std::optional<IpGenAddr> parse(std::string_view text);

    bool isNullAddr() const { return family_ == 0; }
    // REQUIRES: !isNullAddr().
    AddressFamily family() const { return static_cast<AddressFamily>(family_); }
    // The two words, with the address's first bit on top; those of an IPv4 address hold it in the
    // upper half of the high word.
    U64 high() const { return high_; }
    U64 low() const { return low_; }

    // Writes the text form (no terminating zero) and returns its length; the buffer has room for
    // maxPrintedSize bytes. IPv6 as RFC 5952 asks: lower case, the longest run of at least two zero
    // groups as "::" (the first of equally long ones), IPv4-mapped addresses as "::ffff:192.0.2.1".
    std::size_t print(char* buffer) const {
        return family_ == static_cast<U8>(AddressFamily::ipv4)
                   ? static_cast<std::size_t>(printIpv4(buffer) - buffer)
                   : printOther(buffer);
    }
    Orb::String stringValue() const;
    U64 hashValue() const;

    friend bool operator==(const IpGenAddr&, const IpGenAddr&) = default;
    friend std::strong_ordering operator<=>(const IpGenAddr& a, const IpGenAddr& b) {
        if (a.family_ != b.family_) return a.family_ <=> b.family_;
        if (a.high_ != b.high_) return a.high_ <=> b.high_;
        return a.low_ <=> b.low_;
    }

  private:
    friend class IpGenPrefix;
    IpGenAddr(U8 family, U64 high, U64 low) : high_(high), low_(low), family_(family) {}
    char* printIpv4(char* out) const {
        for (U32 shift = 56; shift > 32; shift -= 8) {
            out = printDecimal(out, static_cast<U8>(high_ >> shift));
            *out++ = '.';
        }
        return printDecimal(out, static_cast<U8>(high_ >> 32));
    }
    std::size_t printOther(char* buffer) const;

    U64 high_ = 0;
    U64 low_ = 0;
    U8 family_ = 0;  // an AddressFamily; 0: null
};

// An IPv4 prefix of length 0 to 32 or an IPv6 prefix of length 0 to 128. Order: the null prefix,
// IPv4, IPv6; then by address, then by length.
class ORB_EXPORT IpGenPrefix {
  public:
    // What print() writes at most, in bytes, one of them behind the end.
    static constexpr std::size_t maxPrintedSize = IpGenAddr::maxPrintedSize + 5;

    // The null prefix: of no family, overlaps nothing, prints as an empty text.
    IpGenPrefix() = default;
    // Host bits are kept. REQUIRES: !address.isNullAddr(), and a length within the family's range
    // (assertion).
    IpGenPrefix(const IpGenAddr& address, U32 length)
        : high_(address.high_),
          low_(address.low_),
          length_(static_cast<U8>(length)),
          family_(address.family_) {
        ORB_ASSERT(!isNullPrefix());
        ORB_ASSERT(length <= maxLength(family_));
    }

    // "address/length": the address as IpGenAddr::parse() takes it, the length in decimal digits
    // without leading zeros. Null for anything else. Host bits are kept; ask hasHostBits().
    static std::optional<IpGenPrefix> parse(std::string_view text);

    bool isNullPrefix() const { return family_ == 0; }
    // REQUIRES: !isNullPrefix().
    AddressFamily family() const { return static_cast<AddressFamily>(family_); }
    IpGenAddr address() const { return {family_, high_, low_}; }
    // In bits.
    U32 length() const { return length_; }

    // Says whether a bit of the address behind the length is set: 10.1.2.3/16 has host bits.
    bool hasHostBits() const { return *this != masked(); }
    // The prefix without its host bits.
    IpGenPrefix masked() const;
    // Says whether the prefixes are of one family and agree on the bits of the shorter length: one
    // of them contains the other.
    bool overlaps(const IpGenPrefix& other) const {
        if (family_ != other.family_ || isNullPrefix()) return false;
        const U32 shorter = length_ < other.length_ ? length_ : other.length_;
        return (((high_ ^ other.high_) & upperMask(shorter)) |
                ((low_ ^ other.low_) & lowerMask(shorter))) == 0;
    }

    // Writes "address/length" (no terminating zero) and returns its length in bytes; the buffer has
    // room for maxPrintedSize bytes. The address prints as IpGenAddr::print() does.
    std::size_t print(char* buffer) const {
        if (isNullPrefix()) return 0;
        char* out = buffer + address().print(buffer);
        *out++ = '/';
        return static_cast<std::size_t>(printDecimal(out, length_) - buffer);
    }
    Orb::String stringValue() const;
    U64 hashValue() const;

    friend bool operator==(const IpGenPrefix&, const IpGenPrefix&) = default;
    friend std::strong_ordering operator<=>(const IpGenPrefix& a, const IpGenPrefix& b) {
        if (a.family_ != b.family_) return a.family_ <=> b.family_;
        if (a.high_ != b.high_) return a.high_ <=> b.high_;
        if (a.low_ != b.low_) return a.low_ <=> b.low_;
        return a.length_ <=> b.length_;
    }

  private:
    // The first `length` bits of an address whose words are the upper and the lower 64 bits.
    static constexpr U64 upperMask(U32 length) {
        return length == 0 ? 0 : length >= 64 ? ~U64{0} : ~U64{0} << (64 - length);
    }
    static constexpr U64 lowerMask(U32 length) { return length <= 64 ? 0 : upperMask(length - 64); }
    static constexpr U32 maxLength(U8 family) {
        return family == static_cast<U8>(AddressFamily::ipv4) ? 32 : 128;
    }

    U64 high_ = 0;
    U64 low_ = 0;
    U8 length_ = 0;
    U8 family_ = 0;  // an AddressFamily; 0: null
};

static_assert(sizeof(IpGenPrefix) == 24);

}  // namespace Wire
