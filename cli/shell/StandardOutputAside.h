// Takes standard output away from the process, and gives it back at the end.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace Cli::Shell {

// While a report goes through filters, the one thing that is still written to standard output is
// that the command was interrupted, into the midst of what the filters write: it goes nowhere.
class StandardOutputAside {
  public:
    StandardOutputAside() : descriptor_(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
        const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (descriptor_ < 0 || nowhere < 0 || ::dup2(nowhere, STDOUT_FILENO) < 0) {
            throw std::system_error(errno, std::generic_category(), "standard output");
        }
        ::close(nowhere);
    }
    StandardOutputAside(const StandardOutputAside&) = delete;
    StandardOutputAside& operator=(const StandardOutputAside&) = delete;
    ~StandardOutputAside() {
        ::dup2(descriptor_, STDOUT_FILENO);
        ::close(descriptor_);
    }

    // Where standard output went before.
    int descriptor() const { return descriptor_; }

  private:
    int descriptor_;
};

}  // namespace Cli::Shell
