#include "orb/Nearest.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace Orb {

namespace {

constexpr std::size_t comparedBytes = 256;

// Row by row of the table of distances between the beginnings of both words; one row is kept.
std::size_t distance(std::string_view a, std::string_view b, std::vector<std::size_t>& row) {
    row.resize(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates) {
    std::vector<std::size_t> row;
    std::string_view best;
    std::size_t bestDistance = ~std::size_t{0};
    for (const std::string_view candidate : candidates) {
        const std::size_t found =
            distance(word.substr(0, comparedBytes), candidate.substr(0, comparedBytes), row);
        if (found < bestDistance) {
            best = candidate;
            bestDistance = found;
        }
    }
    return best;
}

}  // namespace Orb
