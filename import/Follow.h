// Following a switch: its database tells what changes, and the state directory changes with it.
#pragma once

#include "import/ImportOptions.h"

namespace Import {

// Runs until SIGTERM or SIGINT, which are blocked in all threads. A lost connection is tried again
// and again; the state stays what it was meanwhile. Returns the exit status. Throws RedisError when
// the server cannot be reached at the beginning, OutputError when the directory cannot be written.
int follow(const ImportOptions& options);

}  // namespace Import
