#include "cli/shell/LineFilters.h"

#include <algorithm>
#include <string>
#include <utility>

#include "textout/Exceptions.h"

namespace Cli::Shell {

namespace {

using LineTakerPtr = std::unique_ptr<LineTaker>;

class ToSink : public LineTaker {
  public:
    explicit ToSink(std::unique_ptr<Sink> sink) : sink_(std::move(sink)) {}
    void line(std::string_view line) override { sink_->write(line); }
    void flush() override { sink_->flush(); }
    void end(bool isWhole) override { sink_->end(isWhole); }

  private:
    std::unique_ptr<Sink> sink_;
};

class LineFilter : public LineTaker {
  public:
    explicit LineFilter(LineTakerPtr next) : next_(std::move(next)) {}
    void flush() override { next_->flush(); }
    void end(bool isWhole) override { next_->end(isWhole); }

  protected:
    LineTaker& next() { return *next_; }

  private:
    LineTakerPtr next_;
};

class Matching : public LineFilter {
  public:
    Matching(LineTakerPtr next, Regex regex)
        : LineFilter(std::move(next)), regex_(std::move(regex)) {}

  protected:
    bool matches(std::string_view line) const {
        return regex_.matches(line.ends_with('\n') ? line.substr(0, line.size() - 1) : line);
    }

  private:
    Regex regex_;
};

class Include : public Matching {
  public:
    Include(LineTakerPtr next, Regex regex, bool keeps)
        : Matching(std::move(next), std::move(regex)), keepsMatching_(keeps) {}
    void line(std::string_view line) override {
        if (matches(line) == keepsMatching_) next().line(line);
    }

  private:
    bool keepsMatching_;
};

class Begin : public Matching {
  public:
    using Matching::Matching;
    void line(std::string_view line) override {
        hasBegun_ = hasBegun_ || matches(line);
        if (hasBegun_) next().line(line);
    }

  private:
    bool hasBegun_ = false;
};

class Count : public LineFilter {
  public:
    using LineFilter::LineFilter;
    void line(std::string_view) override { ++count_; }
    void end(bool isWhole) override {
        next().line(std::to_string(count_) + (count_ == 1 ? " line\n" : " lines\n"));
        LineFilter::end(isWhole);
    }

  private:
    std::size_t count_ = 0;
};

// Reports consist of blocks: a heading, which begins at the margin, and what stands below it. In
// the block of a policy the line of its counters, each rule and each warning are parts:
//
//     Traffic policy EDGE-IN
//        Configured on ...
//           counter WEB                     a part
//           match web ipv4                  a part, with what stands below it
//              Source prefix: ...
//     WARNING: ...                          a part
//
// A match in a part keeps the part, under the heading of its block; any other match keeps all of
// the block. Lines are held back only until it is known whether they are kept.
class Section : public Matching {
  public:
    using Matching::Matching;

    void line(std::string_view line) override {
        if (beginsBlock(line)) {
            isPart_ = keepsBlock_ = keepsPart_ = isHeadingGiven_ = false;
            heading_ = line;
            held_.clear();
        } else if (beginsPart(line)) {
            isPart_ = true;
            keepsPart_ = false;
            held_.clear();
        }
        if (keepsBlock_ || keepsPart_) {
            next().line(line);
            return;
        }
        held_ += line;
        if (!matches(line)) return;
        (isPart_ ? keepsPart_ : keepsBlock_) = true;
        if (isPart_ && !isHeadingGiven_) next().line(heading_);
        isHeadingGiven_ = true;
        for (std::string_view rest = held_; !rest.empty();) {
            const std::size_t length = std::min(rest.find('\n'), rest.size() - 1) + 1;
            next().line(rest.substr(0, length));
            rest.remove_prefix(length);
        }
        held_.clear();
    }

  private:
    static constexpr std::string_view policy = "Traffic policy ";

    // The listing of a prefix set has lines at the margin.
    bool beginsBlock(std::string_view line) const {
        const bool isInPrefixSet =
            heading_.starts_with(policy) && heading_.find(" prefix field set: ") != heading_.npos;
        return isInPrefixSet ? line.starts_with(policy)
                             : !line.starts_with(' ') && line != "\n" && !beginsPart(line);
    }
    static bool beginsPart(std::string_view line) {
        return line.starts_with("      match ") || line.starts_with("      counter ") ||
               line.starts_with("WARNING: ");
    }

    std::string heading_;
    std::string held_;  // of the block, or of its part, so far
    bool isPart_ = false;
    bool keepsBlock_ = false;
    bool keepsPart_ = false;
    bool isHeadingGiven_ = false;
};

LineTakerPtr made(const Filter& filter, LineTakerPtr next) {
    if (filter.keyword == "count") return std::make_unique<Count>(std::move(next));
    if (filter.keyword == "begin") return std::make_unique<Begin>(std::move(next), *filter.regex);
    if (filter.keyword == "section") {
        return std::make_unique<Section>(std::move(next), *filter.regex);
    }
    return std::make_unique<Include>(std::move(next), *filter.regex, filter.keyword == "include");
}

// Makes lines of bytes.
class ByLines : public Sink {
  public:
    explicit ByLines(LineTakerPtr lines) : lines_(std::move(lines)) {}
    void write(std::string_view bytes) override {
        for (std::size_t end = 0; (end = bytes.find('\n')) != bytes.npos;) {
            if (begun_.empty()) {
                lines_->line(bytes.substr(0, end + 1));
            } else {
                begun_ += bytes.substr(0, end + 1);
                lines_->line(begun_);
                begun_.clear();
            }
            bytes.remove_prefix(end + 1);
            textout::checkInterrupt();
        }
        begun_ += bytes;
    }
    void flush() override { lines_->flush(); }
    void end(bool isWhole) override {
        if (!begun_.empty()) lines_->line(begun_);
        lines_->end(isWhole);
    }

  private:
    LineTakerPtr lines_;
    std::string begun_;
};

}  // namespace

std::unique_ptr<Sink> throughLines(std::unique_ptr<LineTaker> lines) {
    return std::make_unique<ByLines>(std::move(lines));
}

std::unique_ptr<Sink> throughFilters(std::span<const Filter> filters, std::unique_ptr<Sink> sink) {
    if (filters.empty()) return sink;
    LineTakerPtr lines = std::make_unique<ToSink>(std::move(sink));
    for (std::size_t i = filters.size(); i-- > 0;) lines = made(filters[i], std::move(lines));
    return throughLines(std::move(lines));
}

}  // namespace Cli::Shell
