#include "wire/EthAddr.h"

#include "wire/Digits.h"

namespace Wire {

std::optional<EthAddr> EthAddr::parse(std::string_view text) {
    if (text.size() != printedSize) return std::nullopt;
    EthAddr address;
    for (std::size_t i = 0; i < address.bytes_.size(); ++i) {
        const int high = hexDigitValue(text[3 * i]);
        const int low = hexDigitValue(text[3 * i + 1]);
        if (high < 0 || low < 0 || (i > 0 && text[3 * i - 1] != ':')) return std::nullopt;
        address.bytes_[i] = static_cast<U8>(16 * high + low);
    }
    return address;
}

std::size_t EthAddr::print(char* buffer) const {
    for (std::size_t i = 0; i < bytes_.size(); ++i) {
        if (i > 0) buffer[3 * i - 1] = ':';
        buffer[3 * i] = hexDigits[bytes_[i] >> 4];
        buffer[3 * i + 1] = hexDigits[bytes_[i] & 15];
    }
    return printedSize;
}

Orb::String EthAddr::stringValue() const {
    Orb::String text(printedSize, '\0');
    print(text.data());
    return text;
}

U64 EthAddr::hashValue() const {
    U64 value = 0;
    for (const U8 byte : bytes_) value = value << 8 | byte;
    return value;
}

}  // namespace Wire
