#include "import/SonicRedis.h"

#include "base/Text.h"

namespace Import {

namespace {

// What no ACL needs: more than this is refused, so that a server cannot fill the memory.
constexpr std::size_t longestText = std::size_t{1} << 20;
constexpr std::size_t mostKeys = 4'000'000;
constexpr std::size_t mostBytes = std::size_t{1} << 30;
constexpr std::size_t commandsAtOnce = 1000;

const SonicDatabase& configDatabase = sonicDatabases[0];
const SonicDatabase& stateDatabase = sonicDatabases[1];
const SonicDatabase& countersDatabase = sonicDatabases[2];

// The fields of a reply to HGETALL.
class HashReader {
  public:
    HashReader(const SonicDatabase& database, SonicTable& table, Findings& findings)
        : database_(database), table_(table), findings_(findings) {}

    void read(const std::string& key, const redisReply& reply) {
        table_.erase(key);
        if (reply.type == REDIS_REPLY_ERROR) {
            leftOut(key, "key", textOf(reply));
            return;
        }
        if (reply.type != REDIS_REPLY_ARRAY || reply.elements == 0) return;
        SonicFields& fields = table_[key];
        for (std::size_t i = 0; i + 1 < reply.elements; i += 2) {
            const redisReply& field = *reply.element[i];
            const redisReply& text = *reply.element[i + 1];
            if (static_cast<std::size_t>(field.len) > longestText ||
                static_cast<std::size_t>(text.len) > longestText) {
                leftOut(key + " " + Base::shortened(textOf(field)), "field",
                        "is longer than " + std::to_string(longestText) + " bytes");
                continue;
            }
            bytes_ += field.len + text.len;
            if (bytes_ > mostBytes) throw RedisError("the databases hold too much about ACLs");
            fields[textOf(field)] = textOf(text);
        }
    }

  private:
    void leftOut(const std::string& key, const char* statement, const std::string& text) {
        findings_.add(FindingKind::notUnderstood, std::string(database_.name) + " " + key,
                      statement, text);
    }

    const SonicDatabase& database_;
    SonicTable& table_;
    Findings& findings_;
    std::size_t bytes_ = 0;
};

}  // namespace

std::set<std::string> SonicRedis::keysOf(const SonicDatabase& database, const char* pattern) {
    std::set<std::string> keys;
    std::string cursor = "0";
    do {
        const RedisReply reply =
            connection_.ask({"SCAN", cursor, "MATCH", pattern, "COUNT", "10000"});
        if (reply->type != REDIS_REPLY_ARRAY || reply->elements != 2 ||
            reply->element[1]->type != REDIS_REPLY_ARRAY) {
            throw RedisError("the server answers SCAN in an unknown way");
        }
        cursor = textOf(*reply->element[0]);
        const redisReply& found = *reply->element[1];
        for (std::size_t i = 0; i < found.elements; ++i) {
            std::string key = textOf(*found.element[i]);
            if (isOfAcls(database, key) && key.size() <= longestText) keys.insert(std::move(key));
        }
        if (keys.size() > mostKeys) throw RedisError("the databases have too many keys of ACLs");
    } while (cursor != "0");
    return keys;
}

void SonicRedis::readKeys(const SonicDatabase& database, const std::set<std::string>& keys,
                          SonicDatabases& databases, Findings& findings) {
    if (keys.empty()) return;
    connection_.ask({"SELECT", std::to_string(database.number)});
    HashReader reader(database, databases.*database.table, findings);
    for (auto key = keys.begin(); key != keys.end();) {
        auto answered = key;
        for (std::size_t sent = 0; sent < commandsAtOnce && key != keys.end(); ++sent) {
            connection_.send({"HGETALL", *key++});
        }
        for (; answered != key; ++answered) reader.read(*answered, *connection_.reply());
    }
}

SonicDatabases SonicRedis::readAll(Findings& findings) {
    SonicDatabases databases;
    const std::pair<const SonicDatabase*, const char*> patterns[] = {
        {&configDatabase, "ACL_*"},
        {&configDatabase, "PORTCHANNEL_MEMBER|*"},
        {&stateDatabase, "ACL_*"},
    };
    for (const auto& [database, pattern] : patterns) {
        connection_.ask({"SELECT", std::to_string(database->number)});
        readKeys(*database, keysOf(*database, pattern), databases, findings);
    }
    readKeys(countersDatabase, {std::string(counterMapKey)}, databases, findings);
    readCounters(Which::all, databases, findings);
    return databases;
}

void SonicRedis::readCounters(Which which, SonicDatabases& databases, Findings& findings) {
    std::set<std::string> keys = counterKeys(databases);
    std::erase_if(databases.counters, [&](const auto& entry) {
        return entry.first != counterMapKey && !keys.contains(entry.first);
    });
    if (which == Which::missing) {
        std::erase_if(keys, [&](const auto& key) { return databases.counters.contains(key); });
    }
    readKeys(countersDatabase, keys, databases, findings);
}

std::set<std::string> counterKeys(const SonicDatabases& databases) {
    std::set<std::string> keys;
    const auto map = databases.counters.find(counterMapKey);
    if (map != databases.counters.end()) {
        for (const auto& [rule, object] : map->second) keys.insert("COUNTERS:" + object);
        return keys;
    }
    // As very old versions write it.
    constexpr std::string_view begin = "ACL_RULE|";
    for (auto rule = databases.config.lower_bound(begin);
         rule != databases.config.end() && rule->first.starts_with(begin); ++rule) {
        std::string key = rule->first.substr(begin.size());
        const std::size_t bar = key.find('|');
        if (bar != key.npos) keys.insert("COUNTERS:" + key.replace(bar, 1, ":"));
    }
    return keys;
}

}  // namespace Import
