// A text that many records hold, as the name of a rule, in one word: a counted pointer to a text
// that never changes. It can be used wherever a string is read. Whoever makes many records copies
// a name instead of its text, so that the text stands in memory once; two names are the same when
// their texts are, and the pointers are compared first.
#pragma once

#include <atomic>
#include <compare>
#include <concepts>
#include <ostream>
#include <string_view>
#include <utility>

#include "orb/Arena.h"
#include "orb/Types.h"

namespace Orb {

class Name;

template <class T>
concept TextOfAName = std::convertible_to<const T&, std::string_view> && !std::same_as<T, Name>;

class ORB_EXPORT Name {
  public:
    Name() = default;  // empty
    template <TextOfAName Text>
    Name(const Text& text) : body_(newBody(text)) {}
    Name(const Name& other) : body_(other.body_) {
        if (body_ != nullptr) body_->references.fetch_add(1, std::memory_order_relaxed);
    }
    Name(Name&& other) noexcept : body_(std::exchange(other.body_, nullptr)) {}
    Name& operator=(Name other) noexcept {
        std::swap(body_, other.body_);
        return *this;
    }
    ~Name() {
        if (body_ != nullptr && body_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
            free(body_);
        }
    }

    const String& text() const { return body_ != nullptr ? body_->text : emptyText(); }
    operator const String&() const { return text(); }
    operator std::string_view() const { return text(); }
    bool empty() const { return body_ == nullptr; }
    std::size_t size() const { return text().size(); }
    // The hash of the text, as std::hash<std::string_view> has it.
    U64 textHash() const { return body_ != nullptr ? body_->hash : hashOfNothing(); }

    friend bool operator==(const Name& a, const Name& b) {
        return a.body_ == b.body_ || (a.body_ != nullptr && b.body_ != nullptr &&
                                      a.body_->hash == b.body_->hash && a.text() == b.text());
    }
    template <TextOfAName Text>
    friend bool operator==(const Name& a, const Text& b) {
        return std::string_view(a) == std::string_view(b);
    }
    friend auto operator<=>(const Name& a, const Name& b) {
        return a.body_ == b.body_ ? std::strong_ordering::equal : a.text() <=> b.text();
    }
    template <TextOfAName Text>
    friend auto operator<=>(const Name& a, const Text& b) {
        return std::string_view(a) <=> std::string_view(b);
    }
    friend std::ostream& operator<<(std::ostream& stream, const Name& name) {
        return stream << name.text();
    }

  private:
    struct Body {
        std::atomic<U32> references;
        U64 hash;
        String text;
    };
    // Null for an empty text.
    static Body* newBody(std::string_view text);
    static void free(Body* body) noexcept;
    static const String& emptyText();
    static U64 hashOfNothing();

    Body* body_ = nullptr;
};

}  // namespace Orb
