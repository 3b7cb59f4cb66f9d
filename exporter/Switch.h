// One switch: its state directory, kept loaded, and what a scrape reads of it.
//
//     documents --LiveState--> state --\                    (new when either is)
//     counters.reef --------> store ---+--> Plan: which counters there are, what is installed,
//                                           what is wrong
//     records of the store ----------------> Reading: the plan with the counts of one moment
//
// A plan never changes, so scrapes share it; what a scrape copies itself are the counts.
#pragma once

#include <array>
#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "exporter/ExporterOptions.h"
#include "reef/StoreManager.h"
#include "state/LiveState.h"
#include "traffic-policy/Health.h"

namespace Exporter {

using PolicyMap::PacketAndByte;

// The counters of one policy on one side.
struct CounterGroup {
    std::string_view policy;
    std::string_view kind;       // "interface", "cpu"
    std::string_view direction;  // "input", "output"; empty: none
    U32 firstRow = 0;            // its rules; the named counters follow
    U32 firstNamed = 0;
    U32 endRow = 0;
    std::array<bool, 2> hasRules{};  // that do not drop, and that do
};

// One counter. Names are those of the state that the plan holds.
struct CounterRow {
    std::string_view name;
    U64 identity = 0;
    double created = 0;  // seconds since 1970-01-01 00:00 UTC; 0: not known
    const PolicyMap::PacketDataStatus* record = nullptr;  // null: it is in the store
    U32 index = 0;                                        // there
    U32 group = 0;
    bool isDrop = false;  // of a rule: it drops what it takes
};

struct Plan {
    StateDirectory::LiveState::Version version;
    std::vector<CounterGroup> groups;
    std::vector<CounterRow> rows;
    TrafficPolicyCli::PolicyHealth health;
    bool countsBytes = false;

    bool isRule(const CounterRow& row, std::size_t place) const {
        return place < groups[row.group].firstNamed;
    }
};

// What the counters of a group add up to. A record that begins anew takes nothing away.
struct GroupTotal {
    std::array<U64, 2> rulePackets{};  // of rules that do not drop, and of those that do
    PacketAndByte named;
};

struct Reading {
    std::string_view name;                             // of the switch; empty: it has none
    std::shared_ptr<const Plan> plan;                  // null: the state cannot be read
    std::vector<std::optional<PacketAndByte>> counts;  // by row; nothing: not available
    std::vector<GroupTotal> totals;                    // by group, when policies are asked for
    std::array<double, 2> ages{};  // seconds since config.json and status.json were written
    std::optional<bool> hasStore;  // nothing: the state needs none
    U64 notAvailable = 0;          // records of the store
    U64 loadErrors = 0;
};

class Switch {
  public:
    using Clock = std::chrono::steady_clock;

    // Begins to read the state. Throws std::system_error.
    Switch(const StateName& state, Grain grain);

    // The figures of now. Waits for documents that are being read, until the deadline. Several
    // threads may call it.
    Reading read(Clock::time_point deadline);

  private:
    struct StoreIdentity {
        dev_t device = 0;
        ino_t file = 0;
        off_t size = -1;  // there is none
        bool operator==(const StoreIdentity&) const = default;
    };

    void sayOnce(std::string& said, const std::string& what) const;
    bool isPlanDue(const StateDirectory::LiveState::Version& version) const;
    void makePlan(const StateDirectory::LiveState::Version& version);
    void takeOver(Plan& plan);
    void openStore(const StateDirectory::State& state);
    TrafficPolicyCli::PolicyHealth findHealth(const StateDirectory::State& state) const;
    void readCounts(Reading& reading);
    void addUp(const Reading& reading);

    const std::string directory_;
    const std::string name_;
    const Grain grain_;
    StateDirectory::LiveState live_;

    std::mutex mutex_;  // of what follows
    std::shared_ptr<const Plan> plan_;
    Clock::time_point planned_;
    bool isPlanStale_ = false;
    Orb::Ptr<Reef::StoreManager> store_;  // null: not needed, or damaged
    StoreIdentity storeIdentity_;
    StoreIdentity snapshotsIdentity_;
    std::string stateSaid_;  // what the log says of the state; empty: it is in order
    std::string storeSaid_;
    std::vector<std::optional<PacketAndByte>> last_;  // by row, what was added up
    std::vector<GroupTotal> totals_;                  // by group
    bool hasAddedUp_ = false;
};

}  // namespace Exporter
