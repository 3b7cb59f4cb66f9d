#include "state/DocumentWriter.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <thread>

#include "base/Escape.h"
#include "state/StateError.h"
#include "textout/Exceptions.h"

namespace StateDirectory {

using Base::FileDescriptor;

namespace {

constexpr mode_t lockMode = 0644;

[[noreturn]] void fail(const std::string& path, std::string_view doing) {
    throw StateError(Base::escaped(path) + ": " + std::string(doing) + ": " + std::strerror(errno));
}

// Where the document is: at the path, or where a link at the path leads.
std::string documentBehind(const std::string& path) {
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return path;
    char* const resolved = ::realpath(path.c_str(), nullptr);
    if (resolved == nullptr) fail(path, "cannot follow the link");
    std::string document = resolved;
    std::free(resolved);
    return document;
}

// The lock holds nothing, and a lock is taken on a file that is open for reading just as well. So
// everybody who may make the first lock, or read that of another, may clear.
FileDescriptor openLock(const std::string& path) {
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
    FileDescriptor lock;
    do {
        lock = FileDescriptor(::open(path.c_str(), flags));
        // Separate steps: where everybody may write, the system refuses O_CREAT on another's file.
        if (!lock.isOpen() && errno == ENOENT) {
            lock = FileDescriptor(::open(path.c_str(), flags | O_CREAT | O_EXCL, lockMode));
        }
    } while (!lock.isOpen() && (errno == EEXIST || errno == EINTR));
    if (!lock.isOpen()) fail(path, "cannot open the lock");
    struct stat status {};
    if (::fstat(lock.number(), &status) != 0 || !S_ISREG(status.st_mode)) {
        throw StateError(Base::escaped(path) + ": it is not a regular file");
    }
    // Whatever the process masks. Only the owner may; others have it open already.
    if ((status.st_mode & lockMode) != lockMode && status.st_uid == ::geteuid() &&
        ::fchmod(lock.number(), lockMode) != 0) {
        fail(path, "cannot set the mode");
    }
    return lock;
}

// Asks again and again instead of sleeping in the call, where an interrupt that comes just before
// it would go unnoticed.
void waitForLock(int fd, const std::string& path) {
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) fail(path, "cannot lock");
        textout::checkInterrupt();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

// A new file that is gone at the end of its life unless it was renamed.
class Temporary {
  public:
    // Its name is the first free one that begins like this.
    Temporary(const std::string& begin, mode_t mode) : file_(open(begin, mode)) {}
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;
    ~Temporary() {
        if (!path_.empty()) ::unlink(path_.c_str());
    }
    int fd() const { return file_.number(); }
    const std::string& path() const { return path_; }
    // Returns whether the folder could be synced as well.
    bool putInPlace(const std::string& to, const FileDescriptor& folder) {
        const auto outcome = Base::replaceFile(path_, to, folder);
        if (outcome == Base::Replacement::failed) fail(path_, "cannot rename");
        path_.clear();
        return outcome == Base::Replacement::done;
    }

  private:
    FileDescriptor open(const std::string& begin, mode_t mode) {
        // Names are taken only by what a killed writer left and this user may not remove.
        constexpr int mostNames = 1000;
        for (int i = 0; i < mostNames; ++i) {
            path_ = begin + std::to_string(i);
            FileDescriptor file(
                ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
            if (file.isOpen()) return file;
            if (errno != EEXIST) fail(path_, "cannot make a temporary file");
        }
        fail(begin, "cannot make a temporary file");
    }

    std::string path_;
    FileDescriptor file_;
};

}  // namespace

DocumentWriter::DocumentWriter(const std::string& directory, const std::string& stem, Access access)
    : stem_(stem), access_(access) {
    const std::string path = directory + "/" + stem + ".json";
    document_ = documentBehind(path);
    isLinked_ = document_ != path;
    directory_ = isLinked_ ? document_.substr(0, document_.rfind('/')) : directory;
    const std::string lockPath = pathOf(stem + ".lock");
    lock_ = openLock(lockPath);
    waitForLock(lock_.number(), lockPath);
    removeTemporaries();
}

std::string DocumentWriter::temporaryPrefix() const { return stem_ + ".json.new-"; }

void DocumentWriter::removeTemporaries() const {
    const std::string prefix = temporaryPrefix();
    std::error_code ignored;  // what cannot be removed is no obstacle to writing
    std::filesystem::directory_iterator entry(directory_, ignored);
    for (; entry != std::filesystem::directory_iterator(); entry.increment(ignored)) {
        if (entry->path().filename().string().starts_with(prefix)) {
            std::filesystem::remove(entry->path(), ignored);
        }
    }
}

std::string DocumentWriter::keepDamaged() const {
    const std::string stem = document_ + ".damaged-" + std::to_string(std::time(nullptr));
    for (int attempt = 1;; ++attempt) {
        const std::string path = attempt == 1 ? stem : stem + "-" + std::to_string(attempt);
        if (::link(document_.c_str(), path.c_str()) == 0) return path.substr(directory_.size() + 1);
        if (errno != EEXIST) fail(document_, "cannot keep the damaged document");
    }
}

std::string DocumentWriter::save(std::string_view text) const {
    // Opened before anything changes, when it may still fail.
    const FileDescriptor folder = Base::openFolder(directory_);
    if (!folder.isOpen()) fail(directory_, "cannot be opened");
    struct stat former {};
    const bool isFirst = ::stat(document_.c_str(), &former) != 0;
    if (isFirst && errno != ENOENT) fail(document_, "cannot be examined");

    // Less what the process masks.
    const mode_t mode = isFirst && access_ == Access::asBefore ? 0666 : 0600;
    Temporary temporary(pathOf(temporaryPrefix()), mode);
    if (!Base::writeAll(temporary.fd(), text)) fail(temporary.path(), "cannot write");
    if (!isFirst && access_ == Access::asBefore && !Base::accessIs(temporary.fd(), former)) {
        fail(temporary.path(), "cannot set the mode");
    }
    if (::fsync(temporary.fd()) != 0) fail(temporary.path(), "cannot sync");
    textout::checkInterrupt();  // the last moment at which nothing has changed
    if (temporary.putInPlace(document_, folder)) return "";
    return Base::escaped(directory_) + ": cannot sync the directory: " + std::strerror(errno) +
           "; the new document may not outlast a power failure";
}

}  // namespace StateDirectory
