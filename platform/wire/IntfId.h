// The id of an interface: its name, as "Ethernet1" or "Vlan10". Ids order by the bytes of the name,
// so Ethernet10 stands before Ethernet2.
#pragma once

#include <compare>
#include <functional>
#include <utility>

#include "orb/Types.h"

namespace Wire {

class ORB_EXPORT IntfId {
  public:
    // An id without a name; no interface has it.
    IntfId() = default;
    explicit IntfId(Orb::String name) : name_(std::move(name)) {}

    // The name; it may hold any byte, so whoever prints it escapes it.
    const Orb::String& stringValue() const { return name_; }
    U64 hashValue() const { return std::hash<Orb::String>()(name_); }

    friend bool operator==(const IntfId&, const IntfId&) = default;
    friend std::strong_ordering operator<=>(const IntfId& a, const IntfId& b) {
        return a.name_ <=> b.name_;
    }

  private:
    Orb::String name_;
};

}  // namespace Wire
