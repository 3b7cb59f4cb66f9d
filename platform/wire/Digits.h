// Digits of printed addresses: hexadecimal digit values and the decimal numbers of one byte.
#pragma once

#include <array>
#include <cstring>

#include "orb/Types.h"

namespace Wire {

inline constexpr char hexDigits[] = "0123456789abcdef";

namespace Detail {

struct DecimalByte {
    std::array<char, 3> digits{};
    U8 length = 0;
};
static_assert(sizeof(DecimalByte) == 4);

// The decimal forms of 0 to 255, without leading zeros.
inline constexpr auto decimalBytes = [] {
    std::array<DecimalByte, 256> all{};
    for (U32 value = 0; value < all.size(); ++value) {
        DecimalByte& entry = all[value];
        for (U32 unit = value < 10 ? 1 : value < 100 ? 10 : 100; unit > 0; unit /= 10) {
            entry.digits[entry.length++] = static_cast<char>('0' + value / unit % 10);
        }
    }
    return all;
}();

// The values of hexadecimal digits of either case; -1 for all other characters.
inline constexpr auto hexValues = [] {
    std::array<signed char, 256> all{};
    all.fill(-1);
    for (int digit = 0; digit < 16; ++digit) {
        const auto lower = static_cast<unsigned char>(hexDigits[digit]);
        all[lower] = static_cast<signed char>(digit);
        if (digit >= 10) all[lower - 'a' + 'A'] = static_cast<signed char>(digit);
    }
    return all;
}();

}  // namespace Detail

// The value of a hexadecimal digit, -1 when the character is none.
constexpr int hexDigitValue(char character) {
    return Detail::hexValues[static_cast<unsigned char>(character)];
}

// Writes a byte in decimal and returns the end of it. The buffer has room for 4 bytes, all of which
// are written, at once.
inline char* printDecimal(char* out, U8 value) {
    const Detail::DecimalByte& entry = Detail::decimalBytes[value];
    std::memcpy(out, &entry, sizeof entry);
    return out + entry.length;
}

}  // namespace Wire
