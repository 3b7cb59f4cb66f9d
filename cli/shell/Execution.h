// Runs a command whose words have been understood, with its report on the way that was asked for.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cli/Commands.h"
#include "cli/shell/Pager.h"
#include "cli/shell/Pipes.h"

namespace Cli::Shell {

// What is between a command and where its report goes: standard output, or a file.
struct Route {
    Pipes pipes;
    bool colour = false;
    // Of standard output: the screen and the pager of what does not fit on it.
    std::optional<ScreenSize> screen;
    std::string pager;
    std::string* text = nullptr;  // where the report goes instead; null: none of that
};

struct Surroundings {
    std::string stateDirectory;
    U32 format;  // unless the route says JSON
    U32 revision;
    StateSource& source;
};

// Returns the exit status. Throws what the plan throws, textout::SigIntException when the operator
// interrupted, and std::runtime_error when a file cannot be written.
int execute(const Plan& plan, const Surroundings& surroundings, const Route& route);

}  // namespace Cli::Shell
