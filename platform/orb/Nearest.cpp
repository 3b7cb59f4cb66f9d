#include "orb/Nearest.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace Orb {

namespace {

constexpr std::size_t comparedBytes = 256;

// Three rows of the table of distances between the beginnings of both words; reused.
struct Rows {
    std::vector<std::size_t> row;
    std::vector<std::size_t> above;
    std::vector<std::size_t> aboveThat;
};

std::size_t distance(std::string_view a, std::string_view b, Rows& rows) {
    auto& [row, above, aboveThat] = rows;
    for (auto* const each : {&row, &above, &aboveThat}) each->resize(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        aboveThat.swap(above);
        above.swap(row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const bool isEqual = a[i - 1] == b[j - 1];
            row[j] = std::min({above[j - 1] + (isEqual ? 0 : 1), row[j - 1] + 1, above[j] + 1});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                row[j] = std::min(row[j], aboveThat[j - 2] + 1);
            }
        }
    }
    return row.back();
}

}  // namespace

std::string_view nearest(std::string_view word, std::span<const std::string_view> candidates) {
    Rows rows;
    std::string_view best;
    std::size_t bestDistance = ~std::size_t{0};
    word = word.substr(0, comparedBytes);
    for (const std::string_view whole : candidates) {
        const std::string_view candidate = whole.substr(0, comparedBytes);
        const std::size_t found = distance(word, candidate, rows);
        const bool isNear = 3 * found <= std::max(word.size(), candidate.size()) + 1;
        if (isNear && found < bestDistance) {
            best = whole;
            bestDistance = found;
        }
    }
    return best;
}

}  // namespace Orb
