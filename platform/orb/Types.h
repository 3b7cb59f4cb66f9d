// The integer names of the object model, and its string.
#pragma once

#include <cstdint>
#include <string>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;

// Marks what a shared object offers to the rest of the process; everything else stays hidden.
#define ORB_EXPORT __attribute__((visibility("default")))

namespace Orb {

// A string of bytes, by custom UTF-8. Names from outside may hold any byte; whoever prints one
// escapes it (textout does).
using String = std::string;

}  // namespace Orb
