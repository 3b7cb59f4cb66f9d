#include "Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

extern char** environ;

namespace {

constexpr auto patience = std::chrono::seconds(60);
constexpr auto pause = std::chrono::milliseconds(2);

// Polls until the condition holds; false when it never does.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(pause);
    }
    return true;
}

// Closes the output descriptor here.
pid_t spawn(const std::vector<std::string>& arguments, const std::string& directory, int output,
            bool ignoresInterrupt) {
    std::vector<std::string> strings = {TPCLI_PATH};
    strings.insert(strings.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& string : strings) argv.push_back(string.data());
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    const std::string errors = directory + "/errors";
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errors.c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ::posix_spawn_file_actions_addchdir_np(&actions, directory.c_str());
    // A test runner in the background may ignore SIGINT, which a child inherits.
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t signals;
    ::sigemptyset(&signals);
    if (!ignoresInterrupt) ::sigaddset(&signals, SIGINT);
    ::posix_spawnattr_setsigdefault(&attributes, &signals);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);

    const auto previous = ignoresInterrupt ? ::signal(SIGINT, SIG_IGN) : SIG_ERR;
    pid_t process = -1;
    const int error =
        ::posix_spawn(&process, TPCLI_PATH, &actions, &attributes, argv.data(), environ);
    if (previous != SIG_ERR) ::signal(SIGINT, previous);
    ::posix_spawn_file_actions_destroy(&actions);
    ::posix_spawnattr_destroy(&attributes);
    ::close(output);
    if (error != 0) throw std::runtime_error("cannot run " TPCLI_PATH);
    return process;
}

// Ends the process when it does not end by itself.
int waitFor(pid_t process) {
    int status = 0;
    if (!eventually([&] { return ::waitpid(process, &status, WNOHANG) == process; })) {
        ADD_FAILURE() << "tpcli did not end";
        ::kill(process, SIGKILL);
        ::waitpid(process, &status, 0);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int bytesIn(int pipe) {
    int bytes = 0;
    ::ioctl(pipe, FIONREAD, &bytes);
    return bytes;
}

}  // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "tpcli-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("cannot make " + name);
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() { std::filesystem::remove_all(path_); }

StateFixture::StateFixture(const std::string& config, const std::string& status) {
    fileIs(file("config.json"), config);
    fileIs(file("status.json"), status);
}

void fileIs(const std::string& path, const std::string& contents) {
    std::ofstream(path, std::ios::binary) << contents;
}

std::string contentsOf(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

RunningTpcli::RunningTpcli(const std::vector<std::string>& arguments, Interrupt interrupt) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("cannot make a pipe");
    reader_ = ends[0];
    process_ = spawn(arguments, directory_.path(), ends[1], interrupt == Interrupt::ignored);
}

RunningTpcli::~RunningTpcli() {
    ::close(reader_);
    if (process_ > 0) {
        ::kill(process_, SIGKILL);
        ::waitpid(process_, nullptr, 0);
    }
}

void RunningTpcli::waitUntilBlocked() const {
    const int capacity = ::fcntl(reader_, F_GETPIPE_SZ);
    EXPECT_TRUE(eventually([&] { return bytesIn(reader_) == capacity; }))
        << "the pipe never filled: " << bytesIn(reader_) << " of " << capacity << " bytes";
}

void RunningTpcli::interrupt() const { ::kill(process_, SIGINT); }

Outcome RunningTpcli::waitThenRead() {
    const int status = wait();
    return {status, readOutput(), contentsOf(directory_.file("errors"))};
}

Outcome RunningTpcli::readThenWait() {
    const std::string output = readOutput();
    return {wait(), output, contentsOf(directory_.file("errors"))};
}

int RunningTpcli::wait() {
    const int status = waitFor(process_);
    process_ = -1;
    return status;
}

std::string RunningTpcli::readOutput() const {
    std::string output;
    char buffer[65536];
    for (ssize_t count = 0; (count = ::read(reader_, buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(count));
    }
    return output;
}

Outcome runTpcli(const std::vector<std::string>& arguments) {
    const TemporaryDirectory directory;
    const std::string output = directory.file("output");
    Outcome outcome =
        runTpcli(arguments, ::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    outcome.output = contentsOf(output);
    return outcome;
}

Outcome runTpcli(const std::vector<std::string>& arguments, int output) {
    const TemporaryDirectory directory;
    const int status = waitFor(spawn(arguments, directory.path(), output, false));
    return {status, "", contentsOf(directory.file("errors"))};
}
