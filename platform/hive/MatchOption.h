// The address family of a rule's match, by which everything per family is keyed.
#pragma once

#include <string_view>

#include "orb/Types.h"

namespace PolicyMap {

enum class ClassMapMatchOption : U8 { ipv4 = 0, ipv6 = 1, mac = 2, mpls = 3 };

inline constexpr ClassMapMatchOption matchOptions[] = {
    ClassMapMatchOption::ipv4, ClassMapMatchOption::ipv6, ClassMapMatchOption::mac,
    ClassMapMatchOption::mpls};

// "ipv4", "ipv6", "mac", "mpls"; empty for any other value.
constexpr std::string_view matchOptionName(ClassMapMatchOption option) {
    switch (option) {
        case ClassMapMatchOption::ipv4:
            return "ipv4";
        case ClassMapMatchOption::ipv6:
            return "ipv6";
        case ClassMapMatchOption::mac:
            return "mac";
        case ClassMapMatchOption::mpls:
            return "mpls";
    }
    return {};
}

template <class Stream>
Stream& operator<<(Stream& stream, ClassMapMatchOption option) {
    stream << matchOptionName(option);
    return stream;
}

}  // namespace PolicyMap
