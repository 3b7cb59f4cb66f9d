#include "state/BracketScan.h"

#include <bit>
#include <cstring>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace StateDirectory {

namespace {

using BlockBits = BracketScan::BlockBits;

// The brackets differ from the braces in this bit.
constexpr char braceBit = 0x20;

#ifdef __SSE2__
U64 equal(const __m128i (&bytes)[4], char character) {
    const __m128i wanted = _mm_set1_epi8(character);
    U64 bits = 0;
    for (int i = 3; i >= 0; --i) {
        const int mask = _mm_movemask_epi8(_mm_cmpeq_epi8(bytes[i], wanted));
        bits = bits << 16 | static_cast<U64>(mask);
    }
    return bits;
}

BlockBits marksOf(const char* block) {
    __m128i bytes[4];
    __m128i braces[4];
    for (int i = 0; i < 4; ++i) {
        bytes[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block) + i);
        braces[i] = _mm_or_si128(bytes[i], _mm_set1_epi8(braceBit));
    }
    return {equal(bytes, '"'), equal(bytes, '\\'), equal(bytes, ','), equal(braces, '{'),
            equal(braces, '}')};
}
#else
BlockBits marksOf(const char* block) {
    BlockBits marks;
    for (std::size_t i = 0; i < BracketScan::blockSize; ++i) {
        const auto bit = [&](bool is) { return U64{is} << i; };
        const char brace = static_cast<char>(block[i] | braceBit);
        marks.quote |= bit(block[i] == '"');
        marks.backslash |= bit(block[i] == '\\');
        marks.comma |= bit(block[i] == ',');
        marks.open |= bit(brace == '{');
        marks.close |= bit(brace == '}');
    }
    return marks;
}
#endif

// The characters behind an odd number of backslashes. carried: whether the first one is, then
// whether the first of the next block is.
U64 escapedBy(U64 backslash, bool& carried) {
    U64 escaped = carried ? 1 : 0;
    carried = false;
    for (; backslash != 0; backslash &= backslash - 1) {
        const int place = std::countr_zero(backslash);
        if ((escaped >> place & 1) != 0) continue;
        if (place == 63) carried = true;
        escaped |= place == 63 ? 0 : U64{2} << place;
    }
    return escaped;
}

// How many bits are set; std::popcount is a function call where the oldest processor counts.
int count(U64 bits) {
    bits -= bits >> 1 & 0x5555555555555555U;
    bits = (bits & 0x3333333333333333U) + (bits >> 2 & 0x3333333333333333U);
    bits = (bits + (bits >> 4)) & 0x0f0f0f0f0f0f0f0fU;
    return static_cast<int>(bits * 0x0101010101010101U >> 56);
}

// Each bit: whether the number of bits up to it is odd.
U64 oddUpTo(U64 bits) {
    for (int by = 1; by < 64; by *= 2) bits ^= bits << by;
    return bits;
}

}  // namespace

bool BracketScan::take(std::string_view text) {
    std::size_t place = 0;
    for (; place + blockSize <= text.size(); place += blockSize) {
        if (!takeBlock(text.data() + place, taken_ + place)) return false;
    }
    if (place < text.size()) {
        char last[blockSize] = {};
        std::memcpy(last, text.data() + place, text.size() - place);
        if (!takeBlock(last, taken_ + place)) return false;
    }
    taken_ += text.size();
    return true;
}

bool BracketScan::takeBlock(const char* text, std::size_t place) {
    BlockBits marks = marksOf(text);
    if (marks.backslash != 0 || isEscaping_) {
        marks.quote &= ~escapedBy(marks.backslash, isEscaping_);
    }
    const U64 inString = oddUpTo(marks.quote) ^ inString_;
    inString_ = static_cast<U64>(static_cast<std::int64_t>(inString) >> 63);
    marks.comma &= ~inString;
    marks.open &= ~inString;
    marks.close &= ~inString;
    const int closed = count(marks.close);
    if (depth_ > closed) {  // stays inside of a member
        depth_ += count(marks.open) - closed;
        return true;
    }
    return takeBrackets(marks, place);
}

bool BracketScan::takeBrackets(const BlockBits& marks, std::size_t place) {
    U64 bits = marks.comma | marks.open | marks.close;
    for (; bits != 0; bits &= bits - 1) {
        const U64 bit = bits & -bits;
        if ((marks.open & bit) != 0) {
            ++depth_;
        } else if ((marks.close & bit) != 0) {
            if (depth_ == 0) {
                cuts_.close = place + static_cast<std::size_t>(std::countr_zero(bit));
                return false;
            }
            --depth_;
        } else if (depth_ == 0) {
            cuts_.lastComma = place + static_cast<std::size_t>(std::countr_zero(bit));
        }
    }
    return true;
}

Cuts findCuts(std::string_view text) {
    BracketScan scan;
    scan.take(text);
    return scan.cuts();
}

}  // namespace StateDirectory
