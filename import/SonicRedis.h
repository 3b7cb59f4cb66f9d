// The databases of a SONiC switch, read from its Redis server.
#pragma once

#include <set>

#include "import/Redis.h"
#include "import/SonicDatabases.h"

namespace Import {

class SonicRedis {
  public:
    // Throws RedisError.
    explicit SonicRedis(const RedisAddress& address) : connection_(address) {}

    // All that an import looks at. What is no hash, or too large, is a finding.
    SonicDatabases readAll(Findings& findings);
    // Reads some keys of a database again; keys that are gone are removed.
    void readKeys(const SonicDatabase& database, const std::set<std::string>& keys,
                  SonicDatabases& databases, Findings& findings);
    // Reads the counters of the rules that the databases name: all, or those that are not there
    // yet.
    enum class Which { all, missing };
    void readCounters(Which which, SonicDatabases& databases, Findings& findings);

  private:
    std::set<std::string> keysOf(const SonicDatabase& database, const char* pattern);

    RedisConnection connection_;
};

// The keys under which the counters of the rules stand.
std::set<std::string> counterKeys(const SonicDatabases& databases);

}  // namespace Import
