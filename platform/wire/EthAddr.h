// An Ethernet MAC address (IEEE 802, EUI-48): six bytes, ordered byte by byte.
#pragma once

#include <array>
#include <compare>
#include <optional>
#include <string_view>

#include "orb/Types.h"

namespace Wire {

class ORB_EXPORT EthAddr {
  public:
    using Bytes = std::array<U8, 6>;
    // What print() writes, in bytes.
    static constexpr std::size_t printedSize = 17;

    // 00:00:00:00:00:00.
    EthAddr() = default;
    explicit EthAddr(const Bytes& bytes) : bytes_(bytes) {}

    // Six pairs of hexadecimal digits of either case, separated by colons; nothing else.
    static std::optional<EthAddr> parse(std::string_view text);

    const Bytes& bytes() const { return bytes_; }

    // Writes "00:00:5e:00:00:99" (lower case, no terminating zero) and returns printedSize. The
    // buffer has room for that many bytes.
    std::size_t print(char* buffer) const;
    Orb::String stringValue() const;
    U64 hashValue() const;

    friend bool operator==(const EthAddr&, const EthAddr&) = default;
    friend std::strong_ordering operator<=>(const EthAddr& a, const EthAddr& b) {
        return a.bytes_ <=> b.bytes_;
    }

  private:
    Bytes bytes_{};
};

}  // namespace Wire
