// The terminal's other screen, for reports that are redrawn in place. Whatever ends or stops the
// program meanwhile, the terminal is given back first: a stopped program leaves the screen, and
// enters it again when it is in the foreground again.
#pragma once

#include <signal.h>

#include <array>
#include <string>
#include <string_view>

#include "base/File.h"

namespace Cli::Shell {

// One at a time, and in the process's first thread: the others block all signals.
class OtherScreen {
  public:
    OtherScreen();
    OtherScreen(const OtherScreen&) = delete;
    OtherScreen& operator=(const OtherScreen&) = delete;
    // Ends the process when a signal asked for that.
    ~OtherScreen();

    // Draws a frame, unless the program is in the background. Throws textout::SigIntException.
    void draw(std::string_view frame);
    // Says whether the last frame is gone, or never was drawn, and one can be.
    bool lacksFrame() const;

    // What was written to standard error, which would stand in the midst of the frame, since the
    // last call.
    std::string takeMessages();

  private:
    struct Handled {
        int signal = 0;
        struct sigaction before {};
    };
    void take(int signal, void (*handler)(int));

    Base::FileDescriptor terminal_;
    Base::FileDescriptor messages_;
    Base::FileDescriptor standardError_;
    std::array<Handled, 6> taken_{};
    std::size_t takenCount_ = 0;
};

// Gives the terminal back, and standard error, for a process that is about to end. Safe in a signal
// handler; does nothing without another screen.
void giveTerminalBack();

}  // namespace Cli::Shell
