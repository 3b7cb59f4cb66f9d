// A large JSON document read in pieces, in a window of a few hundred kilobytes of its text. What
// lies in the window is parsed in runs: as many members of an object, or elements of a list, as are
// complete. A member that does not fit is entered, and read in runs itself. So the memory of text
// and parser stays the same for a document of any size, and is in the processor's caches.
//
//     { "a": 1, "b": { .......... }, "c": [ 2, 3 ], "d": ...
//       \__________ a run _______________________/  the next one
//
// Nothing is refused here. Whatever is not as expected is NotInPieces: then the document is to be
// read as a whole, which knows what to say.
#pragma once

#include <simdjson.h>

#include <functional>
#include <string>
#include <string_view>

#include "orb/Types.h"
#include "state/OpenDocument.h"

namespace StateDirectory {

class SecondThread;

struct NotInPieces : StateError {
    NotInPieces() : StateError("cannot be read in pieces") {}
};

class Pieces {
  public:
    // How much of the text a run takes at most, in bytes, if not told otherwise.
    static constexpr std::size_t usualRunSize = std::size_t{128} << 10;

    // Opens a document. Throws UnreadableError when that fails. second: takes a part of the work,
    // and outlives the pieces.
    Pieces(const std::string& path, SecondThread& second, std::size_t runSize = usualRunSize);

    // When the file was written.
    Orb::Seconds written() const { return document_.written; }
    SecondThread& second() const { return second_; }

    // A walk over the object or list that the text goes on with.
    class Walk {
      public:
        // open: '{' or '['.
        Walk(Pieces& pieces, char open);
        Walk(const Walk&) = delete;
        Walk& operator=(const Walk&) = delete;

        // Goes on to the next run or large member; false at the end, behind which the text goes on.
        bool next();
        // Whether it is a run; otherwise the text goes on with the value of a large member.
        bool isRun() const { return !isLarge_; }
        // The text of a run with the brackets around it, valid until the next step.
        std::string_view run() const { return run_; }
        // Of a large member of an object.
        const std::string& key() const { return key_; }

      private:
        void enterLargeMember();
        void leaveLargeMember();

        Pieces& pieces_;
        const char open_;
        const char close_;
        bool isFirst_ = true;
        bool isOver_ = false;
        bool isLarge_ = false;
        std::string_view run_;
        std::string key_;
        std::size_t memberPlace_ = 0;
    };

    // The object or list that the text goes on with, whatever its size; valid until the next step.
    simdjson::dom::element value();
    // A run, parsed; valid until the next step.
    simdjson::dom::element parsed(std::string_view run);
    // Nothing but blanks is left.
    void end();

  private:
    // The text that is in the window and still to come, and where it begins in the file.
    std::string_view rest() const { return {text_.data() + begin_, end_ - begin_}; }
    std::size_t place() const { return read_ - (end_ - begin_); }
    // Makes sure that the window holds as many bytes, or all that are left.
    void fill(std::size_t size);
    // The next character that is no blank; '\0' at the end.
    char skipBlanks();
    void expect(char character);

    OpenDocument document_;
    SecondThread& second_;
    const std::size_t runSize_;
    std::size_t read_ = 0;  // bytes of the file
    // The window. A byte is kept before the text to come, for the bracket before a run.
    simdjson::padded_string text_;
    std::size_t begin_ = 1;
    std::size_t end_ = 1;
    simdjson::dom::parser parser_;
};

// Parses a run elsewhere, in the calling thread's own parser: calls read(element). The text is
// followed by simdjson::SIMDJSON_PADDING bytes that may be read.
void readRun(std::string_view text, const std::function<void(simdjson::dom::element)>& read);

}  // namespace StateDirectory
