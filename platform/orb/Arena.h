// Memory for objects that are made together and go together, as those of a state that is read: one
// block behind the other, in the order in which they are made and will be walked. A block of an
// arena is freed like any other; the memory of a chunk goes back when all of its blocks are free.
#pragma once

#include <cstddef>

#include "orb/Types.h"

namespace Orb {

// A block that is aligned as U64 is; of the calling thread's arena while it has one. Throws
// std::bad_alloc.
ORB_EXPORT void* allocateBlock(std::size_t size);
// Any thread may free any block.
ORB_EXPORT void freeBlock(void* block) noexcept;

// Gives the calling thread an arena for its own life. Within another one it does nothing.
class ORB_EXPORT ArenaScope {
  public:
    ArenaScope();
    ~ArenaScope();
    ArenaScope(const ArenaScope&) = delete;
    ArenaScope& operator=(const ArenaScope&) = delete;

  private:
    bool isInner_;
};

// Has the blocks of the calling thread's arena, for its own life, lie apart from those before and
// after: what few walks need should not stand between what all of them do.
class ORB_EXPORT ArenaAside {
  public:
    ArenaAside();
    ~ArenaAside();
    ArenaAside(const ArenaAside&) = delete;
    ArenaAside& operator=(const ArenaAside&) = delete;

  private:
    bool isInner_;
};

// Has the processor fetch what a walk will count a reference of soon; null is nothing. Else a walk
// over records that lie apart waits for each, because counting lets nothing overtake it.
inline void fetchSoon(const void* block) { __builtin_prefetch(block, 1); }
// How many steps before its use something is fetched.
inline constexpr U32 stepsAhead = 8;

// For containers of the standard library.
template <class T>
struct BlockAllocator {
    using value_type = T;
    static_assert(alignof(T) <= alignof(U64));

    BlockAllocator() = default;
    template <class U>
    BlockAllocator(const BlockAllocator<U>&) {}

    T* allocate(std::size_t count) { return static_cast<T*>(allocateBlock(count * sizeof(T))); }
    void deallocate(T* block, std::size_t) noexcept { freeBlock(block); }
    friend bool operator==(const BlockAllocator&, const BlockAllocator&) { return true; }
};

}  // namespace Orb
