// Blocks of an arena: aligned, apart, freed by any thread in any order, and their memory used
// again.
#include "orb/Arena.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <set>
#include <thread>
#include <vector>

namespace {

struct Block {
    std::byte* bytes;
    std::size_t size;
    unsigned char mark;
};

// Blocks of all sizes, a few larger than an arena takes; each is filled with a mark of its own.
std::vector<Block> newBlocks(std::size_t count, unsigned seed) {
    std::mt19937 random(seed);
    std::vector<Block> blocks;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t size = i % 100 == 0 ? random() % 40000 : random() % 300;
        auto* const bytes = static_cast<std::byte*>(Orb::allocateBlock(size));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % alignof(U64), 0U);
        blocks.push_back({bytes, size, static_cast<unsigned char>(random())});
        std::memset(bytes, blocks.back().mark, size);
    }
    return blocks;
}

void checkAndFree(std::vector<Block> blocks) {
    std::ranges::shuffle(blocks, std::mt19937(3));
    for (const Block& block : blocks) {
        const auto isMarked = [&](std::byte byte) { return byte == std::byte{block.mark}; };
        ASSERT_TRUE(std::all_of(block.bytes, block.bytes + block.size, isMarked));
        Orb::freeBlock(block.bytes);
    }
}

TEST(ArenaThreads, blocksAreFreedByAnyThreadInAnyOrder) {
    std::vector<std::thread> threads;
    std::vector<std::vector<Block>> made(4);
    for (unsigned i = 0; i < made.size(); ++i) {
        threads.emplace_back([&made, i] {
            const Orb::ArenaScope outer;
            auto blocks = newBlocks(5000, i);
            {
                const Orb::ArenaScope inner;
                const auto more = newBlocks(100, i + 10);
                blocks.insert(blocks.end(), more.begin(), more.end());
            }
            checkAndFree(newBlocks(1000, i + 20));
            made[i] = std::move(blocks);
        });
    }
    for (std::thread& thread : threads) thread.join();
    threads.clear();
    for (auto& blocks : made) threads.emplace_back(checkAndFree, std::move(blocks));
    for (std::thread& thread : threads) thread.join();
}

TEST(Arena, blocksOfNothingAreBlocks) {
    const Orb::ArenaScope arena;
    std::set<void*> blocks;
    for (int i = 0; i < 300000; ++i) blocks.insert(Orb::allocateBlock(0));  // beyond a chunk
    EXPECT_EQ(blocks.size(), 300000U);
    EXPECT_FALSE(blocks.contains(nullptr));
    for (void* const block : blocks) Orb::freeBlock(block);
}

TEST(Arena, blocksOutsideOfAScopeAreTheAllocators) {
    checkAndFree(newBlocks(1000, 1));
    Orb::freeBlock(nullptr);
}

// Under sanitizers blocks are theirs, so that they see misuse.
bool arenasAreUsed() {
    const Orb::ArenaScope arena;
    auto* const first = static_cast<std::byte*>(Orb::allocateBlock(sizeof(U64)));
    auto* const second = static_cast<std::byte*>(Orb::allocateBlock(sizeof(U64)));
    const bool follows = second == first + sizeof(U64);
    Orb::freeBlock(first);
    Orb::freeBlock(second);
    return follows;
}

TEST(Arena, memoryOfFreedBlocksIsUsedAgain) {
    std::set<std::uintptr_t> chunks;
    std::vector<void*> blocks(20000);  // 6 MB
    for (int round = 0; round < 20; ++round) {
        {
            const Orb::ArenaScope arena;
            for (void*& block : blocks) block = Orb::allocateBlock(300);
        }
        for (void* const block : blocks) {
            chunks.insert(reinterpret_cast<std::uintptr_t>(block) >> 21);
            Orb::freeBlock(block);
        }
    }
    if (arenasAreUsed()) {
        EXPECT_LT(chunks.size(), 10U);
    }
}

}  // namespace
