// The log: lines on standard error, which a service manager keeps.
#pragma once

#include <cstdio>
#include <string>

namespace Exporter {

// One line; whole, whatever other threads say.
inline void say(const std::string& message) {
    std::fprintf(stderr, "tpexporter: %s\n", message.c_str());
}

}  // namespace Exporter
