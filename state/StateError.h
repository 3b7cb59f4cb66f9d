// What is thrown when a state directory cannot be read as a whole.
#pragma once

#include <stdexcept>

namespace StateDirectory {

// what() is one line without control characters: the document, the place as a JSON pointer (RFC
// 6901; line and column where the text is no JSON), what is wrong, and what was expected.
class StateError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// A document could not be read whole: what it holds is not known, and may well be in order.
class UnreadableError : public StateError {
  public:
    using StateError::StateError;
};

}  // namespace StateDirectory
