// A JSON document that is being written. Objects and lists are filled by a function, so that each
// one is closed; a member whose value is never begun does not appear:
//
//     writer.object([&] {
//         writer.member("name");
//         writer.text(name);
//         writer.member("notes");  // nothing follows: left out
//     });
#pragma once

#include <charconv>
#include <string>
#include <string_view>

#include "orb/Types.h"
#include "state/StateError.h"

namespace StateDirectory {

class Writer {
  public:
    // linesToDepth: objects and lists less deep than this have a line for each member or element.
    explicit Writer(U32 linesToDepth = 0) : linesToDepth_(linesToDepth) {}

    // What is begun next is the value of this member. The key outlives that. mayBeAbsent: it need
    // not be begun when it says what an absent one means.
    void member(std::string_view key, bool mayBeAbsent = true) {
        key_ = key;
        mayBeAbsent_ = mayBeAbsent;
    }
    // A member whose key is a name from outside. Throws StateError when the reader would refuse it.
    void namedMember(std::string_view name);
    bool mayBeAbsent() const { return key_.data() != nullptr && mayBeAbsent_; }

    template <class Fill>
    void object(Fill fill) {
        open('{');
        fill();
        close('}');
    }
    template <class Fill>
    void list(Fill fill) {
        open('[');
        fill();
        close(']');
    }
    // A name from outside, likewise.
    void name(std::string_view name);
    // Throws StateError when it is no UTF-8.
    void text(std::string_view text);
    void boolean(bool value) {
        begin();
        text_ += value ? "true" : "false";
    }
    template <class Number>
    void number(Number number) {
        begin();
        char buffer[32];
        const auto result = std::to_chars(std::begin(buffer), std::end(buffer), number);
        text_.append(std::begin(buffer), result.ptr);
    }

    // The document, with a line end.
    std::string take() { return std::move(text_ += '\n'); }

  private:
    void begin();
    void open(char bracket) {
        begin();
        text_ += bracket;
        ++depth_;
    }
    void close(char bracket);
    void quoted(std::string_view text);
    void newLine() { text_.append(1, '\n').append(std::size_t{depth_} * 2, ' '); }

    std::string text_;
    std::string_view key_;  // without data: none
    bool mayBeAbsent_ = false;
    U32 linesToDepth_;
    U32 depth_ = 0;
};

}  // namespace StateDirectory
