// The filters that stand behind "|": how they are written, and which may follow which.
#pragma once

#include <regex.h>

#include <memory>
#include <optional>
#include <span>

#include "cli/shell/CommandLine.h"

namespace Cli::Shell {

struct FilterCommand {
    std::string_view line;  // in the notation of the grammar
    std::string_view purpose;
};
std::span<const FilterCommand> filterCommands();

// A regular expression of POSIX, extended.
class Regex {
  public:
    // Throws CommandError for the word at the position.
    Regex(const std::string& pattern, std::size_t position);
    bool matches(std::string_view line) const;

  private:
    std::shared_ptr<regex_t> compiled_;
};

struct Filter {
    std::string_view keyword;  // "include", "exclude", "begin", "section" or "count"
    std::optional<Regex> regex;
};

// What happens to a report on its way.
struct Pipes {
    bool json = false;
    bool noMore = false;
    std::vector<Filter> filters;
    std::optional<std::string> saveTo;
    // Only so many counters, the busiest; and where that stands, for a message.
    struct Top {
        U64 count;
        std::size_t position;
    };
    std::optional<Top> top;
};

// Reads the stages behind the command. Throws CommandError.
Pipes readPipes(std::span<const CommandLine::Stage> stages);

// The filters that may follow these stages, which need not be right.
std::vector<const FilterCommand*> filtersAfter(std::span<const CommandLine::Stage> stages);

}  // namespace Cli::Shell
