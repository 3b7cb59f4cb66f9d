#include "exporter/Switch.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <unordered_map>

#include "base/Escape.h"
#include "exporter/Log.h"
#include "orb/ActivityLock.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/CounterDirectory.h"
#include "reef/PolicyMapTypeCounters.h"
#include "state/CounterStore.h"
#include "state/Snapshots.h"

namespace Exporter {

using PolicyMap::Counters::Direction;
using PolicyMap::Counters::PolicyMapTypeCounters;
using StateDirectory::State;
using Version = StateDirectory::LiveState::Version;

namespace {

// Counters may fall below their snapshots at any time, so problems are looked for now and then.
constexpr auto longestPlan = std::chrono::minutes(1);

double secondsNow() {
    timespec now{};
    ::clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// When a file was made; 0: its file system does not say.
double birthOf(const std::string& path) {
    struct statx status {};
    if (::statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &status) != 0 ||
        (status.stx_mask & STATX_BTIME) == 0) {
        return 0;
    }
    return static_cast<double>(status.stx_btime.tv_sec) +
           static_cast<double>(status.stx_btime.tv_nsec) * 1e-9;
}

// A side that counts.
struct CountingSide {
    std::string_view kind;
    std::string_view direction;
    Orb::Ptr<const TrafficPolicy::Status> State::*status;
    bool isOfInterfaces;
    Direction ofStore;
};
const CountingSide sides[] = {
    {"interface", "input", &State::interfaceInput, true, Direction::input},
    {"interface", "output", &State::interfaceOutput, true, Direction::output},
    {"cpu", "", &State::cpu, false, Direction::input},
};

// Lists the counters of a state: of each policy that the platform reports, the rules that it has
// records of and the declared named counters.
class RowsOfState {
  public:
    RowsOfState(const State& state, Reef::StoreManager* store, Plan& plan)
        : state_(state), store_(store), plan_(plan) {}

    void add() {
        for (const CountingSide& side : sides) {
            const auto& status = state_.*side.status;
            if (!status || (side.isOfInterfaces && !state_.hwStatus)) continue;
            const bool isInStore = side.isOfInterfaces && state_.hwStatus->countersInReef();
            if (isInStore && store_ == nullptr) continue;
            for (const auto& [policy, policyStatus] : status->policyMapStatus()) {
                if (policyStatus) addGroup(side, policy, *policyStatus, isInStore);
            }
        }
    }

  private:
    void addGroup(const CountingSide& side, const Orb::String& policy,
                  const PolicyMap::PolicyMapStatus& status, bool isInStore) {
        const auto* const directory = isInStore ? &store_->directory() : nullptr;
        const Reef::PolicyEntry* const entry =
            isInStore ? directory->policy(side.ofStore, policy) : nullptr;
        if (isInStore && entry == nullptr) return;
        const auto here = [this] { return static_cast<U32>(plan_.rows.size()); };
        CounterGroup group{policy, side.kind, side.direction, here(), here(), here(), {}};
        const auto* const version = versionOf(policy);
        addRules(status, entry);
        group.firstNamed = here();
        for (U32 row = group.firstRow; row < group.firstNamed; ++row) {
            plan_.rows[row].isDrop = version != nullptr && drops(*version, plan_.rows[row].name);
            group.hasRules.at(plan_.rows[row].isDrop ? 1 : 0) = true;
        }
        static const Orb::RbTreeSet<Orb::Name> none;
        for (const Orb::Name& name : version == nullptr ? none : version->namedCounter()) {
            if (isInStore) {
                addStored(*directory, name, directory->namedCounter(*entry, name));
            } else {
                addRecord(name, status.namedCounter().find(name));
            }
        }
        group.endRow = here();
        if (group.endRow != group.firstRow) plan_.groups.push_back(group);
    }

    // From the store when it has an entry of the policy.
    void addRules(const PolicyMap::PolicyMapStatus& status, const Reef::PolicyEntry* entry) {
        U32 place = 0;
        for (const auto& [rule, ruleStatus] : status.classMapStatus()) {
            if (entry != nullptr) {
                addStored(store_->directory(), rule, store_->directory().rule(*entry, rule));
            } else {
                addRecord(rule, status.classCounter().find(rule, place));
            }
            ++place;
        }
    }

    const PolicyMap::PolicyMapSubConfig* versionOf(const Orb::String& policy) const {
        const auto* const config = state_.config ? state_.config->policyMapConfig(policy) : nullptr;
        return config == nullptr ? nullptr : config->currCfg().get();
    }
    static bool drops(const PolicyMap::PolicyMapSubConfig& version, std::string_view rule) {
        const auto* const actions = version.policyAction().find(rule);
        return actions != nullptr && *actions &&
               (*actions)->action().contains(PolicyMap::ActionType::drop);
    }

    void addStored(const Reef::CounterDirectory& directory, const Orb::String& name,
                   std::optional<Reef::CounterIndex> index) {
        if (!index) return;
        plan_.rows.push_back({.name = name,
                              .identity = directory.counters[*index].identity,
                              .index = *index,
                              .group = static_cast<U32>(plan_.groups.size())});
    }
    void addRecord(const Orb::String& name,
                   const Orb::Ptr<const PolicyMap::PacketDataStatus>* record) {
        if (record == nullptr || !*record) return;
        plan_.rows.push_back({.name = name,
                              .identity = (*record)->uniqueId().value,
                              .record = record->get(),
                              .group = static_cast<U32>(plan_.groups.size())});
    }

    const State& state_;
    Reef::StoreManager* store_;
    Plan& plan_;
};

// Finds the counters of a plan in the one before it.
class FormerRows {
  public:
    explicit FormerRows(const Plan& former) : former_(former) {
        for (const CounterGroup& group : former.groups) groups_[keyOf(group)] = &group;
    }

    const CounterGroup* groupOf(const CounterGroup& group) const {
        const auto found = groups_.find(keyOf(group));
        return found == groups_.end() ? nullptr : found->second;
    }
    // The counters of a group that were in the former one were created when they were, and have
    // their last counts, where these are remembered.
    void rowsGoOver(const CounterGroup& former,
                    const std::vector<std::optional<PacketAndByte>>& from,
                    const CounterGroup& group, std::vector<CounterRow>& rows,
                    std::vector<std::optional<PacketAndByte>>& to) {
        for (U32 place = group.firstRow; place < group.endRow; ++place) {
            CounterRow& row = rows[place];
            const auto same = placeOf(former, row.name, place < group.firstNamed);
            if (!same || former_.rows[*same].identity != row.identity) continue;
            row.created = former_.rows[*same].created;
            if (!to.empty()) to[place] = from[*same];
        }
    }

  private:
    // The place of a counter that has one; mostly that of the counter asked for before, plus one.
    std::optional<U32> placeOf(const CounterGroup& former, std::string_view name, bool isRule) {
        const U32 first = isRule ? former.firstRow : former.firstNamed;
        const U32 end = isRule ? former.firstNamed : former.endRow;
        if (next_ < first || next_ >= end) next_ = first;
        if (next_ < end && former_.rows[next_].name == name) return next_++;
        if (mapped_ != first || mappedEnd_ != end) {
            places_.clear();
            for (U32 place = first; place < end; ++place) places_[former_.rows[place].name] = place;
            mapped_ = first;
            mappedEnd_ = end;
        }
        const auto found = places_.find(name);
        if (found == places_.end()) return std::nullopt;
        next_ = found->second + 1;
        return found->second;
    }

    static std::string keyOf(const CounterGroup& group) {
        return std::string(group.kind) + '/' + std::string(group.direction) + '/' +
               std::string(group.policy);
    }

    const Plan& former_;
    std::unordered_map<std::string, const CounterGroup*> groups_;
    U32 next_ = 0;
    U32 mapped_ = ~U32{0};
    U32 mappedEnd_ = 0;
    std::unordered_map<std::string_view, U32> places_;
};

}  // namespace

Switch::Switch(const StateName& state, Grain grain)
    : directory_(state.directory), name_(state.name), grain_(grain), live_(state.directory) {}

void Switch::sayOnce(std::string& said, const std::string& what) const {
    if (said == what) return;
    const std::string before = name_.empty() ? "" : "switch " + name_ + ": ";
    if (what.empty()) {
        say(before +
            (&said == &stateSaid_ ? "the state is read again" : "the counter store is read again"));
    } else {
        say(before + what);
    }
    said = what;
}

Reading Switch::read(Clock::time_point deadline) {
    live_.catchUp(
        std::max(std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()),
                 std::chrono::milliseconds(0)));
    Reading reading;
    reading.name = name_;
    const auto refusal = live_.refusal();
    const Version version = live_.inForce();
    reading.loadErrors = live_.refusals();
    const std::lock_guard lock(mutex_);
    if (refusal || !version.state) {
        sayOnce(stateSaid_, refusal ? refusal->mistake : directory_ + ": is still being read");
        return reading;
    }
    sayOnce(stateSaid_, "");
    openStore(*version.state);
    if (isPlanDue(version)) makePlan(version);
    reading.plan = plan_;
    for (std::size_t i = 0; i < reading.ages.size(); ++i) {
        const timespec& written = version.written[i];
        reading.ages[i] = secondsNow() - (static_cast<double>(written.tv_sec) +
                                          static_cast<double>(written.tv_nsec) * 1e-9);
    }
    const auto& hwStatus = version.state->hwStatus;
    if (hwStatus && hwStatus->countersInReef()) reading.hasStore = static_cast<bool>(store_);
    readCounts(reading);
    if (grain_ == Grain::perPolicy) {
        addUp(reading);
        reading.totals = totals_;
        reading.counts = {};
    }
    return reading;
}

// Opens the store again when another one stands under its name; a damaged one is tried each time.
void Switch::openStore(const State& state) {
    const auto identityOf = [](const std::string& path) -> StoreIdentity {
        struct stat status {};
        if (::stat(path.c_str(), &status) != 0) return {};
        return {status.st_dev, status.st_ino, status.st_size};
    };
    const StoreIdentity snapshots = identityOf(StateDirectory::snapshotsPath(directory_));
    isPlanStale_ = isPlanStale_ || !(snapshots == snapshotsIdentity_);
    snapshotsIdentity_ = snapshots;

    const bool isNeeded = state.hwStatus && state.hwStatus->countersInReef();
    const std::string path = StateDirectory::counterStorePath(directory_);
    const StoreIdentity identity = isNeeded ? identityOf(path) : StoreIdentity{};
    if (store_ && identity == storeIdentity_) return;
    const bool hadStore = static_cast<bool>(store_);
    store_ = nullptr;
    storeIdentity_ = identity;
    if (isNeeded) {
        try {
            const auto store = Orb::make<Reef::StoreManager>(path);
            store->directory();
            store_ = store;
            sayOnce(storeSaid_, "");
        } catch (const Cairn::CorruptionDetectedException& damage) {
            sayOnce(storeSaid_, "counter store " + Base::escaped(path) + ": " + damage.what());
        }
    }
    isPlanStale_ = isPlanStale_ || store_ || hadStore;
}

bool Switch::isPlanDue(const Version& version) const {
    return plan_ == nullptr || isPlanStale_ || plan_->version.state != version.state ||
           planned_ + longestPlan < Clock::now();
}

TrafficPolicyCli::PolicyHealth Switch::findHealth(const State& state) const {
    // Of its own: looking for problems takes a damaged store for damaged from then on.
    const auto store = Orb::make<Reef::StoreManager>(StateDirectory::counterStorePath(directory_));
    auto sources = TrafficPolicyCli::diagnosisSourcesOf(
        state, Orb::make<PolicyMapTypeCounters>(store, Direction::input),
        Orb::make<PolicyMapTypeCounters>(store, Direction::output));
    try {
        const auto snapshots = StateDirectory::readSnapshots(directory_);
        if (store_) {
            sources.input.counter = snapshots.interfaceInput;
            sources.output.counter = snapshots.interfaceOutput;
        }
        sources.cpu.counter = snapshots.cpu;
    } catch (const StateDirectory::StateError&) {
        // Then no counter is known to have fallen. A show or a clear says so to whom it concerns.
    }
    return TrafficPolicyCli::trafficPolicyHealth(sources);
}

void Switch::makePlan(const Version& version) {
    const Orb::ActivityLockGuard activity;
    const auto plan = std::make_shared<Plan>();
    plan->version = version;
    plan->countsBytes = version.state->hwStatus && version.state->hwStatus->byteCountersSupported();
    plan->health = findHealth(*version.state);
    RowsOfState(*version.state, store_.get(), *plan).add();
    plan->rows.shrink_to_fit();

    takeOver(*plan);
    plan_ = plan;
    planned_ = Clock::now();
    isPlanStale_ = false;
}

// What is remembered of the counters goes over to the plan that follows.
void Switch::takeOver(Plan& plan) {
    std::vector<GroupTotal> totals(plan.groups.size());
    std::vector<std::optional<PacketAndByte>> last;
    if (grain_ == Grain::perPolicy) last.resize(plan.rows.size());
    // Where nothing is remembered: a store has the same counters all its life.
    const double ofStore = birthOf(StateDirectory::counterStorePath(directory_));
    const double ofOthers = plan_ ? secondsNow() : birthOf(directory_);
    for (CounterRow& row : plan.rows) {
        row.created = row.record == nullptr && ofStore > 0 ? ofStore : ofOthers;
    }
    std::optional<FormerRows> former;
    if (plan_) former.emplace(*plan_);
    for (std::size_t i = 0; i < plan.groups.size(); ++i) {
        const CounterGroup& group = plan.groups[i];
        const CounterGroup* const before = former ? former->groupOf(group) : nullptr;
        if (before == nullptr) continue;
        totals[i] = totals_[static_cast<std::size_t>(before - plan_->groups.data())];
        former->rowsGoOver(*before, last_, group, plan.rows, last);
    }
    last_ = std::move(last);
    totals_ = std::move(totals);
}

void Switch::readCounts(Reading& reading) {
    const auto& rows = reading.plan->rows;
    reading.counts.resize(rows.size());
    try {
        for (std::size_t place = 0; place < rows.size(); ++place) {
            const CounterRow& row = rows[place];
            if (row.record != nullptr) {
                reading.counts[place] = row.record->count();
            } else if (store_) {
                reading.counts[place] = store_->counts(row.index);
                if (!reading.counts[place]) ++reading.notAvailable;
            }
        }
    } catch (const Cairn::CorruptionDetectedException& damage) {
        sayOnce(storeSaid_, "counter store " +
                                Base::escaped(StateDirectory::counterStorePath(directory_)) + ": " +
                                damage.what());
        store_ = nullptr;
        storeIdentity_ = {};
        reading.hasStore = false;
        for (std::size_t place = 0; place < rows.size(); ++place) {
            if (rows[place].record == nullptr) reading.counts[place].reset();
        }
    }
}

namespace {

U64 since(U64 before, U64 now) { return now < before ? 0 : now - before; }

}  // namespace

// Adds what was counted since the last reading. A record that is new counts from here on, but for
// the first reading, which takes all as they stand.
void Switch::addUp(const Reading& reading) {
    const Plan& plan = *reading.plan;
    const bool isFirst = !std::exchange(hasAddedUp_, true);
    for (std::size_t place = 0; place < plan.rows.size(); ++place) {
        const auto& now = reading.counts[place];
        if (!now) continue;
        auto& last = last_[place];
        const PacketAndByte before = last ? *last : isFirst ? PacketAndByte{} : *now;
        GroupTotal& total = totals_[plan.rows[place].group];
        const U64 packets = since(before.packets, now->packets);
        if (plan.isRule(plan.rows[place], place)) {
            total.rulePackets.at(plan.rows[place].isDrop ? 1 : 0) += packets;
        } else {
            total.named.packets += packets;
            total.named.bytes += since(before.bytes, now->bytes);
        }
        last = now;
    }
}

}  // namespace Exporter
