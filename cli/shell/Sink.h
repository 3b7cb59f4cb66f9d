// Where the bytes of a report go next.
#pragma once

#include <string_view>

namespace Cli::Shell {

// Each operation throws textout::SigIntException once the operator has interrupted, and
// textout::WriteError when what is behind takes no more.
class Sink {
  public:
    virtual ~Sink() = default;
    virtual void write(std::string_view bytes) = 0;
    // Nothing follows for now: what was written is to be seen.
    virtual void flush() = 0;
    // Nothing follows at all. isWhole: the command did not fail in the middle of its report.
    virtual void end(bool isWhole) = 0;
};

}  // namespace Cli::Shell
