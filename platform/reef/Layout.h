// The layout of a counter store: a file that one agent counts into while any number of readers have
// it mapped. All numbers are in the machine's byte order; a store never leaves its machine.
//
//     offset
//     0     header     magic | version | file size | policies | counters | bytes of names |
//                      checksum of the directory | checksum of the words before      8 x 64 bits
//     64    directory  policies   PolicyEntry, ascending by direction and name   24 bytes each
//                      counters   CounterEntry, in the order of the records      24 bytes each
//                      names      of policies, rules, counters and interfaces, without separators
//           zeros to the next multiple of 64
//           records    Record, counters[i] counts in records[i]                  64 bytes each
//           end of file
//
//     counters of one policy   [rule][rule]... [named][named]... [interface]...
//                              in the order in which the     those of the first named counter,
//                              platform reports them         of the second, ...
//
// Header and directory never change in a store that stands under its name; a store with other
// counters is written beside it and renamed over it. Records change all the time (Record.h).
#pragma once

#include <cstddef>
#include <span>

#include "orb/Types.h"

namespace Reef {

struct Header {
    static constexpr U64 storeMagic = 0x0a66656552706331;  // "1cpReef\n"
    static constexpr U64 storeVersion = 1;

    U64 magic = storeMagic;
    U64 version = storeVersion;
    U64 fileSize = 0;
    U64 policyCount = 0;
    U64 counterCount = 0;
    U64 nameBytes = 0;
    U64 directoryChecksum = 0;
    U64 headerChecksum = 0;
};
static_assert(sizeof(Header) == 64);

// A piece of the names.
struct NameRange {
    U32 offset = 0;
    U32 length = 0;
};

struct PolicyEntry {
    U32 direction = 0;     // a Direction
    U32 firstCounter = 0;  // where its rules stand; its named counters and interfaces follow
    U32 ruleCount = 0;
    U32 namedCount = 0;
    NameRange name;
};
static_assert(sizeof(PolicyEntry) == 24);

struct CounterEntry {
    U64 identity = 0;
    NameRange name;
    U32 firstInterface = 0;  // of a named counter: where its interfaces stand
    U32 interfaceCount = 0;  // 0 for rules and interfaces
};
static_assert(sizeof(CounterEntry) == 24);

// A store holds at most this many counters, and bytes of names.
inline constexpr U64 maxCounters = U64{1} << 24;
inline constexpr U64 maxNameBytes = U64{1} << 30;

inline constexpr U64 recordSize = 64;

// Where the records begin. REQUIRES: counts within the limits above.
inline U64 recordsOffset(const Header& header) {
    const U64 directoryEnd = sizeof(Header) + header.policyCount * sizeof(PolicyEntry) +
                             header.counterCount * sizeof(CounterEntry) + header.nameBytes;
    return (directoryEnd + recordSize - 1) / recordSize * recordSize;
}

// Goes on with a checksum over more bytes. A change within any one aligned word is always found.
U64 checksum(std::span<const std::byte> bytes, U64 before);
ORB_EXPORT U64 headerChecksum(const Header& header);

}  // namespace Reef
