// The filters of "|" at work: each takes the lines of a report one by one and hands on what it
// keeps, as soon as it knows.
#pragma once

#include <memory>
#include <span>

#include "cli/shell/Pipes.h"
#include "cli/shell/Sink.h"

namespace Cli::Shell {

// Takes lines, each with its line end; only the last may have none.
class LineTaker {
  public:
    virtual ~LineTaker() = default;
    virtual void line(std::string_view line) = 0;
    virtual void flush() = 0;
    virtual void end(bool isWhole) = 0;
};

// A sink that hands the lines to the first of the filters, which hand them to each other and then
// to the sink.
std::unique_ptr<Sink> throughFilters(std::span<const Filter> filters, std::unique_ptr<Sink> sink);
// The same with a line taker of the caller's making.
std::unique_ptr<Sink> throughLines(std::unique_ptr<LineTaker> lines);

}  // namespace Cli::Shell
