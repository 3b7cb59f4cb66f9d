#include "orb/Trace.h"

#include <unistd.h>

#include <map>
#include <memory>
#include <mutex>

#include "base/Escape.h"
#include "base/File.h"

namespace Orb {

namespace {

struct TraceState {
    std::mutex mutex;
    std::map<String, std::unique_ptr<TraceFacility>, std::less<>> facilities;
    std::atomic<int> output{STDERR_FILENO};
};

// Never destroyed: objects that die at exit may still trace.
TraceState& state() {
    static auto* const only = new TraceState;
    return *only;
}

}  // namespace

void TraceFacility::emit(U32 level, std::string_view text) const {
    String line = name_ + "/" + std::to_string(level) + " ";
    Base::appendEscaped(line, text);
    line += '\n';
    // One write per line, so that lines of several threads do not mix.
    const int fd = state().output.load(std::memory_order_relaxed);
    Base::writeAll(fd, line, [] { return false; });  // what cannot be written is dropped
}

TraceFacility& traceFacility(std::string_view name) {
    const std::lock_guard guard(state().mutex);
    auto& facilities = state().facilities;
    auto found = facilities.find(name);
    if (found == facilities.end()) {
        found = facilities.emplace(String(name), std::make_unique<TraceFacility>(name)).first;
    }
    return *found->second;
}

std::vector<String> traceFacilityNames() {
    const std::lock_guard guard(state().mutex);
    std::vector<String> names;
    for (const auto& [name, facility] : state().facilities) names.push_back(name);
    return names;
}

void traceOutputIs(int fd) { state().output.store(fd, std::memory_order_relaxed); }

}  // namespace Orb
