// Chunks lie in one range of addresses, which is reserved at the first use, so that an address
// tells whether a block is in a chunk, and the chunk's head is found by its alignment. A chunk is
// as large as a large page of the processor, and the kernel is asked to make it one.
#include "orb/Arena.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <new>
#include <vector>

namespace Orb {

namespace {

constexpr std::size_t chunkSize = std::size_t{2} << 20;
constexpr std::size_t smallPagedChunks = 4;
constexpr std::size_t regionSize = std::size_t{64} << 30;
// Larger blocks are not worth their place: a chunk lives as long as its longest-lived block.
constexpr std::size_t largestBlock = std::size_t{16} << 10;
constexpr U64 stillFilled = U64{1} << 62;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isUsed = false;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool isUsed = false;  // each block is the sanitizer's, which sees its misuse
#else
constexpr bool isUsed = true;
#endif
#else
constexpr bool isUsed = true;
#endif

struct Chunk {
    std::atomic<U64> live;  // blocks that are not freed, and stillFilled
};

std::size_t offsetInChunk(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address) % chunkSize;
}

class Region {
  public:
    Region() {
        void* const space = ::mmap(nullptr, regionSize, PROT_NONE,
                                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (space == MAP_FAILED) return;
        // Up to where a chunk may begin, a part of one is left over, and at the end what it lacks.
        begin_ = static_cast<std::byte*>(space) + (chunkSize - offsetInChunk(space)) % chunkSize;
        next_ = begin_;
        end_ = begin_ + (regionSize - chunkSize);
    }

    bool holds(const void* block) const {
        return !std::less<>()(block, begin_) && std::less<>()(block, end_);
    }

    // Null when there is none left.
    Chunk* newChunk() {
        const std::lock_guard guard(mutex_);
        std::byte* chunk = next_;
        if (!free_.empty()) {
            chunk = free_.back();
            free_.pop_back();
        } else {
            if (next_ == end_) return nullptr;
            if (::mprotect(chunk, chunkSize, PROT_READ | PROT_WRITE) != 0) return nullptr;
            if (next_ >= begin_ + smallPagedChunks * chunkSize) {
                ::madvise(chunk, chunkSize, MADV_HUGEPAGE);
            }
            next_ += chunkSize;
        }
        return new (chunk) Chunk{stillFilled};
    }

    void drop(Chunk* chunk) noexcept {
        ::madvise(chunk, chunkSize, MADV_DONTNEED);
        const std::lock_guard guard(mutex_);
        try {
            free_.push_back(reinterpret_cast<std::byte*>(chunk));
        } catch (const std::bad_alloc&) {
            // Its addresses are not used again.
        }
    }

  private:
    std::byte* begin_ = nullptr;
    std::byte* next_ = nullptr;
    std::byte* end_ = nullptr;
    std::mutex mutex_;
    std::vector<std::byte*> free_;
};

Region& region() {
    static auto* const only = new Region;
    return *only;
}

void dropBlocks(Chunk* chunk, U64 count) noexcept {
    if (chunk->live.fetch_sub(count, std::memory_order_acq_rel) == count) region().drop(chunk);
}

// The chunk that a thread fills.
struct Filling {
    std::byte* next = nullptr;
    std::byte* end = nullptr;
    Chunk* chunk = nullptr;
    U64 blocks = 0;

    void close() noexcept {
        if (chunk != nullptr) dropBlocks(chunk, stillFilled - blocks);
        *this = {};
    }
    bool open() {
        close();
        chunk = region().newChunk();
        if (chunk == nullptr) return false;
        next = reinterpret_cast<std::byte*>(chunk + 1);
        end = reinterpret_cast<std::byte*>(chunk) + chunkSize;
        return true;
    }
};

struct Arena {
    bool isOn = false;
    bool isAside = false;
    Filling fillings[2];  // the second one for what lies aside
};

[[gnu::tls_model("initial-exec")]] constinit thread_local Arena arena;

}  // namespace

void* allocateBlock(std::size_t size) {
    if (!arena.isOn || size > largestBlock) return ::operator new(size);
    Filling& filling = arena.fillings[arena.isAside ? 1 : 0];
    // A block of nothing has an address of its own, too: the chunk's end is another chunk's.
    size = (std::max<std::size_t>(size, 1) + alignof(U64) - 1) / alignof(U64) * alignof(U64);
    if (static_cast<std::size_t>(filling.end - filling.next) < size && !filling.open()) {
        return ::operator new(size);
    }
    void* const block = filling.next;
    filling.next += size;
    ++filling.blocks;
    return block;
}

void freeBlock(void* block) noexcept {
    if (block == nullptr) return;
    if (!isUsed || !region().holds(block)) return ::operator delete(block);
    std::byte* const head = static_cast<std::byte*>(block) - offsetInChunk(block);
    dropBlocks(reinterpret_cast<Chunk*>(head), 1);
}

ArenaScope::ArenaScope() : isInner_(arena.isOn) { arena.isOn = isUsed; }

ArenaScope::~ArenaScope() {
    if (isInner_) return;
    for (Filling& filling : arena.fillings) filling.close();
    arena.isOn = false;
}

ArenaAside::ArenaAside() : isInner_(arena.isAside) { arena.isAside = true; }

ArenaAside::~ArenaAside() { arena.isAside = isInner_; }

}  // namespace Orb
