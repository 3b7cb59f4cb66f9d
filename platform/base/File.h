// Open files: their owner, writing all of a text, and a new file in the place of another. What
// fails leaves the reason in errno; callers know what to say about it.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "orb/Types.h"

struct stat;

namespace Base {

// Owns an open file, or anything else with a descriptor.
class ORB_EXPORT FileDescriptor {
  public:
    FileDescriptor() = default;
    // Not open when negative, as the system's calls return it.
    explicit FileDescriptor(int number) : number_(number) {}
    FileDescriptor(FileDescriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    // errno stays: it is that of whatever failed before.
    ~FileDescriptor();

    int number() const { return number_; }
    bool isOpen() const { return number_ >= 0; }
    // False: what was written before may be lost. Of one that is not open: nothing.
    bool close();

  private:
    int number_ = -1;
};

// A pipe, which programs that are started do not inherit. Throws std::system_error.
struct Pipe {
    FileDescriptor reader;
    FileDescriptor writer;
};
ORB_EXPORT Pipe openPipe();

// Writes all bytes; a write that a signal interrupts is repeated while mayGoOn() says so.
ORB_EXPORT bool writeAll(int fd, std::string_view bytes, bool (*mayGoOn)() = nullptr);

// Gives an open file the mode of a former one, and its owner and group as far as the system
// permits: few may give a file away, and a group only to one of their own. False: the mode cannot
// be set.
ORB_EXPORT bool accessIs(int fd, const struct stat& former);

// Puts a file in the place of another, and syncs the folder of both, which is opened before: until
// the rename a failure has changed nothing.
ORB_EXPORT FileDescriptor openFolder(const std::string& folder);
enum class Replacement { failed, notSynced, done };
ORB_EXPORT Replacement replaceFile(const std::string& from, const std::string& to,
                                   const FileDescriptor& folder);

}  // namespace Base
