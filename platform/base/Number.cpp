#include "base/Number.h"

#include <algorithm>
#include <charconv>

namespace Base {

namespace {

bool areDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

bool hasLeadingZeros(std::string_view digits) { return digits.size() > 1 && digits[0] == '0'; }

std::string_view withoutLeadingZeros(std::string_view digits) {
    return digits.substr(std::min(digits.find_first_not_of('0'), digits.size() - 1));
}

struct Halves {
    std::string_view low;
    std::string_view high;
};

Halves halvesOf(std::string_view range) {
    const std::size_t dash = range.find('-');
    if (dash == std::string_view::npos) return {range, range};
    return {range.substr(0, dash), range.substr(dash + 1)};
}

}  // namespace

std::optional<U64> parseNumber(std::string_view text, Bounds bounds) {
    U64 number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || hasLeadingZeros(text)) return std::nullopt;
    return bounds.holds(number) ? std::optional(number) : std::nullopt;
}

std::optional<NumberRange> parseRange(std::string_view text, Bounds bounds) {
    const auto [lowText, highText] = halvesOf(text);
    const auto low = parseNumber(lowText, bounds);
    const auto high = parseNumber(highText, bounds);
    if (!low || !high || *low > *high) return std::nullopt;
    return NumberRange{*low, *high};
}

NumberFault numberFault(std::string_view text, Bounds bounds) {
    if (!areDigits(text)) return {"is not a number", {}};
    if (!hasLeadingZeros(text)) return {"is out of range", {}};
    const auto meant = parseNumber(withoutLeadingZeros(text), bounds);
    return {"has leading zeros", meant ? std::to_string(*meant) : std::string()};
}

NumberFault rangeFault(std::string_view text, Bounds bounds) {
    const auto [lowText, highText] = halvesOf(text);
    if (!areDigits(lowText) || !areDigits(highText)) return {"is not a range", {}};
    const auto low = parseNumber(withoutLeadingZeros(lowText), bounds);
    const auto high = parseNumber(withoutLeadingZeros(highText), bounds);
    const std::string meant =
        low && high ? rangeText(std::min(*low, *high), std::max(*low, *high)) : std::string();
    if (hasLeadingZeros(lowText) || hasLeadingZeros(highText)) return {"has leading zeros", meant};
    if (low && high) return {"starts above its end", meant};
    return {"is out of range", {}};
}

std::string rangeText(U64 low, U64 high) {
    std::string text = std::to_string(low);
    if (low != high) text += '-' + std::to_string(high);
    return text;
}

}  // namespace Base
