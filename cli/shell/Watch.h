// A report again and again: on a terminal in place, on a screen of its own, with what changed
// marked; elsewhere one behind the other, each with its time.
#pragma once

#include <functional>
#include <string>

#include "orb/Types.h"

namespace Cli::Shell {

struct Watch {
    double seconds = 2;  // from one report to the next
    bool json = false;
    bool colour = false;  // what changed is inverted; else there is a * before its line
    std::string title;    // the words of the command
};

// Runs report(text), which puts the report into the text, until the operator interrupts. Returns
// the exit status. What report throws ends it, and the terminal is as it was.
int watch(const Watch& how, const std::function<int(std::string& text)>& report);

// A frame of lines as the terminal is to show it: cut to its columns and lines, with what is not as
// in the former lines marked. Without former lines (empty) nothing is marked.
std::string frameText(const Watch& how, const std::string& heading, const std::string& text,
                      const std::string& former, std::size_t lines, std::size_t columns);

}  // namespace Cli::Shell
