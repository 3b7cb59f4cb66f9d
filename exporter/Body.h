// The body of one response: an exposition, compressed when asked, in pieces as they are sent.
#pragma once

#include <zlib.h>

#include <span>

#include "exporter/Exposition.h"

namespace Exporter {

class Body {
  public:
    // Throws std::bad_alloc.
    Body(Exposition exposition, bool isCompressed);
    ~Body();
    Body(const Body&) = delete;
    Body& operator=(const Body&) = delete;

    // Fills the memory with what comes next; 0: that was all.
    std::size_t read(std::span<char> memory);

  private:
    bool refill();
    std::size_t compress(std::span<char> memory);

    Exposition exposition_;
    std::string piece_;
    std::size_t taken_ = 0;  // of the piece
    bool isCompressed_;
    bool isEnded_ = false;
    z_stream stream_{};
};

}  // namespace Exporter
