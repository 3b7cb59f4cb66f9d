// Broken invariants: the text of the failed expression, file and line on standard error, then
// abort(). Assertions hold in release builds too.
#pragma once

#include "orb/Types.h"

#define ORB_ASSERT(...) \
    ((__VA_ARGS__) ? void(0) : ::Orb::assertionFailed(#__VA_ARGS__, __FILE__, __LINE__))

namespace Orb {

// Prints "assertion failed: <expression>" with the place, and aborts.
[[noreturn]] ORB_EXPORT void assertionFailed(const char* expression, const char* file, int line);

}  // namespace Orb
