#include "state/KeySearch.h"

#include <bit>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace StateDirectory {

namespace {

constexpr std::size_t stepSize = 16;

// The quotes that one of the letters follows, a bit each. REQUIRES: 17 bytes.
#ifdef __SSE2__
unsigned quotesBefore(const char* text, const char (&letters)[2]) {
    const auto bytesAt = [&](std::size_t place) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + place));
    };
    const __m128i next = bytesAt(1);
    const __m128i isLetter = _mm_or_si128(_mm_cmpeq_epi8(next, _mm_set1_epi8(letters[0])),
                                          _mm_cmpeq_epi8(next, _mm_set1_epi8(letters[1])));
    const __m128i isQuote = _mm_cmpeq_epi8(bytesAt(0), _mm_set1_epi8('"'));
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_and_si128(isQuote, isLetter)));
}
#else
unsigned quotesBefore(const char* text, const char (&letters)[2]) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < stepSize; ++i) {
        const bool isOne =
            text[i] == '"' && (text[i + 1] == letters[0] || text[i + 1] == letters[1]);
        bits |= unsigned{isOne} << i;
    }
    return bits;
}
#endif

// Whether the text goes on with the name and what makes it a key.
bool beginsWithKey(std::string_view text, std::string_view name) {
    if (!text.starts_with(name)) return false;
    text.remove_prefix(name.size());
    if (!text.starts_with('"')) return false;
    const std::size_t next = text.find_first_not_of(" \t\n\r", 1);
    return next != std::string_view::npos && text[next] == ':';
}

}  // namespace

U64 keysIn(std::string_view text, std::span<const std::string_view> names,
           const char (&letters)[2]) {
    U64 found = 0;
    const auto tryAt = [&](std::size_t place) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (beginsWithKey(text.substr(place), names[i])) found |= U64{1} << i;
        }
    };
    std::size_t place = 0;
    for (; place + stepSize < text.size(); place += stepSize) {
        unsigned quotes = quotesBefore(text.data() + place, letters);
        for (; quotes != 0; quotes &= quotes - 1) {
            tryAt(place + static_cast<std::size_t>(std::countr_zero(quotes)) + 1);
        }
    }
    for (; place < text.size(); ++place) {
        if (text[place] == '"') tryAt(place + 1);
    }
    return found;
}

}  // namespace StateDirectory
