// An ordered copy of a set that is filled piece by piece, for callers that do something between the
// pieces. Each piece is sorted as it ends, into a run behind the earlier ones; neighbouring runs
// are merged in place as soon as the first is no longer than the second:
//
//     [ run of 4 pieces ][ 2 pieces ][ 1 piece ][ being filled ... ]
//
// No two merges but the two latest run between two pieces: whatever is still due waits for the next
// piece. So the work is spread (a few milliseconds a piece, for a million prefixes in 40 pieces),
// all of it is n log n, and what is left after the last piece is about one move of every value. No
// node per value; merging borrows at most half of the copy's size and gives it back at once.
#pragma once

#include <algorithm>
#include <vector>

#include "orb/Types.h"

namespace TrafficPolicyCli::FieldSets {

template <class Value>
class SortedRuns {
  public:
    // room: how many values will come at most.
    explicit SortedRuns(std::size_t room) : room_(room) {}

    void add(const Value& value) {
        if (values_.empty()) values_.reserve(room_);
        values_.push_back(value);
    }

    // Ends a piece, which may be empty.
    void endPiece() {
        sortLastPiece();
        if (mergeGrownRuns()) mergeGrownRuns();
    }

    // Ends the last piece and hands out all values, ascending.
    std::vector<Value> take() {
        sortLastPiece();
        while (runEnds_.size() > 1) mergeWithNext(runEnds_.size() - 2);
        return std::move(values_);
    }

  private:
    auto at(std::size_t index) { return values_.begin() + static_cast<std::ptrdiff_t>(index); }
    std::size_t runBegin(std::size_t run) const { return run == 0 ? 0 : runEnds_[run - 1]; }
    std::size_t runLength(std::size_t run) const { return runEnds_[run] - runBegin(run); }

    void sortLastPiece() {
        const std::size_t begin = runBegin(runEnds_.size());
        if (begin == values_.size()) return;
        std::sort(at(begin), values_.end());
        runEnds_.push_back(values_.size());
    }
    // Merges the last pair that is due; says whether there was one.
    bool mergeGrownRuns() {
        for (std::size_t run = runEnds_.size(); run-- > 1;) {
            if (runLength(run - 1) <= runLength(run)) {
                mergeWithNext(run - 1);
                return true;
            }
        }
        return false;
    }
    void mergeWithNext(std::size_t run) {
        std::inplace_merge(at(runBegin(run)), at(runEnds_[run]), at(runEnds_[run + 1]));
        runEnds_.erase(runEnds_.begin() + static_cast<std::ptrdiff_t>(run));
    }

    std::size_t room_;
    std::vector<Value> values_;
    std::vector<std::size_t> runEnds_;  // every run begins where the one before it ends
};

}  // namespace TrafficPolicyCli::FieldSets
