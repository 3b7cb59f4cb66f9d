// What a command runs on: where its report goes, and the state directory, which is read when the
// command first asks.
#pragma once

#include <deque>
#include <string>

#include "reef/PolicyMapTypeCounters.h"
#include "state/CounterStore.h"
#include "state/State.h"

namespace Cli {

class Session {
  public:
    Session(std::string stateDirectory, U32 fd, U32 format, U32 revision)
        : stateDirectory_(std::move(stateDirectory)),
          fd_(fd),
          format_(format),
          revision_(revision),
          counterStore_(
              Orb::make<Reef::StoreManager>(StateDirectory::counterStorePath(stateDirectory_))) {}

    const std::string& stateDirectory() const { return stateDirectory_; }
    U32 fd() const { return fd_; }
    U32 format() const { return format_; }      // 1 text, 2 JSON
    U32 revision() const { return revision_; }  // of the JSON model

    // Throws StateDirectory::StateError. What was read lives as long as the process: taking 100,000
    // rules apart at the end would only keep the operator waiting.
    const StateDirectory::State& state() const {
        static auto& read = *new std::deque<StateDirectory::State>;
        if (state_ == nullptr) {
            state_ = &read.emplace_back(StateDirectory::readState(stateDirectory_));
        }
        return *state_;
    }
    // The shared-memory counter store. Nothing is opened before its first count is read.
    const Orb::Ptr<Reef::StoreManager>& counterStore() const { return counterStore_; }
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> counters(
        PolicyMap::Counters::Direction direction) const {
        return Orb::make<PolicyMap::Counters::PolicyMapTypeCounters>(counterStore_, direction);
    }

  private:
    std::string stateDirectory_;
    U32 fd_;
    U32 format_;
    U32 revision_;
    mutable const StateDirectory::State* state_ = nullptr;
    Orb::Ptr<Reef::StoreManager> counterStore_;
};

}  // namespace Cli
