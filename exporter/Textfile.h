// The figures in a file, for collectors that read files.
#pragma once

#include <string>

#include "exporter/Server.h"

namespace Exporter {

// Replaces the file by one with the figures of now: whoever reads it sees the former one whole or
// this one. Throws std::system_error, after which the former file stands.
void writeTextfile(const std::string& path, const Switches& switches);

}  // namespace Exporter
