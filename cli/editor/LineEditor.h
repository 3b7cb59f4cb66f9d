// The line editor of the shell: a shared object of its own, which is loaded when a line is to be
// edited, so that commands that are not typed start without the libraries under it.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace Cli::Shell {

// What the editor asks its owner.
struct EditorHooks {
    struct Answer {
        std::string inserted;  // at the cursor
        std::string shown;     // below the line
    };
    std::function<Answer(std::string_view lineToCursor)> tab;
    // "?"; without an answer it is a character like any other.
    std::function<Answer(std::string_view lineToCursor)> question;
    // What to show above the line when newsDescriptor is readable; may be empty.
    std::function<std::string()> news;
    int newsDescriptor;
    // Whether the operator interrupted, or the terminal is lost: the line is left.
    std::function<bool()> isLeft;
};

class LineEditor {
  public:
    enum class Ending { line, left, end };

    virtual ~LineEditor() = default;
    // Reads a line, without its end, from standard input.
    virtual Ending read(const std::string& prompt, std::string& line) = 0;
    virtual void addToHistory(const std::string& line) = 0;
};

// The one entry of the shared object: makes an editor, or returns null when the terminal cannot
// be used. Its signals: while it reads, SIGINT, SIGHUP and SIGTERM end the reading when their
// handlers make isLeft() true.
using MakeLineEditor = LineEditor*(EditorHooks);
inline constexpr const char* makeLineEditorName = "tpcliMakeLineEditor";

}  // namespace Cli::Shell
