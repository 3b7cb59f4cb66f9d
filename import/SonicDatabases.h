// What an import knows of the databases of a SONiC switch: hashes of texts by key. They come from
// files or from Redis; the keys are the same.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "import/Findings.h"

namespace Import {

using SonicFields = std::map<std::string, std::string, std::less<>>;
using SonicTable = std::map<std::string, SonicFields, std::less<>>;  // by whole key

struct SonicDatabases {
    SonicTable config;
    SonicTable state;
    SonicTable counters;

    bool operator==(const SonicDatabases&) const = default;
};

// The databases that matter, by their names and numbers in Redis.
struct SonicDatabase {
    const char* name;
    int number;
    SonicTable SonicDatabases::*table;
};
inline constexpr SonicDatabase sonicDatabases[] = {
    {"CONFIG_DB", 4, &SonicDatabases::config},
    {"STATE_DB", 6, &SonicDatabases::state},
    {"COUNTERS_DB", 2, &SonicDatabases::counters},
};

inline constexpr std::string_view counterMapKey = "ACL_COUNTER_RULE_MAP";

// Says whether an import looks at a key of a database.
bool isOfAcls(const SonicDatabase& database, std::string_view key);

// Reads an exported database: an object of keys, each with its hash, or with {"type": "hash",
// "value": HASH}; or nested, {"ACL_TABLE": {"NAME": HASH}}. Throws StateError.
void readSonicFile(const std::string& path, const SonicDatabase& database,
                   SonicDatabases& databases, Findings& findings);

}  // namespace Import
