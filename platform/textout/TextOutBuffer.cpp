#include "textout/TextOutBuffer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <iterator>

#include "base/File.h"

namespace textout {

namespace {

using Clock = std::chrono::steady_clock;
constexpr int pollMilliseconds = 5;
constexpr auto patienceAfterInterrupt = std::chrono::milliseconds(20);

// A descriptor whose reader may keep a writer waiting: a pipe, a socket, a terminal.
bool mayBlock(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) return false;
    // A descriptor for reading never polls writable; writing tells what is wrong with it.
    if ((::fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY) return false;
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
           (S_ISCHR(status.st_mode) && ::isatty(fd) == 1);
}

// The terminal that a descriptor leads to; 0 for anything else.
unsigned terminalOf(int fd) {
    unsigned device = 0;
    return ::ioctl(fd, TIOCGDEV, &device) == 0 ? device : 0;
}

// The pipe or terminal of a descriptor, opened once more for writing that never waits. A terminal
// that polls writable may still block a writer, and O_NONBLOCK on the descriptor itself would reach
// the other processes that share it, as the shell. Without one of its own (a socket, a terminal of
// another user) writes go to the descriptor, in pieces that one that polls writable takes.
Base::FileDescriptor ownDescriptor(int fd) {
    char path[32] = "/proc/self/fd/";
    *std::to_chars(std::strchr(path, '\0'), std::end(path) - 1, fd).ptr = '\0';
    Base::FileDescriptor own(::open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    // The controlling side of a pseudo-terminal opens as a new pseudo-terminal.
    if (own.isOpen() && terminalOf(own.number()) != terminalOf(fd)) return {};
    return own;
}

enum class Outcome { done, failed, gaveUp };

// Writes the text, leaves in it what was not written, and asks giveUp() again and again while it
// waits, in a poll that is never longer than some milliseconds.
template <class GiveUp>
Outcome writeWaiting(int fd, std::string_view& text, GiveUp giveUp) {
    const Base::FileDescriptor own = ownDescriptor(fd);
    const int to = own.isOpen() ? own.number() : fd;
    const std::size_t longest = own.isOpen() ? text.size() : PIPE_BUF;
    while (!text.empty()) {
        if (giveUp()) return Outcome::gaveUp;
        pollfd ready{to, POLLOUT, 0};
        if (::poll(&ready, 1, pollMilliseconds) <= 0) continue;
        const ssize_t written = ::write(to, text.data(), std::min(text.size(), longest));
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR && errno != EAGAIN) {
            return Outcome::failed;
        }
    }
    return Outcome::done;
}

template <class GiveUp>
Outcome writeAll(int fd, std::string_view& text, GiveUp giveUp) {
    if (text.empty()) return Outcome::done;
    if (mayBlock(fd)) return writeWaiting(fd, text, giveUp);
    while (!text.empty()) {
        const ssize_t written = ::write(fd, text.data(), text.size());
        if (written >= 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EINTR || errno == EAGAIN) {
            if (giveUp()) return Outcome::gaveUp;
        } else {
            return Outcome::failed;
        }
    }
    return Outcome::done;
}

// Gives up some time from now.
auto patience() {
    return [deadline = Clock::now() + patienceAfterInterrupt] { return Clock::now() >= deadline; };
}

}  // namespace

const char* SigIntException::what() const noexcept { return "interrupted"; }

WriteError::WriteError(int error) : std::system_error(error, std::generic_category(), "write") {}

void throwInterrupt() { throw SigIntException(); }

void printExiting(const char* message) {
    const std::string line = std::string("exiting ") + message + "\n";
    std::string_view rest = line;
    writeAll(STDOUT_FILENO, rest, patience());
}

TextOutBuffer::TextOutBuffer(U32 fd)
    : fd_(static_cast<int>(fd)),
      exceptionsAround_(std::uncaught_exceptions()),
      data_(new char[capacity + 2 * closingRoom]) {}

TextOutBuffer::~TextOutBuffer() {
    if (failed_) return;
    std::string_view rest(data_.get(), size_);
    if (Orb::interruptRequested()) {
        writeAll(fd_, rest, patience());
    } else if (std::uncaught_exceptions() == exceptionsAround_) {
        writeAll(fd_, rest, Orb::interruptRequested);
    }
}

void TextOutBuffer::flush() {
    flushedEndsLine_ = endsLine();
    std::string_view rest(data_.get(), size_);
    const Outcome outcome = failed_ ? Outcome::done : writeAll(fd_, rest, Orb::interruptRequested);
    if (outcome == Outcome::gaveUp) {
        size_ = rest.size();
        std::memmove(data_.get(), rest.data(), size_);
        throwInterrupt();
    }
    size_ = 0;
    if (outcome == Outcome::failed) {
        failed_ = true;
        throw WriteError(errno);
    }
}

void TextOutBuffer::appendLarge(std::string_view text) {
    while (!text.empty()) {
        if (room() == 0) flush();
        const std::size_t piece = std::min(text.size(), room());
        std::memcpy(end(), text.data(), piece);
        size_ += piece;
        text.remove_prefix(piece);
    }
}

void TextOutBuffer::fillLarge(std::size_t count, char character) {
    while (count > 0) {
        const std::size_t piece = std::min(count, closingRoom);
        fill(piece, character);
        count -= piece;
    }
}

}  // namespace textout
