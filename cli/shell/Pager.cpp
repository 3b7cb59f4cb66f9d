#include "cli/shell/Pager.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <utility>
#include <vector>

#include "base/Escape.h"
#include "base/File.h"
#include "cli/shell/ReportStream.h"
#include "cli/shell/Sinks.h"
#include "textout/Exceptions.h"

namespace Cli::Shell {

namespace {

// A program that reads from a pipe.
class PagerProcess {
  public:
    PagerProcess(int terminal, const std::string& command) : terminal_(terminal) {
        Base::Pipe pipe = Base::openPipe();
        const int error = start(command, pipe.reader.number());
        if (error != 0) {
            throw std::system_error(error, std::generic_category(), Base::escaped(command));
        }
        writer_ = std::move(pipe.writer);
    }
    PagerProcess(const PagerProcess&) = delete;
    PagerProcess& operator=(const PagerProcess&) = delete;
    ~PagerProcess() { waitFor(); }

    int writer() const { return writer_.number(); }

    // Ends its input and waits until it is left. Returns its exit status.
    int waitFor() {
        writer_.close();
        int status = 0;
        if (process_ > 0) {
            while (::waitpid(process_, &status, 0) < 0 && errno == EINTR) continue;
        }
        process_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    }

  private:
    int start(const std::string& command, int reader) {
        posix_spawn_file_actions_t files;
        posix_spawnattr_t attributes;
        ::posix_spawn_file_actions_init(&files);
        ::posix_spawn_file_actions_adddup2(&files, reader, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&files, terminal_, STDOUT_FILENO);
        ::posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        for (const int signal : {SIGPIPE, SIGINT, SIGTSTP}) sigaddset(&signals, signal);
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        const char* const arguments[] = {"sh", "-c", command.c_str(), nullptr};
        // Names are UTF-8, whatever the locale says.
        std::vector<char*> environment;
        for (char** variable = environ; *variable != nullptr; ++variable) {
            environment.push_back(*variable);
        }
        static char utf8[] = "LESSCHARSET=utf-8";
        if (std::getenv("LESSCHARSET") == nullptr) environment.push_back(utf8);
        environment.push_back(nullptr);
        const int error = ::posix_spawn(&process_, "/bin/sh", &files, &attributes,
                                        const_cast<char* const*>(arguments), environment.data());
        ::posix_spawn_file_actions_destroy(&files);
        ::posix_spawnattr_destroy(&attributes);
        return error;
    }

    int terminal_;
    Base::FileDescriptor writer_;
    pid_t process_ = 0;
};

class PagerSink : public Sink {
  public:
    PagerSink(int terminal, ScreenSize size, std::string command)
        : terminal_(terminal), size_(size), command_(std::move(command)) {}
    ~PagerSink() override { out_.reset(); }

    void write(std::string_view bytes) override {
        if (pager_ == nullptr) {
            count(bytes);
            held_ += bytes;
            if (rows_ < size_.lines) return;
            pager_ = std::make_unique<PagerProcess>(terminal_, command_);
            out_ = toDescriptor(pager_->writer());
            bytes = held_;
        }
        tried([&] { out_->write(bytes); });
        if (!held_.empty()) held_.clear();
    }
    void flush() override {
        if (pager_ != nullptr) tried([&] { out_->flush(); });
    }
    void end(bool isWhole) override {
        if (pager_ == nullptr) {
            const auto out = toDescriptor(terminal_);
            out->write(held_);
            out->end(isWhole);
            return;
        }
        flush();
        leave();
    }

  private:
    // How many rows of the screen the bytes take.
    void count(std::string_view bytes) {
        for (const char byte : bytes) {
            if (byte == '\n') {
                ++rows_;
                column_ = 0;
            } else if ((byte & 0xC0) != 0x80 && ++column_ > size_.columns) {
                ++rows_;
                column_ = 1;
            }
        }
    }
    template <class Operation>
    void tried(Operation operation) {
        try {
            operation();
        } catch (const textout::WriteError& error) {
            if (error.code().value() != EPIPE) throw;
            leave();
            throw ReaderLeft();
        }
    }
    void leave() {
        constexpr int notExecutable = 126;  // as the shell says it; 127: not found
        const int status = pager_->waitFor();
        if (status == 0) return;
        const std::string failure = status == notExecutable || status == notExecutable + 1
                                        ? "cannot be run"
                                        : "ended with status " + std::to_string(status);
        throw std::runtime_error("the pager " + failure + ": " + Base::escaped(command_) +
                                 "; \"| no-more\" does without");
    }

    int terminal_;
    ScreenSize size_;
    std::string command_;
    std::string held_;
    std::size_t rows_ = 0;
    std::size_t column_ = 0;
    std::unique_ptr<PagerProcess> pager_;
    std::unique_ptr<Sink> out_;
};

bool isProgram(std::string_view name) {
    const char* const variable = std::getenv("PATH");
    std::string_view path = variable != nullptr ? variable : "/usr/bin:/bin";
    for (;;) {
        const std::size_t length = std::min(path.find(':'), path.size());
        const std::string file = std::string(path.substr(0, length)) + "/" + std::string(name);
        if (::access(file.c_str(), X_OK) == 0) return true;
        if (length == path.size()) return false;
        path.remove_prefix(length + 1);
    }
}

}  // namespace

ScreenSize screenSize() {
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) size = {};
    return {size.ws_row > 0 ? size.ws_row : 24U, size.ws_col > 0 ? size.ws_col : 80U};
}

std::string pagerCommand() {
    if (const char* const named = std::getenv("PAGER")) return named;
    return isProgram("less") ? "less -FRX" : "";
}

std::unique_ptr<Sink> throughPager(int terminal, ScreenSize size, std::string command) {
    return std::make_unique<PagerSink>(terminal, size, std::move(command));
}

}  // namespace Cli::Shell
