#include "cli/shell/CommandLine.h"

#include <algorithm>

namespace Cli::Shell {

namespace {

constexpr std::string_view blanks = " \t\r\n";

class Splitter {
  public:
    explicit Splitter(std::string_view line) : line_(line) {}

    CommandLine split() {
        result_.stages.push_back({0, {}});
        skipBlanks();
        if (at_ < line_.size() && line_[at_] == '#') at_ = line_.size();
        result_.lastWordBegin = at_;
        for (; at_ < line_.size(); skipBlanks()) {
            result_.lastWordBegin = at_;
            if (line_[at_] == '|') {
                ++at_;
                result_.words.emplace_back("|");
                result_.stages.push_back({result_.words.size(), {}});
                result_.lastWordBegin = line_.size();
            } else if (result_.stages.size() > 1 && result_.stages.back().words.size() == 1) {
                takeRest();
            } else {
                takeWord();
            }
        }
        return std::move(result_);
    }

  private:
    void skipBlanks() {
        const std::size_t from = at_;
        at_ = std::min(line_.find_first_not_of(blanks, at_), line_.size());
        if (at_ == line_.size() && at_ > from && !result_.isInQuotes) result_.lastWordBegin = at_;
    }

    void add(std::size_t begin, std::string word) {
        result_.words.emplace_back(line_.substr(begin, at_ - begin));
        result_.stages.back().words.push_back(std::move(word));
    }

    // The text of a quoted word, without its quotes; at_ goes behind it.
    std::string takeQuoted() {
        std::string text;
        for (++at_; at_ < line_.size() && line_[at_] != '"'; ++at_) {
            if (line_.substr(at_).starts_with("\\\"")) ++at_;
            text += line_[at_];
        }
        result_.isInQuotes = at_ == line_.size();
        if (at_ < line_.size()) ++at_;
        return text;
    }

    void takeWord() {
        const std::size_t begin = at_;
        if (line_[at_] == '"') {
            const std::string text = takeQuoted();
            add(begin, '"' + text + (result_.isInQuotes ? "" : "\""));
        } else {
            at_ = std::min(line_.find_first_of(blanks, at_), line_.size());
            add(begin, std::string(line_.substr(begin, at_ - begin)));
        }
    }

    // The argument of a filter: up to a "|" that begins a word.
    void takeRest() {
        const std::size_t begin = at_;
        if (line_[at_] == '"') {
            const std::string text = takeQuoted();
            add(begin, text);
            return;
        }
        std::size_t end = at_;
        while (at_ < line_.size() && line_[at_] != '|') {
            end = std::min(line_.find_first_of(blanks, at_), line_.size());
            at_ = std::min(line_.find_first_not_of(blanks, end), line_.size());
        }
        at_ = end;
        add(begin, std::string(line_.substr(begin, end - begin)));
    }

    std::string_view line_;
    std::size_t at_ = 0;
    CommandLine result_{};
};

}  // namespace

CommandLine splitLine(std::string_view line) { return Splitter(line).split(); }

CommandLine completeLine(std::string_view line) {
    CommandLine result = splitLine(line);
    if (result.isInQuotes) {
        throw CommandError(result.words.size() - 1, "a quoted word has no end", "\" at its end");
    }
    return result;
}

}  // namespace Cli::Shell
