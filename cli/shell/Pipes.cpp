#include "cli/shell/Pipes.h"

#include <algorithm>
#include <iterator>

#include "base/Number.h"
#include "cli/Grammar.h"

namespace Cli::Shell {

namespace {

constexpr FilterCommand filterRows[] = {
    {"include REGEX", "only the lines that match"},
    {"exclude REGEX", "only the lines that do not match"},
    {"begin REGEX", "from the first line that matches"},
    {"section REGEX", "whole policies and rules with a line that matches"},
    {"count", "how many lines there are"},
    {"top N", "behind counters rate: the N busiest counters"},
    {"json", "the report as JSON"},
    {"save FILE", "into a file, not to the screen"},
    {"no-more", "without a pager"},
};

std::string_view keywordOf(std::string_view line) { return line.substr(0, line.find(' ')); }

// Reports are lines of text until a filter makes something else of them.
enum class Form { report, lines, result, saved };

struct Turn {
    std::string_view keyword;
    Form latest;  // at which the filter may stand
    Form then;
};
constexpr Turn turns[] = {
    {"top", Form::report, Form::report},    {"json", Form::report, Form::result},
    {"count", Form::lines, Form::result},   {"save", Form::result, Form::saved},
    {"no-more", Form::saved, Form::report},
};

Turn turnOf(std::string_view keyword) {
    const auto* const turn = std::ranges::find(turns, keyword, &Turn::keyword);
    return turn != std::end(turns) ? *turn : Turn{keyword, Form::lines, Form::lines};
}

std::string choicesAt(Form form) {
    std::string text;
    for (const FilterCommand& row : filterRows) {
        if (turnOf(keywordOf(row.line)).latest < form) continue;
        if (!text.empty()) text += ", ";
        text += keywordOf(row.line);
    }
    return text;
}

const Grammar& grammar() {
    static const Grammar grammar = [] {
        std::vector<std::string_view> lines;
        for (const FilterCommand& row : filterRows) lines.push_back(row.line);
        return Grammar(lines);
    }();
    return grammar;
}

Match matchStage(const CommandLine::Stage& stage) {
    try {
        return grammar().match(stage.words);
    } catch (const CommandError& error) {
        throw CommandError(stage.position + error.position(), error.what(), error.expected());
    }
}

}  // namespace

std::span<const FilterCommand> filterCommands() { return filterRows; }

Regex::Regex(const std::string& pattern, std::size_t position)
    : compiled_(new regex_t{}, [](regex_t* regex) {
          ::regfree(regex);
          delete regex;
      }) {
    const int error = ::regcomp(compiled_.get(), pattern.c_str(), REG_EXTENDED | REG_NOSUB);
    if (error == 0) return;
    char reason[256];
    ::regerror(error, compiled_.get(), reason, sizeof reason);
    throw CommandError(position, inQuotes(pattern) + " is not a regular expression: " + reason,
                       "one of POSIX, extended, as drop|police");
}

bool Regex::matches(std::string_view line) const {
    regmatch_t bounds{};
    bounds.rm_eo = static_cast<regoff_t>(line.size());
    return ::regexec(compiled_.get(), line.data(), 1, &bounds, REG_STARTEND) == 0;
}

Pipes::Top topOf(const Token& number, std::size_t position) {
    constexpr Base::Bounds bounds{1, 1'000'000};
    const auto count = Base::parseNumber(number.text, bounds);
    if (!count) {
        throw CommandError(position + number.position,
                           inQuotes(number.text) + " is not a number of counters",
                           bounds.stringValue() + ", as 10");
    }
    return {*count, position};
}

Pipes readPipes(std::span<const CommandLine::Stage> stages) {
    Pipes pipes;
    Form form = Form::report;
    for (const CommandLine::Stage& stage : stages) {
        const Match match = matchStage(stage);
        const std::string_view keyword = match.tokens.front().label;
        const Turn turn = turnOf(keyword);
        if (turn.latest < form) {
            throw CommandError(stage.position, inQuotes(keyword) + " cannot stand here",
                               choicesAt(form) + " or the end of the command");
        }
        form = std::max(form, turn.then);
        if (keyword == "json") {
            pipes.json = true;
        } else if (keyword == "no-more") {
            pipes.noMore = true;
        } else if (const Token* const number = match.find("N")) {
            pipes.top = topOf(*number, stage.position);
        } else if (const Token* const file = match.find("FILE")) {
            pipes.saveTo = file->text;
        } else {
            const Token* const regex = match.find("REGEX");
            pipes.filters.push_back(
                {keyword, regex == nullptr
                              ? std::nullopt
                              : std::optional(Regex(regex->text, stage.position + 1))});
        }
    }
    return pipes;
}

std::vector<const FilterCommand*> filtersAfter(std::span<const CommandLine::Stage> stages) {
    Form form = Form::report;
    for (const CommandLine::Stage& stage : stages) {
        try {
            form = std::max(form, turnOf(matchStage(stage).tokens.front().label).then);
        } catch (const CommandError&) {
            return {};
        }
    }
    std::vector<const FilterCommand*> result;
    for (const FilterCommand& row : filterRows) {
        if (turnOf(keywordOf(row.line)).latest >= form) result.push_back(&row);
    }
    return result;
}

}  // namespace Cli::Shell
