// The buffered output of one report.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstring>
#include <memory>
#include <string_view>

#include "textout/Exceptions.h"

namespace textout {

// A buffer of 1,048,576 bytes before a file descriptor, which it neither owns nor changes. Short
// writes are continued. A write that waits for a slow reader notices an interrupt within 10 ms.
// Only where the system refuses to open a terminal once more (one of another user) can a write that
// has begun to wait not be left: there a process that wants interrupts to end it has signals,
// handled without SA_RESTART, arrive again and again.
class ORB_EXPORT TextOutBuffer {
  public:
    static constexpr std::size_t capacity = 1'048'576;

    explicit TextOutBuffer(U32 fd);
    TextOutBuffer(const TextOutBuffer&) = delete;
    TextOutBuffer& operator=(const TextOutBuffer&) = delete;
    // The fallback without flush(): writes what is left, unless a write failed, and never throws.
    // After an interrupt it waits no longer than 20 ms for a reader. What any other exception cut
    // short, as memory that ran out, is dropped.
    ~TextOutBuffer();

    // Writes everything. Throws WriteError, after which all output is dropped, or SigIntException.
    void flush();

    // Appends; flushes a full buffer and throws as flush() does.
    void append(std::string_view text) {
        if (text.size() <= room()) [[likely]] {
            std::copy(text.begin(), text.end(), end());
            size_ += text.size();
        } else {
            appendLarge(text);
        }
    }
    void append(char character) { *reserve(1) = character, ++size_; }
    // A number in decimal.
    void append(U64 number) {
        char* const begin = reserve(20);
        size_ += static_cast<std::size_t>(std::to_chars(begin, begin + 20, number).ptr - begin);
    }
    void fill(std::size_t count, char character) {
        if (count <= closingRoom) [[likely]] {
            // Most are short: always as many bytes, which is no call. There is room behind.
            std::memset(reserve(count), character, closingRoom);
            size_ += count;
        } else {
            fillLarge(count, character);
        }
    }
    // Makes room for that many bytes, at most the capacity; the caller writes some of them to the
    // returned place and says with advance() how many.
    char* reserve(std::size_t count) {
        if (count > room()) [[unlikely]]
            flush();
        return end();
    }
    void advance(std::size_t count) { size_ += count; }
    // Appends what print(to) writes, at most maxSize bytes; it returns their end.
    template <class Print>
    void inPlace(std::size_t maxSize, const Print& print) {
        char* const begin = reserve(maxSize);
        size_ += static_cast<std::size_t>(print(begin) - begin);
    }

    // Says whether what was appended so far, if anything, ends with a line end.
    bool endsLine() const { return size_ == 0 ? flushedEndsLine_ : data_[size_ - 1] == '\n'; }

    // Appends one character without flushing or throwing, for what closes a scope: up to 64 in a
    // row fit, whatever was appended before.
    void close(char character) noexcept {
        if (size_ < capacity + closingRoom) *end() = character, ++size_;
    }

  private:
    static constexpr std::size_t closingRoom = 64;

    std::size_t room() const { return size_ < capacity ? capacity - size_ : 0; }
    char* end() { return data_.get() + size_; }
    void appendLarge(std::string_view text);
    void fillLarge(std::size_t count, char character);

    int fd_;
    int exceptionsAround_;  // in flight when the report began
    bool failed_ = false;
    bool flushedEndsLine_ = true;
    std::size_t size_ = 0;
    std::unique_ptr<char[]> data_;
};

}  // namespace textout
