// What tpcli tells about itself.
#pragma once

#include <string>

namespace Cli {

// How to call it, and the commands.
std::string usageText();
// The same with all options, exit statuses and examples.
std::string helpText();

}  // namespace Cli
