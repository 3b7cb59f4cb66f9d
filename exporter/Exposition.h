// The text of one scrape, made piece by piece: family by family, and in each switch by switch, as
// both formats want it. Nothing is allocated per sample.
#pragma once

#include <string>
#include <vector>

#include "exporter/Switch.h"

namespace Exporter {

// Prometheus text 0.0.4, and OpenMetrics 1.0.
enum class Format { text, openMetrics };

class Exposition {
  public:
    Exposition(std::vector<Reading> readings, Format format);

    // Appends pieces until there is so much more, or the end is reached; false: nothing was left.
    bool next(std::string& out, std::size_t atLeast);

  private:
    std::vector<Reading> readings_;
    Format format_;
    // Where the next piece begins.
    std::size_t family_ = 0;
    std::size_t switch_ = 0;
    std::size_t item_ = 0;
    bool isEnded_ = false;
};

}  // namespace Exporter
