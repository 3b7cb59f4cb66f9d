// What an import says about itself, on standard error and in the report.
#pragma once

#include <stdexcept>
#include <string>

#include "import/Findings.h"
#include "state/State.h"

namespace Import {

inline constexpr int everythingUnderstood = 0;
inline constexpr int badOptions = 1;
inline constexpr int badInput = 2;
inline constexpr int badOutput = 3;
inline constexpr int outOfMemory = 4;
inline constexpr int somethingCarried = 6;

// The state or the report cannot be written.
class OutputError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// What the state's writers refuse, as such an error.
template <class Write>
auto writing(const Write& write) {
    try {
        return write();
    } catch (const StateDirectory::StateError& error) {
        throw OutputError(error.what());
    }
}

// A line on standard error.
void say(const std::string& message);

// "3 policies, 45 rules, 2 field sets, 6 attachments".
std::string summaryOf(const StateDirectory::State& state);

// Says the counts and writes the report, when there is a file for it. Throws OutputError.
void tellFindings(const Findings& findings, const std::string& reportFile);

inline int statusOf(const Findings& findings) {
    return findings.isComplete() ? everythingUnderstood : somethingCarried;
}

}  // namespace Import
