// The body of one response: an exposition, compressed when asked, in pieces as they are sent.
#pragma once

#include <zlib.h>

#include <chrono>
#include <span>

#include "exporter/Exposition.h"

namespace Exporter {

class Body {
  public:
    using Clock = std::chrono::steady_clock;

    // Throws std::bad_alloc.
    Body(Exposition exposition, bool isCompressed, Clock::time_point deadline);
    ~Body();
    Body(const Body&) = delete;
    Body& operator=(const Body&) = delete;

    // Fills the memory with what comes next; 0: that was all.
    std::size_t read(std::span<char> memory);
    // Says whether the client took too long.
    bool isLate() const { return Clock::now() > deadline_; }

  private:
    bool refill();
    std::size_t compress(std::span<char> memory);

    Exposition exposition_;
    std::string piece_;
    std::size_t taken_ = 0;  // of the piece
    bool isCompressed_;
    bool isEnded_ = false;
    z_stream stream_{};
    Clock::time_point deadline_;
};

}  // namespace Exporter
