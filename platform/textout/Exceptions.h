// How output ends early: the operator's interrupt, and a descriptor that takes no more.
#pragma once

#include <exception>
#include <system_error>

#include "orb/Interrupt.h"

namespace textout {

// The operator interrupted the command. Its message is "interrupted".
class ORB_EXPORT SigIntException : public std::exception {
  public:
    const char* what() const noexcept override;
};

// The output could not be written; code() is the system's error.
class ORB_EXPORT WriteError : public std::system_error {
  public:
    explicit WriteError(int error);
};

[[noreturn]] ORB_EXPORT void throwInterrupt();

// Throws SigIntException once the operator has interrupted.
inline void checkInterrupt() {
    if (Orb::interruptRequested()) [[unlikely]]
        throwInterrupt();
}

// Prints "exiting <message>" and a line end to the process's standard output; gives up when that
// does not take it within 20 ms.
ORB_EXPORT void printExiting(const char* message);

}  // namespace textout
