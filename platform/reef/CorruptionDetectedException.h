// Thrown when shared memory does not hold what it should.
#pragma once

#include <stdexcept>

#include "orb/Types.h"

namespace Cairn {

// what() says what is wrong, without the name of the store.
class ORB_EXPORT CorruptionDetectedException : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Thrown when it cannot be read: what it holds is not known, and may well be in order.
class ORB_EXPORT UnreadableException : public CorruptionDetectedException {
  public:
    using CorruptionDetectedException::CorruptionDetectedException;
};

}  // namespace Cairn
