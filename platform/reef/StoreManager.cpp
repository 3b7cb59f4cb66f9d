#include "reef/StoreManager.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>

#include "base/Escape.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/StoreFile.h"

namespace Reef {

ORB_DEFINE_TYPE(StoreManager)

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto longestWait = std::chrono::seconds(1);
constexpr auto longestPause = std::chrono::milliseconds(10);

void printLine(const Orb::String& path, std::string_view text) {
    std::string line = "counter store ";
    Base::appendEscaped(line, path);
    line += ": ";
    line += text;
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

// Reads a record until no writer is at it, or until it is known that none will finish. A write
// takes nanoseconds, so a few tries are nearly always enough; a writer that the scheduler took off
// the processor may take longer.
RecordState readPatiently(const StoreFile& file, CounterIndex counter,
                          PolicyMap::PacketAndByte& counts, Clock::duration patience) {
    constexpr int quickTries = 100;
    RecordState state = RecordState::inProgress;
    for (int i = 0; i < quickTries && state == RecordState::inProgress; ++i) {
        state = file.read(counter, counts);
    }
    const auto end = Clock::now() + patience;
    for (Clock::duration pause = std::chrono::microseconds(1);
         state == RecordState::inProgress && Clock::now() < end;
         pause = std::min<Clock::duration>(2 * pause, longestPause)) {
        // Asked before the read: a writer that finishes and then leaves is seen to have finished.
        const bool hasWriter = file.hasWriter();
        state = file.read(counter, counts);
        if (!hasWriter) break;
        if (state == RecordState::inProgress) std::this_thread::sleep_for(pause);
    }
    return state;
}

}  // namespace

StoreManager::StoreManager(Orb::String path) : path_(std::move(path)) {}

StoreManager::~StoreManager() = default;

const StoreFile& StoreManager::file() {
    if (!damage_.empty()) throw Cairn::CorruptionDetectedException(damage_);
    if (!file_) file_ = std::make_unique<StoreFile>(path_, StoreAccess::read);
    return *file_;
}

const CounterDirectory& StoreManager::directory() { return file().directory(); }

std::optional<PolicyMap::PacketAndByte> StoreManager::counts(U32 counter) {
    const StoreFile& store = file();
    PolicyMap::PacketAndByte counts;
    RecordState state = store.read(counter, counts);
    if (state == RecordState::inProgress) {
        state = readPatiently(store, counter, counts,
                              writerIsStuck_ ? Clock::duration::zero() : longestWait);
    }
    if (state == RecordState::whole) return counts;
    if (state == RecordState::damaged) {
        notAvailableIs(counter, "is damaged");
    } else if (store.hasWriter()) {
        // Who is stuck in one record stays stuck: no second wait for the others.
        writerIsStuck_ = true;
        notAvailableIs(counter, "stays unfinished by its agent");
    } else {
        notAvailableIs(counter, "was left unfinished by an agent that is gone");
    }
    return std::nullopt;
}

void StoreManager::notAvailableIs(U32 counter, std::string_view why) {
    if (!notAvailable_.insert(counter).second) return;
    printLine(path_, "the record of " + directory().describe(counter) + " " + std::string(why) +
                         "; its counts are not available");
}

void StoreManager::damageIs(const Orb::String& damage) {
    if (!damage_.empty()) return;
    damage_ = damage;
    printLine(path_, damage + "; its counters are not available");
}

}  // namespace Reef
