// A set of families of packets.
#pragma once

#include <algorithm>
#include <initializer_list>

#include "hive/MatchOption.h"
#include "orb/Types.h"

namespace Import {

using PolicyMap::ClassMapMatchOption;

inline constexpr ClassMapMatchOption allOptions[] = {
    ClassMapMatchOption::ipv4, ClassMapMatchOption::ipv6, ClassMapMatchOption::mac,
    ClassMapMatchOption::mpls};

class Families {
  public:
    constexpr Families() = default;
    constexpr Families(std::initializer_list<ClassMapMatchOption> options) {
        for (const ClassMapMatchOption option : options) insert(option);
    }

    constexpr void insert(ClassMapMatchOption option) { bits_ |= bitOf(option); }
    constexpr bool contains(ClassMapMatchOption option) const {
        return (bits_ & bitOf(option)) != 0;
    }
    constexpr bool isEmpty() const { return bits_ == 0; }
    constexpr Families operator&(Families other) const {
        other.bits_ &= bits_;
        return other;
    }
    constexpr bool operator==(const Families&) const = default;

    // In the order of the options.
    template <class Visit>
    void forEach(const Visit& visit) const {
        for (const ClassMapMatchOption option : allOptions) {
            if (contains(option)) visit(option);
        }
    }
    // REQUIRES: it is not empty.
    ClassMapMatchOption first() const {
        return *std::ranges::find_if(allOptions, [&](auto option) { return contains(option); });
    }

  private:
    static constexpr U32 bitOf(ClassMapMatchOption option) {
        return U32{1} << static_cast<U32>(option);
    }

    U32 bits_ = 0;
};

}  // namespace Import
