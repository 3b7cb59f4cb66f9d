// tpcli as its users run it: a process with arguments, an output, and an exit status.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// What a process left behind.
struct Outcome {
    int status;  // the exit status; 128 + the signal that ended it
    std::string output;
    std::string errors;
};

// A directory that goes with its object.
class TemporaryDirectory {
  public:
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    std::string file(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

// A state directory made of two documents.
class StateFixture : public TemporaryDirectory {
  public:
    StateFixture(const std::string& config, const std::string& status);
};

void fileIs(const std::string& path, const std::string& contents);
std::string contentsOf(const std::string& path);

// Starts a program, whose path is the first argument; it dies with the test. The call closes the
// output; without one (-1) the program has no standard output. prepare: what the child does last.
pid_t startProgram(std::vector<std::string> arguments, int output, const std::string& errors,
                   const std::function<void()>& prepare = {});

// A running tpcli whose standard output is a pipe that nobody reads yet.
class RunningTpcli {
  public:
    enum class Interrupt { asUsual, ignored };  // what SIGINT does when it starts

    RunningTpcli(const std::vector<std::string>& arguments, Interrupt interrupt);
    RunningTpcli(const RunningTpcli&) = delete;
    RunningTpcli& operator=(const RunningTpcli&) = delete;
    ~RunningTpcli();

    // Waits until the pipe is full: the process is blocked.
    void waitUntilBlocked() const;
    void interrupt() const;
    // Waits for the process to end, then reads what is in the pipe.
    Outcome waitThenRead();
    Outcome readThenWait();

  private:
    int wait();
    std::string readOutput() const;

    TemporaryDirectory directory_;
    pid_t process_ = -1;
    int reader_ = -1;
};

// Runs tpcli in an empty directory to its end, at most a minute.
Outcome runTpcli(const std::vector<std::string>& arguments);
// The same with the descriptor, which the call closes, as standard output.
Outcome runTpcli(const std::vector<std::string>& arguments, int output);
