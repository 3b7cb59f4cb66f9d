// Trace facilities: named sources of messages with levels 0 to 9, each off or on in the whole
// process. A disabled statement costs one branch and evaluates none of its arguments.
//
//     static Orb::TraceFacility& trace = Orb::traceFacility("TrafficPolicyShowCliHelper");
//     ORB_TRACE(trace, 7, "PolicyMapConfig not found for " << name);
#pragma once

#include <atomic>
#include <sstream>
#include <string_view>
#include <vector>

#include "orb/Types.h"

#define ORB_TRACE(facility, level, ...)                  \
    do {                                                 \
        if ((facility).isEnabled(level)) [[unlikely]] {  \
            std::ostringstream orbTraceText;             \
            orbTraceText << __VA_ARGS__;                 \
            (facility).emit(level, orbTraceText.view()); \
        }                                                \
    } while (false)

namespace Orb {

class ORB_EXPORT TraceFacility {
  public:
    static constexpr U32 maxLevel = 9;

    explicit TraceFacility(std::string_view name) : name_(name) {}
    TraceFacility(const TraceFacility&) = delete;
    TraceFacility& operator=(const TraceFacility&) = delete;

    const String& name() const { return name_; }
    bool isEnabled(U32 level) const { return level < levels_.load(std::memory_order_relaxed); }
    // Turns on levels 0 to the given one, and the higher ones off.
    void levelIs(U32 level) { levels_.store(level + 1, std::memory_order_relaxed); }
    // Turns the facility off.
    void levelDel() { levels_.store(0, std::memory_order_relaxed); }

    // Writes one line "<facility>/<level> <text>" to the trace output, control characters escaped.
    void emit(U32 level, std::string_view text) const;

  private:
    String name_;
    std::atomic<U32> levels_{0};  // the levels below this one are on
};

// The facility of a name; made on first use, alive until the process ends.
ORB_EXPORT TraceFacility& traceFacility(std::string_view name);

// The names of all facilities that were asked for so far, ascending.
ORB_EXPORT std::vector<String> traceFacilityNames();

// Where trace lines go: an open file descriptor, initially 2 (standard error). Not owned.
ORB_EXPORT void traceOutputIs(int fd);

}  // namespace Orb
