// tpcli as its users run it: a process with arguments, an output, and an exit status.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "TemporaryFolder.h"

// What a process left behind.
struct Outcome {
    int status;  // as waitFor says it
    std::string output;
    std::string errors;
};

// A state directory made of two documents.
class StateFixture : public TemporaryFolder {
  public:
    StateFixture(const std::string& config, const std::string& status) {
        fileIs(file("config.json"), config);
        fileIs(file("status.json"), status);
    }
};

// Starts a program, whose path is the first argument; it dies with the test. The call closes the
// output; without one (-1) the program has no standard output. prepare: what the child does last.
pid_t startProgram(std::vector<std::string> arguments, int output, const std::string& errors,
                   const std::function<void()>& prepare = {});

// The same for tpcli, which runs in the directory and leaves its errors there.
pid_t startTpcli(std::vector<std::string> arguments, const TemporaryFolder& directory, int output,
                 const std::function<void()>& prepare = {});

// The exit status of a process, which is ended when it does not end by itself within a minute; 128
// + the signal that ended it.
int waitFor(pid_t process);
// Waits until a pipe is full: who writes to it is blocked.
void waitUntilFull(int reader);
// Reads to the end, which closes the descriptor.
std::string readAll(int reader);

// Runs tpcli in an empty directory to its end.
Outcome runTpcli(const std::vector<std::string>& arguments);
// The same with the descriptor, which the call closes, as standard output.
Outcome runTpcli(const std::vector<std::string>& arguments, int output);
