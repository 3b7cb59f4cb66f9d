#include "cli/shell/OtherScreen.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "orb/Interrupt.h"
#include "textout/TextOutBuffer.h"

namespace Cli::Shell {

namespace {

constexpr std::string_view enterScreen = "\033[?1049h\033[?25l";
constexpr std::string_view leaveScreen = "\033[?25h\033[?1049l";

// What signal handlers know.
struct Shared {
    volatile sig_atomic_t terminal = -1;
    volatile sig_atomic_t messages = -1;
    volatile sig_atomic_t standardError = -1;
    volatile sig_atomic_t isEntered = 0;
    volatile sig_atomic_t isFrameLost = 0;
    volatile sig_atomic_t isDrawing = 0;
    volatile sig_atomic_t isStopWanted = 0;
    volatile sig_atomic_t isEnding = 0;
    volatile sig_atomic_t endingSignal = 0;
    void (*interrupt)(int) = nullptr;  // what the program does about SIGINT
};
Shared shared;

// Not for long, when nobody reads what the terminal is sent.
void leave() {
    if (shared.isEntered == 0) return;
    shared.isEntered = 0;
    std::string_view rest = leaveScreen;
    for (int tries = 0; tries < 20 && !rest.empty(); ++tries) {
        pollfd ready{shared.terminal, POLLOUT, 0};
        if (::poll(&ready, 1, 5) <= 0) continue;
        const ssize_t written = ::write(shared.terminal, rest.data(), rest.size());
        if (written < 0 && errno != EAGAIN && errno != EINTR) return;
        rest.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(written, 0)));
    }
}

void stop() {
    leave();
    struct sigaction handled {};
    struct sigaction stopping {};
    stopping.sa_handler = SIG_DFL;
    ::sigaction(SIGTSTP, &stopping, &handled);
    ::raise(SIGTSTP);  // returns when the program goes on
    ::sigaction(SIGTSTP, &handled, nullptr);
}

// The first one ends the report as an interrupt does, the next one the process.
void onEnding(int signal) {
    const int error = errno;
    if (shared.isEnding != 0) {
        giveTerminalBack();
        ::signal(signal, SIG_DFL);
        ::raise(signal);
    } else {
        shared.isEnding = 1;
        if (signal != SIGINT) shared.endingSignal = signal;
        if (shared.interrupt != nullptr) {
            shared.interrupt(SIGINT);
        } else {
            Orb::interruptRequestedIs(true);
        }
    }
    errno = error;
}

// Not in the midst of a frame, whose rest would come when the program goes on.
void onStop(int) {
    const int error = errno;
    if (shared.isDrawing != 0) {
        shared.isStopWanted = 1;
    } else {
        stop();
    }
    errno = error;
}

void onContinue(int) { shared.isFrameLost = 1; }

bool isInForeground() {
    const pid_t group = ::tcgetpgrp(shared.terminal);
    return group < 0 || group == ::getpgrp();
}

// Standard output once more, for writing that never waits; as it is, where that cannot be had.
Base::FileDescriptor openTerminal() {
    Base::FileDescriptor own(
        ::open("/proc/self/fd/1", O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (own.isOpen() && ::isatty(own.number()) == 1) return own;
    return Base::FileDescriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
}

class Drawing {
  public:
    Drawing() { shared.isDrawing = 1; }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;
    ~Drawing() {
        shared.isDrawing = 0;
        if (shared.isStopWanted == 0) return;
        shared.isStopWanted = 0;
        stop();
    }
};

}  // namespace

void giveTerminalBack() {
    leave();
    if (shared.standardError < 0) return;
    ::dup2(shared.standardError, STDERR_FILENO);
    shared.standardError = -1;
    char piece[512];
    for (off_t at = 0;;) {
        const ssize_t count = ::pread(shared.messages, piece, sizeof piece, at);
        if (count <= 0 || ::write(STDERR_FILENO, piece, static_cast<std::size_t>(count)) < 0)
            return;
        at += count;
    }
}

OtherScreen::OtherScreen()
    : terminal_(openTerminal()),
      messages_(::memfd_create("messages", MFD_CLOEXEC)),
      standardError_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    shared = {};
    shared.terminal = terminal_.number();
    struct sigaction interrupt {};
    ::sigaction(SIGINT, nullptr, &interrupt);
    const bool isOnce = (static_cast<unsigned>(interrupt.sa_flags) & SA_RESETHAND) != 0;
    if (interrupt.sa_handler != SIG_DFL && interrupt.sa_handler != SIG_IGN) {
        shared.interrupt = interrupt.sa_handler;
    }
    // Where a second interrupt would end the process.
    if (isOnce || interrupt.sa_handler == SIG_DFL) take(SIGINT, onEnding);
    const struct {
        int signal;
        void (*handler)(int);
    } rows[] = {{SIGTERM, onEnding},
                {SIGHUP, onEnding},
                {SIGQUIT, onEnding},
                {SIGTSTP, onStop},
                {SIGCONT, onContinue}};
    for (const auto& row : rows) {
        struct sigaction now {};
        ::sigaction(row.signal, nullptr, &now);
        if (now.sa_handler == SIG_DFL) take(row.signal, row.handler);
    }
    if (!messages_.isOpen() || !standardError_.isOpen()) return;
    std::fflush(stderr);
    shared.messages = messages_.number();
    shared.standardError = standardError_.number();
    ::dup2(messages_.number(), STDERR_FILENO);
}

void OtherScreen::take(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_NODEFER;  // a stop raises its own signal
    Handled& row = taken_.at(takenCount_++);
    row.signal = signal;
    ::sigaction(signal, &action, &row.before);
}

OtherScreen::~OtherScreen() {
    std::fflush(stderr);
    giveTerminalBack();
    for (std::size_t i = 0; i < takenCount_; ++i) {
        ::sigaction(taken_.at(i).signal, &taken_.at(i).before, nullptr);
    }
    shared.terminal = -1;
    if (shared.endingSignal != 0) ::raise(shared.endingSignal);
}

void OtherScreen::draw(std::string_view frame) {
    if (!isInForeground()) return;
    const Drawing drawing;
    textout::TextOutBuffer out(static_cast<U32>(terminal_.number()));
    if (shared.isEntered == 0 || shared.isFrameLost != 0) out.append(enterScreen);
    shared.isFrameLost = 0;
    shared.isEntered = 1;
    out.append(frame);
    out.flush();
}

bool OtherScreen::lacksFrame() const {
    return (shared.isEntered == 0 || shared.isFrameLost != 0) && isInForeground();
}

std::string OtherScreen::takeMessages() {
    if (!messages_.isOpen()) return "";
    std::fflush(stderr);
    const off_t size = std::max<off_t>(::lseek(messages_.number(), 0, SEEK_CUR), 0);
    std::string text(static_cast<std::size_t>(size), '\0');
    const ssize_t count = ::pread(messages_.number(), text.data(), text.size(), 0);
    text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    ::lseek(messages_.number(), 0, SEEK_SET);
    [[maybe_unused]] const int cut = ::ftruncate(messages_.number(), 0);
    return text;
}

}  // namespace Cli::Shell
