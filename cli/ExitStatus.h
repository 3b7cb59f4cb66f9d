// The exit statuses of tpcli; the help lists them.
#pragma once

namespace Cli::ExitStatus {

inline constexpr int success = 0;
inline constexpr int badCommand = 1;
inline constexpr int different = 1;  // of a comparison, whose wrong words end with badState
inline constexpr int badState = 2;
inline constexpr int notWritten = 3;
inline constexpr int fault = 4;          // of the program or the machine, as memory that ran out
inline constexpr int problemsFound = 5;  // asked for with --exit-code
inline constexpr int interrupted = 130;  // as shells report an end by SIGINT
inline constexpr int closedPipe = 141;   // and by SIGPIPE

}  // namespace Cli::ExitStatus
