// What a command runs on: where its report goes, and the state directory, which is read when the
// command first asks.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "reef/PolicyMapTypeCounters.h"
#include "state/CounterStore.h"
#include "state/DocumentIdentity.h"
#include "state/StateSource.h"

namespace Cli {

using StateDirectory::StatePtr;
using StateDirectory::StateSource;

// Reads what is wanted of a state directory when first asked, and again when it is asked for a
// current state and the documents have changed. What was read lives as long as the process: taking
// 100,000 rules apart at the end would only keep the operator waiting.
class StateReadOnce : public StateSource {
  public:
    explicit StateReadOnce(std::string directory, StateDirectory::Wanted wanted = {})
        : directory_(std::move(directory)), wanted_(std::move(wanted)) {}
    StatePtr loaded() override {
        if (state_ == nullptr) read();
        return state_;
    }
    StatePtr current() override {
        const bool isSame = StateDirectory::documentIdentities(directory_) == identities_;
        if (state_ == nullptr || !isSame) read();
        return state_;
    }

  private:
    void read() {
        static auto& kept = *new std::vector<StatePtr>;
        identities_ = StateDirectory::documentIdentities(directory_);
        state_ =
            std::make_shared<StateDirectory::State>(StateDirectory::readState(directory_, wanted_));
        kept.push_back(state_);
    }

    std::string directory_;
    StateDirectory::Wanted wanted_;
    StateDirectory::DocumentIdentities identities_;
    StatePtr state_;
};

class Session {
  public:
    Session(std::string stateDirectory, U32 fd, U32 format, U32 revision, StateSource& source)
        : stateDirectory_(std::move(stateDirectory)),
          fd_(fd),
          format_(format),
          revision_(revision),
          source_(source),
          counterStore_(
              Orb::make<Reef::StoreManager>(StateDirectory::counterStorePath(stateDirectory_))) {}

    const std::string& stateDirectory() const { return stateDirectory_; }
    U32 fd() const { return fd_; }
    U32 format() const { return format_; }      // 1 text, 2 JSON
    U32 revision() const { return revision_; }  // of the JSON model

    // The state, the same one as long as the session lives. Throws StateDirectory::StateError.
    const StateDirectory::State& state() const {
        if (state_ == nullptr) state_ = source_.loaded();
        return *state_;
    }
    // The same, as the documents tell it at the time of the first call. REQUIRES: state() was not
    // called before.
    const StateDirectory::State& currentState() const {
        if (state_ == nullptr) state_ = source_.current();
        return *state_;
    }
    // The shared-memory counter store. Nothing is opened before its first count is read.
    const Orb::Ptr<Reef::StoreManager>& counterStore() const { return counterStore_; }
    Orb::Ptr<const PolicyMap::Counters::PolicyMapTypeCounters> counters(
        PolicyMap::Counters::Direction direction) const {
        return Orb::make<PolicyMap::Counters::PolicyMapTypeCounters>(counterStore_, direction);
    }

    // Another session with the same surroundings, which has read nothing yet.
    Session another() const { return {stateDirectory_, fd_, format_, revision_, source_}; }

    // Only so many counters, the busiest; 0: all.
    U64 top() const { return top_; }
    void topIs(U64 top) { top_ = top; }

    // Says whether an operator sees the report as it is printed, on a terminal or its pager.
    bool isOnTerminal() const { return isOnTerminal_; }
    void isOnTerminalIs(bool is) { isOnTerminal_ = is; }

    // What is done when the report is whole: what the command says next, on standard error, comes
    // behind it.
    void atEndOfReport(std::function<void()> action) { atEndOfReport_ = std::move(action); }
    void endReport() const {
        if (atEndOfReport_) atEndOfReport_();
    }

  private:
    std::string stateDirectory_;
    U32 fd_;
    U32 format_;
    U32 revision_;
    StateSource& source_;
    mutable StatePtr state_;
    Orb::Ptr<Reef::StoreManager> counterStore_;
    std::function<void()> atEndOfReport_;
    U64 top_ = 0;
    bool isOnTerminal_ = false;
};

}  // namespace Cli
