// A document's file, opened for reading.
#pragma once

#include <string>

#include "base/File.h"
#include "orb/Seconds.h"
#include "state/StateError.h"

namespace StateDirectory {

struct OpenDocument {
    static constexpr std::size_t maxSize = std::size_t{1} << 30;

    Base::FileDescriptor file;
    std::size_t size = 0;  // in bytes
    Orb::Seconds written{0};
};

// Opens a regular file of at most maxSize bytes, without ever waiting (a FIFO without a writer
// would). Throws UnreadableError when that fails.
OpenDocument openDocument(const std::string& path);

// Throws the UnreadableError of a document.
[[noreturn]] void refuseUnreadable(const std::string& path, const std::string& wrong,
                                   const std::string& expected = "a readable regular file");
// ... of a system call that failed: errno tells why.
[[noreturn]] void refuseFailed(const std::string& path, const char* operation);

}  // namespace StateDirectory
