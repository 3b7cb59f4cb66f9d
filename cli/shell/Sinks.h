// Where reports end: a descriptor, a file.
#pragma once

#include <memory>
#include <string>

#include "cli/shell/Sink.h"

namespace Cli::Shell {

// The descriptor is not owned.
std::unique_ptr<Sink> toDescriptor(int fd);

// A text that outlives the sink.
std::unique_ptr<Sink> toText(std::string& text);

// A file that holds the report once it is whole; until then the one before it stands, or what is
// no regular file is written to at once. Throws std::runtime_error, with the file's name, when it
// cannot be written, here or later.
std::unique_ptr<Sink> toFile(const std::string& path);

}  // namespace Cli::Shell
