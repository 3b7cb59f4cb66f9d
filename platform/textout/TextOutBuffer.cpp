#include "textout/TextOutBuffer.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

namespace textout {

namespace {

using Clock = std::chrono::steady_clock;
constexpr int pollMilliseconds = 10;
constexpr auto patienceAfterInterrupt = std::chrono::milliseconds(30);

// A descriptor whose reader may keep a writer waiting: a pipe, a socket, a terminal.
bool mayBlock(int fd) {
    struct stat status {};
    if (::fstat(fd, &status) != 0) return false;
    // A descriptor for reading never polls writable; writing tells what is wrong with it.
    if ((::fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDONLY) return false;
    return S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode) ||
           (S_ISCHR(status.st_mode) && ::isatty(fd) == 1);
}

enum class Outcome { done, failed, gaveUp };

// Writes the text, leaves in it what was not written, and asks giveUp() again and again while it
// waits. A waiting writer polls and hands over pieces that a descriptor which polls writable takes
// without blocking, so no wait is longer than the poll's.
template <class GiveUp>
Outcome writeAll(int fd, std::string_view& text, GiveUp giveUp) {
    const bool polls = mayBlock(fd);
    while (!text.empty()) {
        if (polls) {
            if (giveUp()) return Outcome::gaveUp;
            pollfd ready{fd, POLLOUT, 0};
            if (::poll(&ready, 1, pollMilliseconds) <= 0) continue;
        }
        const std::size_t piece =
            polls ? std::min<std::size_t>(text.size(), PIPE_BUF) : text.size();
        const ssize_t written = ::write(fd, text.data(), piece);
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
    : fd_(static_cast<int>(fd)), data_(new char[capacity + closingRoom]) {}

TextOutBuffer::~TextOutBuffer() {
    if (failed_) return;
    std::string_view rest(data_.get(), size_);
    if (Orb::interruptRequested()) {
        writeAll(fd_, rest, patience());
    } else {
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

}  // namespace textout
