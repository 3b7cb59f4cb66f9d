#include "exporter/Body.h"

#include <cstring>
#include <new>

namespace Exporter {

namespace {

constexpr std::size_t pieceSize = 32768;
constexpr int level = 1;  // labels repeat, and more effort makes them little smaller
constexpr int gzipWindow = 15 + 16;

}  // namespace

Body::Body(Exposition exposition, bool isCompressed)
    : exposition_(std::move(exposition)), isCompressed_(isCompressed) {
    if (isCompressed_ &&
        ::deflateInit2(&stream_, level, Z_DEFLATED, gzipWindow, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::bad_alloc();
    }
}

Body::~Body() {
    if (isCompressed_) ::deflateEnd(&stream_);
}

bool Body::refill() {
    piece_.clear();
    taken_ = 0;
    return exposition_.next(piece_, pieceSize);
}

std::size_t Body::read(std::span<char> memory) {
    if (isCompressed_) return compress(memory);
    std::size_t count = 0;
    while (count < memory.size()) {
        if (taken_ == piece_.size() && !refill()) break;
        const std::size_t some = std::min(memory.size() - count, piece_.size() - taken_);
        std::memcpy(memory.data() + count, piece_.data() + taken_, some);
        count += some;
        taken_ += some;
    }
    return count;
}

std::size_t Body::compress(std::span<char> memory) {
    stream_.next_out = reinterpret_cast<Bytef*>(memory.data());
    stream_.avail_out = static_cast<uInt>(memory.size());
    while (stream_.avail_out > 0 && !isEnded_) {
        const bool hasMore = stream_.avail_in > 0 || refill();
        if (stream_.avail_in == 0) {
            stream_.next_in = reinterpret_cast<Bytef*>(piece_.data());
            stream_.avail_in = static_cast<uInt>(piece_.size());
        }
        isEnded_ = ::deflate(&stream_, hasMore ? Z_NO_FLUSH : Z_FINISH) == Z_STREAM_END;
    }
    return memory.size() - stream_.avail_out;
}

}  // namespace Exporter
