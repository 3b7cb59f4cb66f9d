#include "import/Follow.h"

#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

#include "import/LiveCounters.h"
#include "import/Report.h"
#include "import/Sonic.h"
#include "import/SonicRedis.h"
#include "state/ImportedDirectory.h"

namespace Import {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds counterInterval(2000);
constexpr milliseconds pollInterval(5000);    // where the server does not tell of changes
constexpr milliseconds quiet(10);             // after a change, for others that belong to it
constexpr milliseconds longestGathering(60);  // of changes that come one after the other
constexpr milliseconds heardInterval(1000);
constexpr milliseconds firstBackOff(100);
constexpr milliseconds longestBackOff(5000);

std::string timeOfDay() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char text[16];
    return {text, std::strftime(text, sizeof text, "%H:%M:%S", &local)};
}

// The signals to end, as a descriptor.
class StopSignals {
  public:
    StopSignals() {
        sigset_t signals;
        ::sigemptyset(&signals);
        ::sigaddset(&signals, SIGTERM);
        ::sigaddset(&signals, SIGINT);
        descriptor_ = ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals() { ::close(descriptor_); }

    // Waits for a signal, for something to read from the descriptor (-1: none), or so long at most.
    // Says whether there was a signal.
    bool wait(int descriptor, milliseconds longest) const {
        pollfd ready[] = {{descriptor_, POLLIN, 0}, {descriptor, POLLIN, 0}};
        const nfds_t count = descriptor < 0 ? 1 : 2;
        ::poll(ready, count, static_cast<int>(std::max<long>(longest.count(), 0)));
        return ready[0].revents != 0;
    }

  private:
    int descriptor_;
};

// A subscription to what changes in the databases.
class Changes {
  public:
    using Keys = std::map<const SonicDatabase*, std::set<std::string>>;

    // Has the server tell of changes, when it does not yet.
    explicit Changes(const RedisAddress& address) : connection_(address) {
        try {
            const RedisReply set = connection_.ask({"CONFIG", "GET", "notify-keyspace-events"});
            const std::string flags = set->type == REDIS_REPLY_ARRAY && set->elements == 2
                                          ? textOf(*set->element[1])
                                          : "";
            // K: by key; A, or h and g: hashes and removals.
            const auto has = [&](char flag) { return flags.find(flag) != flags.npos; };
            if (!has('K') || !(has('A') || (has('h') && has('g')))) {
                connection_.ask({"CONFIG", "SET", "notify-keyspace-events", "KEA"});
            }
            isTold_ = true;
        } catch (const RedisError&) {
            return;  // the server does not let us
        }
        std::vector<std::string> command = {"PSUBSCRIBE"};
        for (const auto& database : sonicDatabases) {
            command.push_back(prefixOf(database) + "ACL_*");
        }
        command.push_back(prefixOf(sonicDatabases[0]) + "PORTCHANNEL_MEMBER|*");
        connection_.ask(command);
    }

    bool isTold() const { return isTold_; }
    int descriptor() const { return connection_.descriptor(); }

    // Adds the keys of the changes that have arrived.
    void take(Keys& keys) {
        while (const RedisReply message = connection_.arrived()) {
            if (message->type != REDIS_REPLY_ARRAY || message->elements != 4) continue;
            const std::string channel = textOf(*message->element[2]);
            for (const auto& database : sonicDatabases) {
                const std::string prefix = prefixOf(database);
                if (!channel.starts_with(prefix)) continue;
                const std::string key = channel.substr(prefix.size());
                if (isOfAcls(database, key)) keys[&database].insert(key);
            }
        }
    }

  private:
    static std::string prefixOf(const SonicDatabase& database) {
        return "__keyspace@" + std::to_string(database.number) + "__:";
    }

    RedisConnection connection_;
    bool isTold_ = false;
};

class Follower {
  public:
    explicit Follower(const ImportOptions& options)
        : options_(options),
          directory_(writing([&] { return StateDirectory::ImportedDirectory(options.output); })),
          counters_(options.output) {}

    int run() {
        milliseconds backOff = firstBackOff;
        for (;;) {
            try {
                followConnection(backOff);
                break;
            } catch (const RedisError& error) {
                troubleIs(error);
            } catch (const OutputError& error) {
                troubleIs(error);
            }
            if (stop_.wait(-1, backOff)) break;
            backOff = std::min(backOff * 2, longestBackOff);
        }
        tellHeard("tpimport was ended");
        return statusOf(findings_);
    }

  private:
    // The switch cannot be heard, or the state not be written; before there is any, that is the
    // end.
    template <class Error>
    void troubleIs(const Error& error) {
        if (timeInForce_.empty()) throw error;
        if (isInTrouble_) return;
        say(std::string(error.what()) + "; the state stays that of " + timeInForce_ +
            ", trying again");
        tellHeard(error.what());
        isInTrouble_ = true;
    }

    // Why the switch is not followed any more, as far as that can be written.
    void tellHeard(const std::string& lost) {
        try {
            directory_.heardIs(StateDirectory::Heard{heard_, nameOf(lost)});
        } catch (const StateDirectory::StateError&) {
            // Standard error says what the trouble is.
        }
    }

    // The switch answered.
    void isHeard() {
        heard_ = Orb::now();
        const auto now = Clock::now();
        if (now < nextHeard_ && !isInTrouble_) return;
        nextHeard_ = now + heardInterval;
        writing([&] { directory_.heardIs(StateDirectory::Heard{heard_, ""}); });
    }

    // Returns when it is told to stop.
    void followConnection(milliseconds& backOff) {
        Changes changes(*options_.redis);  // before all is read: nothing is missed between
        SonicRedis redis(*options_.redis);
        readAll(redis);
        isHeard();
        if (isInTrouble_) say("the state is up to date again");
        isInTrouble_ = false;
        backOff = firstBackOff;
        if (!changes.isTold() && !isPollingSaid_) {
            say("the server does not tell of changes; looking every 5 s");
            isPollingSaid_ = true;
        }
        auto nextCounters = Clock::now() + counterInterval;
        auto nextPoll = Clock::now() + pollInterval;
        for (;;) {
            const auto next = changes.isTold() ? nextCounters : std::min(nextCounters, nextPoll);
            const auto wait = std::chrono::ceil<milliseconds>(next - Clock::now());
            if (stop_.wait(changes.descriptor(), wait)) return;
            if (followChanges(changes, redis)) return;
            if (!changes.isTold() && Clock::now() >= nextPoll) {
                readAll(redis);
                nextPoll = Clock::now() + pollInterval;
            }
            if (Clock::now() >= nextCounters) {
                readCounters(redis);
                isHeard();
                nextCounters = Clock::now() + counterInterval;
            }
        }
    }

    // True: it is told to stop.
    bool followChanges(Changes& changes, SonicRedis& redis) {
        Changes::Keys keys;
        changes.take(keys);
        if (keys.empty()) return false;
        const auto end = Clock::now() + longestGathering;
        for (std::size_t known = 0; known != countOf(keys) && Clock::now() < end;) {
            known = countOf(keys);
            if (stop_.wait(changes.descriptor(), quiet)) return true;
            changes.take(keys);
        }
        if (readingFindings_.size() > 0) {
            // What could not be read may have become readable.
            readAll(redis);
            return false;
        }
        // Until all is read the documents say something else, also when reading fails.
        const bool wasInForce = std::exchange(isInForce_, false);
        bool isChanged = false;
        for (const auto& [database, names] : keys) {
            isChanged |= readAgain(redis, *database, names);
        }
        if (wasInForce && !isChanged) {
            isInForce_ = true;
            return false;
        }
        // New rules have counters.
        redis.readCounters(SonicRedis::Which::missing, databases_, readingFindings_);
        publish();
        return false;
    }

    // Says whether some of the keys say something else than before.
    bool readAgain(SonicRedis& redis, const SonicDatabase& database,
                   const std::set<std::string>& names) {
        SonicTable& table = databases_.*database.table;
        SonicTable before;
        for (const std::string& name : names) before.insert(table.extract(name));
        redis.readKeys(database, names, databases_, readingFindings_);
        return std::ranges::any_of(names, [&](const std::string& name) {
            const auto former = before.find(name);
            const auto now = table.find(name);
            if (former == before.end() || now == table.end()) {
                return (former == before.end()) != (now == table.end());
            }
            return former->second != now->second;
        });
    }

    static std::size_t countOf(const Changes::Keys& keys) {
        std::size_t count = 0;
        for (const auto& [database, names] : keys) count += names.size();
        return count;
    }

    void readAll(SonicRedis& redis) {
        readingFindings_ = Findings();
        SonicDatabases databases = redis.readAll(readingFindings_);
        const bool isSame = isInForce_ && sameButCounts(databases, databases_);
        databases_ = std::move(databases);
        if (isSame) {
            counters_.countsAre(countsByIdentity(databases_));
        } else {
            publish();
        }
    }

    // Counts go into the store; a counter that comes or goes changes the documents.
    void readCounters(SonicRedis& redis) {
        const bool wasInForce = std::exchange(isInForce_, false);
        SonicTable before = std::move(databases_.counters);
        databases_.counters.clear();
        if (const auto map = before.find(counterMapKey); map != before.end()) {
            databases_.counters.insert(*map);
        }
        redis.readCounters(SonicRedis::Which::all, databases_, readingFindings_);
        if (!wasInForce || !hasSameKeys(databases_.counters, before)) {
            publish();
            return;
        }
        isInForce_ = true;
        if (databases_.counters != before) counters_.countsAre(countsByIdentity(databases_));
    }

    static bool hasSameKeys(const SonicTable& a, const SonicTable& b) {
        return std::ranges::equal(a, b, {}, &SonicTable::value_type::first,
                                  &SonicTable::value_type::first);
    }

    static bool sameButCounts(const SonicDatabases& a, const SonicDatabases& b) {
        const auto map = [](const SonicDatabases& databases) {
            const auto found = databases.counters.find(counterMapKey);
            return found == databases.counters.end() ? SonicFields() : found->second;
        };
        return a.config == b.config && a.state == b.state && map(a) == map(b) &&
               hasSameKeys(a.counters, b.counters);
    }

    // Writes what the databases say.
    void publish() {
        isInForce_ = false;
        Findings findings = readingFindings_;
        Gathered gathered = gatherSonic(databases_, findings);
        gathered.countersInReef = true;
        gathered.source = "sonic " + options_.redis->text();
        const StateDirectory::State state = stateOf(gathered);
        try {
            directory_.documentsAre(configText(state), statusText(state));
            counters_.stateIs(state);
        } catch (const StateDirectory::StateError& error) {
            throw OutputError(error.what());
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception& error) {
            throw OutputError(error.what());
        }
        const bool isNews = timeInForce_.empty() || findings.report() != findings_.report();
        timeInForce_ = timeOfDay();
        isInForce_ = true;
        findings_ = std::move(findings);
        if (!isNews) return;
        say(timeInForce_ + " " + summaryOf(state));
        tellFindings(findings_, options_.report);
    }

    const ImportOptions& options_;
    const StopSignals stop_;
    StateDirectory::ImportedDirectory directory_;
    LiveCounters counters_;
    SonicDatabases databases_;  // after an error all of them are read again
    Findings readingFindings_;  // of the databases
    Findings findings_;         // of the state in force
    std::string timeInForce_;   // the time of day of the state in force; empty: there is none
    bool isInForce_ = false;    // the documents say what the databases do
    bool isInTrouble_ = false;
    Orb::Seconds heard_{0};
    Clock::time_point nextHeard_{};
    bool isPollingSaid_ = false;
};

}  // namespace

int follow(const ImportOptions& options) { return Follower(options).run(); }

}  // namespace Import
