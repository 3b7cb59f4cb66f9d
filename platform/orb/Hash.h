// Hashes for HashMap2018: std::hash, or the type's own hashValue(), with the bits mixed.
#pragma once

#include <functional>
#include <string_view>
#include <type_traits>

#include "orb/Ptr.h"

namespace Orb {

// Spreads the bits of a word over the whole word, so that any of them may choose a bucket.
inline U64 mixBits(U64 value) {
    value ^= value >> 32;
    value *= 0x9e3779b97f4a7c15U;
    value ^= value >> 29;
    return value;
}

// Values that compare equal across types hash alike: strings of every kind, Ptr and plain pointer.
template <class T>
U64 hashOf(const T& value) {
    if constexpr (requires { value.textHash(); }) {
        return value.textHash();
    } else if constexpr (requires { value.hashValue(); }) {
        return mixBits(value.hashValue());
    } else if constexpr (std::is_convertible_v<const T&, std::string_view>) {
        return std::hash<std::string_view>()(value);
    } else if constexpr (requires { value.get(); }) {
        return hashOf(value.get());
    } else if constexpr (std::is_pointer_v<T>) {
        return mixBits(reinterpret_cast<std::uintptr_t>(value));
    } else if constexpr (std::is_enum_v<T> || std::is_integral_v<T>) {
        return mixBits(static_cast<U64>(value));
    } else {
        return std::hash<T>()(value);
    }
}

}  // namespace Orb
