#include "state/SnapshotsFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string_view>
#include <thread>

#include "orb/Escape.h"
#include "textout/Interrupt.h"

namespace StateDirectory {

namespace {

constexpr auto documentName = "snapshots.json";
constexpr auto lockName = "snapshots.lock";
constexpr std::string_view temporaryPrefix = "snapshots.json.new-";
constexpr mode_t fileMode = 0640;

[[noreturn]] void fail(const std::string& path, std::string_view doing) {
    throw StateError(Orb::escaped(path) + ": " + std::string(doing) + ": " + std::strerror(errno));
}

// A file descriptor that is closed at the end of its life.
class Descriptor {
  public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    int get() const { return fd_; }

  private:
    int fd_;
};

int openLock(const std::string& path) {
    const int fd =
        ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, fileMode);
    if (fd < 0) fail(path, "cannot open the lock of the snapshots");
    struct stat status {};
    if (::fstat(fd, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(fd);
        throw StateError(Orb::escaped(path) + ": is no regular file");
    }
    return fd;
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

void writeAll(int fd, std::string_view text, const std::string& path) {
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) fail(path, "cannot write");
        text.remove_prefix(static_cast<std::size_t>(written));
    }
}

void syncDirectory(const std::string& directory) {
    const Descriptor fd(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.get() < 0 || ::fsync(fd.get()) != 0) fail(directory, "cannot sync the directory");
}

}  // namespace

SnapshotsWriter::SnapshotsWriter(std::string directory)
    : directory_(std::move(directory)), lock_(openLock(pathOf(lockName))) {
    try {
        waitForLock(lock_, pathOf(lockName));
    } catch (...) {
        ::close(lock_);
        throw;
    }
    removeTemporaries();
}

SnapshotsWriter::~SnapshotsWriter() { ::close(lock_); }

void SnapshotsWriter::removeTemporaries() const {
    std::error_code ignored;  // what cannot be removed is no obstacle to writing
    for (const auto& entry : std::filesystem::directory_iterator(directory_, ignored)) {
        if (entry.path().filename().string().starts_with(temporaryPrefix)) {
            std::filesystem::remove(entry.path(), ignored);
        }
    }
}

std::string SnapshotsWriter::keepDamaged() const {
    const std::string stem = documentName + (".damaged-" + std::to_string(std::time(nullptr)));
    for (int attempt = 1;; ++attempt) {
        std::string name = attempt == 1 ? stem : stem + "-" + std::to_string(attempt);
        if (::link(pathOf(documentName).c_str(), pathOf(name).c_str()) == 0) return name;
        if (errno != EEXIST) fail(pathOf(documentName), "cannot keep the damaged document");
    }
}

void SnapshotsWriter::save(const Snapshots& snapshots) const {
    const std::string text = snapshotsText(snapshots);
    std::string temporary = pathOf(std::string(temporaryPrefix) + "XXXXXX");
    const Descriptor fd(::mkostemp(temporary.data(), O_CLOEXEC));
    if (fd.get() < 0) fail(temporary, "cannot make a temporary file");
    try {
        writeAll(fd.get(), text, temporary);
        if (::fchmod(fd.get(), fileMode) != 0) fail(temporary, "cannot set the mode");
        if (::fsync(fd.get()) != 0) fail(temporary, "cannot sync");
        if (::rename(temporary.c_str(), pathOf(documentName).c_str()) != 0) {
            fail(temporary, "cannot rename");
        }
    } catch (const StateError&) {
        ::unlink(temporary.c_str());
        throw;
    }
    syncDirectory(directory_);
}

}  // namespace StateDirectory
