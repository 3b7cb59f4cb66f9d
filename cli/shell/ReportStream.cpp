#include "cli/shell/ReportStream.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>
#include <vector>

#include "textout/Exceptions.h"

namespace Cli::Shell {

namespace {

constexpr int pollMilliseconds = 5;
constexpr std::size_t chunkSize = 1 << 16;

// Waits for input; throws SigIntException once the operator has interrupted.
void waitFor(int fd) {
    pollfd ready{fd, POLLIN, 0};
    do {
        textout::checkInterrupt();
    } while (::poll(&ready, 1, pollMilliseconds) <= 0);
}

bool isInputWaiting(int fd) {
    pollfd ready{fd, POLLIN, 0};
    return ::poll(&ready, 1, 0) > 0 && (ready.revents & POLLIN) != 0;
}

}  // namespace

ReportStream::ReportStream(std::unique_ptr<Sink> sink)
    : sink_(std::move(sink)), pipe_(Base::openPipe()) {
    // Signals go to the thread of the command, which they are to wake.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    sigdelset(&all, SIGALRM);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    thread_ = std::thread([this] { carry(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ReportStream::~ReportStream() {
    pipe_.writer.close();
    end();
}

// A write that waits for a terminal may be deaf to anything but signals.
void ReportStream::end() {
    if (!thread_.joinable()) return;
    std::unique_lock lock(mutex_);
    while (!hasEnded_.wait_for(lock, std::chrono::milliseconds(3), [this] { return isEnded_; })) {
        if (Orb::interruptRequested()) ::pthread_kill(thread_.native_handle(), SIGALRM);
    }
    lock.unlock();
    thread_.join();
}

void ReportStream::carry() {
    try {
        std::vector<char> chunk(chunkSize);
        for (;;) {
            waitFor(pipe_.reader.number());
            const ssize_t count = ::read(pipe_.reader.number(), chunk.data(), chunk.size());
            if (count <= 0) break;
            sink_->write({chunk.data(), static_cast<std::size_t>(count)});
            if (!isInputWaiting(pipe_.reader.number())) sink_->flush();
        }
        sink_->end(isWhole_);
    } catch (...) {
        failure_ = std::current_exception();
    }
    pipe_.reader.close();  // who still writes learns that nobody reads
    sink_.reset();
    const std::lock_guard lock(mutex_);
    isEnded_ = true;
    hasEnded_.notify_all();
}

void ReportStream::finish() {
    isWhole_ = true;
    pipe_.writer.close();
    end();
    if (failure_) std::rethrow_exception(std::exchange(failure_, nullptr));
}

}  // namespace Cli::Shell
