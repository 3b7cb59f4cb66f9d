// Takes standard output away from the process, and gives it back at the end.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "base/File.h"

namespace Cli::Shell {

// While a report goes through filters, the one thing that is still written to standard output is
// that the command was interrupted, into the midst of what the filters write: it goes nowhere.
class StandardOutputAside {
  public:
    StandardOutputAside() : descriptor_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
        const Base::FileDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (!descriptor_.isOpen() || !nowhere.isOpen() ||
            ::dup2(nowhere.number(), STDOUT_FILENO) < 0) {
            throw std::system_error(errno, std::generic_category(), "standard output");
        }
    }
    StandardOutputAside(const StandardOutputAside&) = delete;
    StandardOutputAside& operator=(const StandardOutputAside&) = delete;
    ~StandardOutputAside() { ::dup2(descriptor(), STDOUT_FILENO); }

    // Where standard output went before.
    int descriptor() const { return descriptor_.number(); }

  private:
    Base::FileDescriptor descriptor_;
};

}  // namespace Cli::Shell
