#include "base/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <system_error>

namespace Base {

FileDescriptor::~FileDescriptor() {
    const int error = errno;
    close();
    errno = error;
}

bool FileDescriptor::close() { return !isOpen() || ::close(std::exchange(number_, -1)) == 0; }

Pipe openPipe() {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

bool writeAll(int fd, std::string_view bytes, bool (*mayGoOn)()) {
    while (!bytes.empty()) {
        const ssize_t written = ::write(fd, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR && (mayGoOn == nullptr || mayGoOn())) continue;
        if (written < 0) return false;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

bool accessIs(int fd, const struct stat& former) {
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    if (::fchmod(fd, former.st_mode & 0777) != 0) return false;
    [[maybe_unused]] const bool isGiven = ::fchown(fd, former.st_uid, former.st_gid) == 0 ||
                                          ::fchown(fd, sameOwner, former.st_gid) == 0;
    return true;
}

FileDescriptor openFolder(const std::string& folder) {
    return FileDescriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

Replacement replaceFile(const std::string& from, const std::string& to,
                        const FileDescriptor& folder) {
    if (::rename(from.c_str(), to.c_str()) != 0) return Replacement::failed;
    return ::fsync(folder.number()) == 0 ? Replacement::done : Replacement::notSynced;
}

}  // namespace Base
