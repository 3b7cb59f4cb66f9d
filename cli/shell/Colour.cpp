#include "cli/shell/Colour.h"

#include <unistd.h>

#include <cstdlib>
#include <string>
#include <utility>

#include "cli/shell/LineFilters.h"

namespace Cli::Shell {

namespace {

constexpr std::string_view bold = "\033[1m";
constexpr std::string_view red = "\033[31m";
constexpr std::string_view yellow = "\033[33m";

struct Mark {
    std::string_view begin;
    std::string_view colour;
};
constexpr Mark marks[] = {
    {"Traffic policy ", bold}, {"Traffic-policies ", bold}, {"field-set ", bold},
    {"Field-set: ", bold},     {"WARNING: ", yellow},       {"   Failed ", red},
    {"         Drop\n", red},
};

class Colours : public LineTaker {
  public:
    explicit Colours(std::unique_ptr<Sink> sink) : sink_(std::move(sink)) {}

    void line(std::string_view line) override {
        const std::string_view colour = colourOf(line);
        if (colour.empty()) {
            sink_->write(line);
            return;
        }
        const std::string_view end = line.ends_with('\n') ? "\n" : "";
        sink_->write(colour);
        sink_->write(line.substr(0, line.size() - end.size()));
        sink_->write(plain);
        sink_->write(end);
    }
    void flush() override { sink_->flush(); }
    void end(bool isWhole) override { sink_->end(isWhole); }

  private:
    std::string_view colourOf(std::string_view line) {
        // Below the list of failed points stand the reasons, further in.
        isInFailed_ = line.starts_with("   Failed ") || (isInFailed_ && line.starts_with("    "));
        if (isInFailed_) return red;
        for (const Mark& mark : marks) {
            if (line.starts_with(mark.begin)) return mark.colour;
        }
        return "";
    }

    std::unique_ptr<Sink> sink_;
    bool isInFailed_ = false;
};

}  // namespace

bool wantsColour(ColourMode mode) {
    if (mode != ColourMode::automatic) return mode == ColourMode::always;
    const char* const noColour = std::getenv("NO_COLOR");
    const char* const terminal = std::getenv("TERM");
    return ::isatty(STDOUT_FILENO) == 1 && (noColour == nullptr || *noColour == 0) &&
           terminal != nullptr && *terminal != 0 && std::string_view(terminal) != "dumb";
}

std::unique_ptr<Sink> throughColours(std::unique_ptr<Sink> sink) {
    return throughLines(std::make_unique<Colours>(std::move(sink)));
}

}  // namespace Cli::Shell
