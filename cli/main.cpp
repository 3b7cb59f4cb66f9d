// tpcli, the command-line process.
#include <fcntl.h>
#include <unistd.h>

#include "cli/Run.h"

namespace {

// Keeps files that are opened later off a closed standard stream. What is opened in its place is
// for reading, so that writing the report still fails and is told.
void occupyStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) == -1) ::open("/dev/null", O_RDONLY);
    }
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    Cli::installSignalHandlers();
    return Cli::run({argv + 1, argv + argc});
}
