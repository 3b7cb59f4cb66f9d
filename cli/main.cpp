// tpcli, the command-line process.
#include "cli/Run.h"

int main(int argc, char** argv) {
    Cli::installSignalHandlers();
    return Cli::run({argv + 1, argv + argc});
}
