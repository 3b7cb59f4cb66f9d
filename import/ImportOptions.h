// The command line of tpimport.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "base/OptionTable.h"
#include "import/RedisAddress.h"

namespace Import {

using Base::OptionError;

enum class Source { openConfig, sonic };

struct ImportOptions {
    Source source = Source::openConfig;
    std::vector<std::string> files;  // of OpenConfig data
    std::string output;              // the state directory
    std::string report;              // a file for the findings; empty: none
    bool dryRun = false;
    std::optional<RedisAddress> redis;
    std::string databaseFiles[3];  // of CONFIG_DB, STATE_DB and COUNTERS_DB
    bool follow = false;
};

// Reads the arguments behind the program's name. Throws OptionError.
Base::Request parseOptions(const std::vector<std::string>& arguments, ImportOptions& options);

std::string helpText();

}  // namespace Import
