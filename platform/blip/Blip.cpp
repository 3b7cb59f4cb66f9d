#include "blip/Blip.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <ctime>
#include <mutex>

#include "base/Escape.h"
#include "base/File.h"
#include "orb/Interrupt.h"

namespace Blip {

namespace {

using Clock = std::chrono::system_clock;

struct Slot {
    Clock::time_point time;
    U32 length = 0;
    std::array<char, maxLength> text{};
};

struct Ring {
    std::mutex mutex;
    U64 written = 0;  // messages since the start; the next one goes to written % capacity
    std::array<Slot, capacity> slots;
};

// Alive until the process ends, without a constructor or destructor that runs.
constinit Ring ring;

// The length of the longest beginning of a text that fits and cuts no UTF-8 character.
std::size_t fittingLength(std::string_view text) {
    if (text.size() <= maxLength) return text.size();
    for (U32 back = 1; back < 4; ++back) {
        if (Base::utf8Length(text, maxLength - back) > back) return maxLength - back;
    }
    return maxLength;
}

void appendTime(Orb::String& out, Clock::time_point time) {
    using std::chrono::floor;
    const auto second = floor<std::chrono::seconds>(time);
    const auto microseconds = floor<std::chrono::microseconds>(time - second).count();
    const std::time_t calendarTime = Clock::to_time_t(second);
    std::tm utc{};
    ::gmtime_r(&calendarTime, &utc);
    std::array<char, 80> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                      utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                      utc.tm_sec, static_cast<int>(microseconds));
    out.append(text.data(), static_cast<std::size_t>(length));
}

// Nobody waits for the dump of a command that was interrupted.
bool isStillWanted() { return !Orb::interruptRequested(); }

}  // namespace

void trace(std::string_view text) {
    const std::size_t length = fittingLength(text);
    const std::lock_guard guard(ring.mutex);
    Slot& slot = ring.slots[ring.written++ % capacity];
    // Under the lock, so that the messages stand in the order of their times.
    slot.time = Clock::now();
    slot.length = static_cast<U32>(length);
    std::copy_n(text.data(), length, slot.text.data());
}

std::vector<Message> messages() {
    const std::lock_guard guard(ring.mutex);
    const U64 count = std::min<U64>(ring.written, capacity);
    std::vector<Message> all;
    all.reserve(count);
    for (U64 i = ring.written - count; i < ring.written; ++i) {
        const Slot& slot = ring.slots[i % capacity];
        all.push_back({slot.time, {slot.text.data(), slot.length}});
    }
    return all;
}

bool dump(int fd) {
    Orb::String lines;
    for (const Message& message : messages()) {
        appendTime(lines, message.time);
        lines += ' ';
        Base::appendEscaped(lines, message.text);
        lines += '\n';
    }
    return Base::writeAll(fd, lines, isStillWanted);
}

}  // namespace Blip
