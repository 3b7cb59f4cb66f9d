// A large JSON document read in pieces, in a window of a few hundred kilobytes of its text. What
// lies in the window is parsed in runs: as many members of an object, or elements of a list, as are
// complete. A member that does not fit is entered, and read in runs itself. So the memory of text
// and parser stays the same for a document of any size, and is in the processor's caches.
//
//     { "a": 1, "b": { .......... }, "c": [ 2, 3 ], "d": ...
//       \__________ a run _______________________/  the next one
//
// A member that nobody wants is passed over: of its text only the brackets, the ends of its strings
// and the encoding (UTF-8) are looked at.
//
// Nothing is refused here. Whatever is not as expected is NotInPieces: then the document is to be
// read as a whole, which knows what to say.
#pragma once

#include <simdjson.h>

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orb/Types.h"
#include "state/OpenDocument.h"
#include "state/PassedOver.h"
#include "state/Wanted.h"

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
    // and outlives the pieces, as what is wanted does.
    Pieces(const std::string& path, SecondThread& second, std::size_t runSize,
           const Wanted& wanted);

    // When the file was written.
    Orb::Seconds written() const { return document_.written; }
    SecondThread& second() const { return second_; }
    std::size_t runSize() const { return runSize_; }
    const Wanted& wanted() const { return wanted_; }

    // A walk over the object or list that the text goes on with.
    class Walk {
      public:
        // open: '{' or '['.
        Walk(Pieces& pieces, char open);
        // Over the members of an object one by one: each is large.
        explicit Walk(Pieces& pieces);
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
        // Of a large member: where it begins in the document.
        std::size_t begin() const { return begin_; }

      private:
        bool nextRun();
        void enterLargeMember();
        void leaveLargeMember();

        Pieces& pieces_;
        const char open_;
        const char close_;
        const bool isOneByOne_;
        bool isFirst_ = true;
        bool isOver_ = false;
        bool isLarge_ = false;
        std::string_view run_;
        std::string key_;
        std::size_t begin_ = 0;
        std::size_t memberPlace_ = 0;
    };

    // The object or list that the text goes on with, whatever its size; valid until the next step.
    simdjson::dom::element value();
    // A run, parsed; valid until the next step.
    simdjson::dom::element parsed(std::string_view run);
    // Passes over the object or list that the text goes on with; returns the bracket it opens with.
    char passOver();
    // The same of an object that fits into a run and has no escape in it: its text, valid until the
    // next step. Nothing when it is not so: then the text goes on with it as before.
    std::optional<std::string_view> plainText();
    // Nothing but blanks is left.
    void end();

    // Where in the document the text goes on.
    std::size_t place() const { return read_ - (end_ - begin_); }
    // Has the text go on elsewhere in the document.
    void goTo(std::size_t place);
    // The text of members of an object that stand at a place, as an object.
    simdjson::padded_string membersAt(std::size_t place, std::size_t size) const;
    // What may be read when the names are known.
    std::vector<PassedOver>& passedOver() { return passedOver_; }

  private:
    // The text that is in the window and still to come.
    std::string_view rest() const { return {text_.data() + begin_, end_ - begin_}; }
    // The same up to the last whole character, which is UTF-8.
    std::string_view restInUtf8();
    // Makes sure that the window holds as many bytes, or all that are left.
    void fill(std::size_t size);
    // The next character that is no blank; '\0' at the end.
    char skipBlanks();
    void expect(char character);

    OpenDocument document_;
    SecondThread& second_;
    const std::size_t runSize_;
    const Wanted& wanted_;
    std::vector<PassedOver> passedOver_;
    std::size_t read_ = 0;    // bytes of the file
    std::size_t utf8To_ = 0;  // the place up to which text that was passed over is UTF-8
    // The window. A byte is kept before the text to come, for the bracket before a run.
    simdjson::padded_string text_;
    std::size_t begin_ = 1;
    std::size_t end_ = 1;
    simdjson::dom::parser parser_;
};

// A run that is read elsewhere, by one thread or the other.
struct OfferedRun {
    simdjson::padded_string text;
    std::exception_ptr fault;  // why it could not be read

    // Offers it to the second thread: what it is read with may be called on both at once. The run
    // stays where it is until the thread has finished.
    void offer(SecondThread& second, std::function<void(simdjson::dom::element)> read);
};

}  // namespace StateDirectory
