#include "state/OpenDocument.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "base/Escape.h"

namespace StateDirectory {

void refuseUnreadable(const std::string& path, const std::string& wrong,
                      const std::string& expected) {
    throw UnreadableError(Base::escaped(path) + ": " + wrong + ", expected " + expected);
}

void refuseFailed(const std::string& path, const char* operation) {
    refuseUnreadable(path, std::string(operation) + ": " + std::strerror(errno));
}

OpenDocument openDocument(const std::string& path) {
    OpenDocument document;
    document.file =
        Base::FileDescriptor(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!document.file.isOpen()) refuseFailed(path, "cannot be opened");
    struct stat status {};
    if (::fstat(document.file.number(), &status) != 0) refuseFailed(path, "cannot be read");
    if (!S_ISREG(status.st_mode)) refuseUnreadable(path, "is not a regular file");
    document.size = static_cast<std::size_t>(status.st_size);
    if (document.size > OpenDocument::maxSize) {
        refuseUnreadable(path, "has " + std::to_string(document.size) + " bytes",
                         "at most " + std::to_string(OpenDocument::maxSize));
    }
    document.written = Orb::Seconds(static_cast<double>(status.st_mtim.tv_sec) +
                                    static_cast<double>(status.st_mtim.tv_nsec) * 1e-9);
    return document;
}

}  // namespace StateDirectory
