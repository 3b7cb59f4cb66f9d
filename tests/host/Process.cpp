#include "Process.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {

// Polls until the condition holds; false when it never does.
template <class Condition>
bool eventually(Condition condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace

pid_t startProgram(std::vector<std::string> arguments, int output, const std::string& errors,
                   const std::function<void()>& prepare) {
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    const pid_t process = ::fork();
    if (process != 0) {
        if (output >= 0) ::close(output);
        return process;
    }
    ::dup2(::open("/dev/null", O_RDWR | O_CLOEXEC), STDIN_FILENO);
    if (output >= 0) {
        ::dup2(output, STDOUT_FILENO);
    } else {
        ::close(STDOUT_FILENO);
    }
    ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600), STDERR_FILENO);
    // A test runner in the background may ignore SIGINT, which a child inherits.
    ::signal(SIGINT, SIG_DFL);
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (prepare) prepare();
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

pid_t startTpcli(std::vector<std::string> arguments, const TemporaryFolder& directory, int output,
                 const std::function<void()>& prepare) {
    arguments.insert(arguments.begin(), TPCLI_PATH);
    return startProgram(std::move(arguments), output, directory.file("errors"), [&] {
        if (::chdir(directory.path().c_str()) != 0) ::_exit(126);
        if (prepare) prepare();
    });
}

int waitFor(pid_t process) {
    int status = 0;
    if (!eventually([&] { return ::waitpid(process, &status, WNOHANG) == process; })) {
        ADD_FAILURE() << "the process did not end";
        ::kill(process, SIGKILL);
        ::waitpid(process, &status, 0);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void waitUntilFull(int reader) {
    EXPECT_TRUE(eventually([&] {
        int bytes = 0;
        return ::ioctl(reader, FIONREAD, &bytes) == 0 && bytes == ::fcntl(reader, F_GETPIPE_SZ);
    })) << "the pipe never filled";
}

std::string readAll(int reader) {
    std::string output;
    char buffer[65536];
    for (ssize_t count = 0; (count = ::read(reader, buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(reader);
    return output;
}

Outcome runTpcli(const std::vector<std::string>& arguments) {
    const TemporaryFolder directory;
    const std::string output = directory.file("output");
    Outcome outcome =
        runTpcli(arguments, ::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    outcome.output = contentsOf(output);
    return outcome;
}

Outcome runTpcli(const std::vector<std::string>& arguments, int output) {
    const TemporaryFolder directory;
    const int status = waitFor(startTpcli(arguments, directory, output));
    return {status, "", contentsOf(directory.file("errors"))};
}
