// Counting at given rates: a walk over all counters, tick by tick, as increments for the store.
#pragma once

#include <span>
#include <vector>

#include "agent/AgentOptions.h"
#include "reef/StoreWriter.h"

namespace Reef {
class CounterDirectory;
struct CounterEntry;
}  // namespace Reef

namespace CounterAgent {

inline constexpr U64 bytesPerPacket = 64;

class Counting {
  public:
    // Throws OptionError when a rate names a counter that the store does not have.
    Counting(const Reef::CounterDirectory& directory, std::span<const Rate> rates);

    // Adds what is due after that many seconds more. Returns how many records changed.
    U64 advance(Reef::StoreWriter& writer, double seconds);
    // Says whether some counter counts as fast as it goes.
    bool isFastest() const { return isFastest_; }

  private:
    struct Counted {
        U32 counter = 0;
        U32 firstInterface = 0;
        U32 interfaceCount = 0;
        U32 turn = 0;  // the interface that counts next
        U64 packetsPerSecond = 0;
        double due = 0;  // the part of a packet that is left over
    };

    void add(U32 counter, const Reef::CounterEntry& entry, U64 packetsPerSecond);

    std::vector<Counted> counted_;
    bool isFastest_ = false;
};

}  // namespace CounterAgent
