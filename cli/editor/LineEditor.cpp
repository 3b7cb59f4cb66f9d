#include "cli/editor/LineEditor.h"

#include <histedit.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cwchar>
#include <initializer_list>
#include <memory>
#include <optional>

namespace Cli::Shell {

namespace {

// A key that nobody types: draws the line anew.
constexpr wchar_t redisplayKey = L'\x1f';

volatile sig_atomic_t isResized = 0;
volatile sig_atomic_t isSuspended = 0;

// The signals of a terminal are blocked but for the waiting for a key, so that none is missed.
class TerminalSignals {
  public:
    TerminalSignals() {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : {SIGINT, SIGTSTP, SIGWINCH, SIGHUP, SIGTERM}) {
            sigaddset(&blocked, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before_);
        struct sigaction action {};
        action.sa_handler = [](int) { isResized = 1; };
        ::sigaction(SIGWINCH, &action, &resized_);
        action.sa_handler = [](int) { isSuspended = 1; };
        ::sigaction(SIGTSTP, &action, &suspended_);
    }
    TerminalSignals(const TerminalSignals&) = delete;
    TerminalSignals& operator=(const TerminalSignals&) = delete;
    ~TerminalSignals() {
        ::sigaction(SIGWINCH, &resized_, nullptr);
        ::sigaction(SIGTSTP, &suspended_, nullptr);
        ::pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }

    // The mask to wait with.
    const sigset_t& whileWaiting() const { return before_; }

    // Stops the process as SIGTSTP does where nobody handles it; returns when it goes on.
    void suspend() const {
        struct sigaction ours {};
        struct sigaction byDefault {};
        byDefault.sa_handler = SIG_DFL;
        ::sigaction(SIGTSTP, &byDefault, &ours);
        sigset_t stop;
        sigemptyset(&stop);
        sigaddset(&stop, SIGTSTP);
        ::raise(SIGTSTP);
        ::pthread_sigmask(SIG_UNBLOCK, &stop, nullptr);
        ::pthread_sigmask(SIG_BLOCK, &stop, nullptr);
        ::sigaction(SIGTSTP, &ours, nullptr);
    }

  private:
    sigset_t before_{};
    struct sigaction resized_ {};
    struct sigaction suspended_ {};
};

class Editor : public LineEditor {
  public:
    explicit Editor(EditorHooks hooks)
        : hooks_(std::move(hooks)),
          editLine_(::el_init("tpcli", stdin, stdout, stderr), &::el_end),
          history_(::history_init(), &::history_end) {
        if (!isUsable()) return;
        EditLine* const el = editLine_.get();
        HistEvent event;
        ::history(history_.get(), &event, H_SETSIZE, historySize);
        ::history(history_.get(), &event, H_SETUNIQUE, 1);
        ::el_set(el, EL_CLIENTDATA, this);
        ::el_set(el, EL_EDITOR, "emacs");
        ::el_set(el, EL_PROMPT, &promptOf);
        ::el_set(el, EL_HIST, &::history, history_.get());
        ::el_set(el, EL_GETCFN, &readKey);
        ::el_set(el, EL_ADDFN, "tpcli-complete", "completes the word", &onTab);
        ::el_set(el, EL_ADDFN, "tpcli-help", "tells what can stand here", &onQuestion);
        ::el_set(el, EL_BIND, "\t", "tpcli-complete", nullptr);
        ::el_set(el, EL_BIND, "?", "tpcli-help", nullptr);
        ::el_set(el, EL_BIND, "^R", "em-inc-search-prev", nullptr);
        ::el_set(el, EL_BIND, "^_", "ed-redisplay", nullptr);
        ::el_source(el, nullptr);
    }

    bool isUsable() const { return editLine_ != nullptr && history_ != nullptr; }

    Ending read(const std::string& prompt, std::string& line) override {
        prompt_ = prompt;
        const TerminalSignals signals;
        signals_ = &signals;
        state_ = {};
        int length = 0;
        const char* const text = ::el_gets(editLine_.get(), &length);
        if (hooks_.isLeft()) return Ending::left;
        if (text == nullptr || length <= 0) return Ending::end;
        line.assign(text, static_cast<std::size_t>(length));
        if (line.ends_with('\n')) line.pop_back();
        return Ending::line;
    }

    void addToHistory(const std::string& line) override {
        HistEvent event;
        ::history(history_.get(), &event, H_ENTER, line.c_str());
    }

  private:
    static constexpr int historySize = 1000;

    static Editor& of(EditLine* el) {
        Editor* self = nullptr;
        ::el_get(el, EL_CLIENTDATA, &self);
        return *self;
    }
    static char* promptOf(EditLine* el) { return of(el).prompt_.data(); }

    std::string lineToCursor() {
        const LineInfo* const info = ::el_line(editLine_.get());
        return {info->buffer, static_cast<std::size_t>(info->cursor - info->buffer)};
    }

    static unsigned char onTab(EditLine* el, int) {
        Editor& self = of(el);
        return self.show(self.hooks_.tab(self.lineToCursor()));
    }
    static unsigned char onQuestion(EditLine* el, int) {
        Editor& self = of(el);
        return self.show(self.hooks_.question(self.lineToCursor()));
    }

    unsigned char show(const EditorHooks::Answer& answer) {
        if (!answer.inserted.empty()) {
            return ::el_insertstr(editLine_.get(), answer.inserted.c_str()) == 0 ? CC_REFRESH
                                                                                 : CC_ERROR;
        }
        if (answer.shown.empty()) return CC_ERROR;
        std::fprintf(stdout, "\n%s", answer.shown.c_str());
        leaveRoom();
        return CC_REDISPLAY;
    }

    // A line that takes several rows of the screen is erased, row by row, before it is drawn anew
    // below: the rows above it are not to be what was shown.
    void leaveRoom() {
        winsize size{};
        if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
            const LineInfo* const info = ::el_line(editLine_.get());
            const auto bytes =
                prompt_.size() + static_cast<std::size_t>(info->lastchar - info->buffer);
            for (std::size_t row = bytes / size.ws_col; row > 0; --row) std::fputc('\n', stdout);
        }
        std::fflush(stdout);
    }

    static int readKey(EditLine* el, wchar_t* key) { return of(el).waitForKey(key); }

    // Waits for a character, or for what else happens. Returns 1 with a character, 0 at the end of
    // the input, and -1 when the line is to be left.
    int waitForKey(wchar_t* key) {
        for (;;) {
            if (hooks_.isLeft()) return -1;
            suspendIfAsked();
            if (isResized != 0) {
                isResized = 0;
                ::el_resize(editLine_.get());
                *key = redisplayKey;
                return 1;
            }
            pollfd ready[] = {{STDIN_FILENO, POLLIN, 0}, {hooks_.newsDescriptor, POLLIN, 0}};
            if (::ppoll(ready, 2, nullptr, &signals_->whileWaiting()) < 0) continue;
            if ((ready[1].revents & POLLIN) != 0 && tellNews()) {
                *key = redisplayKey;
                return 1;
            }
            if (ready[0].revents == 0) continue;
            if (const auto ending = readByte(key)) return *ending;
        }
    }

    void suspendIfAsked() {
        if (isSuspended == 0) return;
        isSuspended = 0;
        ::el_set(editLine_.get(), EL_PREP_TERM, 0);
        signals_->suspend();
        ::el_set(editLine_.get(), EL_PREP_TERM, 1);
        isResized = 1;
    }

    // Prints what happened over the line. Says whether something did.
    bool tellNews() {
        const std::string news = hooks_.news();
        if (news.empty()) return false;
        std::fprintf(stdout, "\r\033[K%s\n", news.c_str());
        leaveRoom();
        return true;
    }

    // What waitForKey() returns; nothing while the character is not whole.
    std::optional<int> readByte(wchar_t* key) {
        char byte = 0;
        const ssize_t count = ::read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) return std::nullopt;
        if (count <= 0) return 0;
        const std::size_t length = std::mbrtowc(key, &byte, 1, &state_);
        if (length == static_cast<std::size_t>(-2)) return std::nullopt;
        if (length == static_cast<std::size_t>(-1)) {
            state_ = {};
            return std::nullopt;
        }
        return 1;
    }

    EditorHooks hooks_;
    std::unique_ptr<EditLine, decltype(&::el_end)> editLine_;
    std::unique_ptr<History, decltype(&::history_end)> history_;
    std::string prompt_;
    const TerminalSignals* signals_ = nullptr;
    std::mbstate_t state_{};
};

}  // namespace

}  // namespace Cli::Shell

extern "C" __attribute__((visibility("default"))) Cli::Shell::LineEditor* tpcliMakeLineEditor(
    Cli::Shell::EditorHooks hooks);

Cli::Shell::LineEditor* tpcliMakeLineEditor(Cli::Shell::EditorHooks hooks) {
    auto editor = std::make_unique<Cli::Shell::Editor>(std::move(hooks));
    return editor->isUsable() ? editor.release() : nullptr;
}
