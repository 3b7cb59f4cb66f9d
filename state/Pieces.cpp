#include "state/Pieces.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

#include "state/BracketScan.h"
#include "state/OpenDocument.h"
#include "state/SecondThread.h"

namespace StateDirectory {

namespace {

constexpr std::string_view blanks = " \t\n\r";
// Of a large member, in bytes; a longer one is left to those who read a document as a whole.
constexpr std::size_t longestKey = std::size_t{64} << 10;

// A text that a parser may read beyond.
simdjson::padded_string newText(std::size_t size) {
    simdjson::padded_string text(size);
    if (text.data() == nullptr) throw std::bad_alloc();
    return text;
}

// Says whether a JSON string is without escapes and made of printable ASCII.
bool standsForItself(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

simdjson::dom::element parse(simdjson::dom::parser& parser, std::string_view text) {
    simdjson::dom::element root;
    const auto error = parser.parse(text.data(), text.size(), false).get(root);
    if (error == simdjson::MEMALLOC) throw std::bad_alloc();
    if (error != simdjson::SUCCESS) throw NotInPieces();
    return root;
}

}  // namespace

Pieces::Pieces(const std::string& path, SecondThread& second, std::size_t runSize,
               const Wanted& wanted)
    : document_(openDocument(path)),
      second_(second),
      runSize_(runSize),
      wanted_(wanted),
      text_(newText(std::min(document_.size, 2 * runSize) + 1)) {}

void Pieces::fill(std::size_t size) {
    std::size_t there = end_ - begin_;
    size = std::min(size, document_.size - place());
    if (there >= size) return;
    if (size >= text_.size()) {
        simdjson::padded_string larger = newText(size + 1);
        std::memcpy(larger.data(), text_.data() + begin_ - 1, there + 1);
        text_ = std::move(larger);
    } else {
        std::memmove(text_.data(), text_.data() + begin_ - 1, there + 1);
    }
    begin_ = 1;
    while (there < size) {
        const std::size_t wanted = std::min(text_.size() - 1 - there, document_.size - read_);
        const ssize_t count = ::read(document_.file.number(), text_.data() + 1 + there, wanted);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw NotInPieces();
        there += static_cast<std::size_t>(count);
        read_ += static_cast<std::size_t>(count);
    }
    end_ = begin_ + there;
}

char Pieces::skipBlanks() {
    for (;;) {
        fill(1);
        const std::size_t place = rest().find_first_not_of(blanks);
        begin_ = place == std::string_view::npos ? end_ : begin_ + place;
        if (begin_ < end_) return text_.data()[begin_];
        if (this->place() == document_.size) return '\0';
    }
}

void Pieces::expect(char character) {
    if (skipBlanks() != character) throw NotInPieces();
    ++begin_;
}

void Pieces::end() {
    if (skipBlanks() != '\0' || place() != document_.size) throw NotInPieces();
}

simdjson::dom::element Pieces::value() {
    const char first = skipBlanks();
    if (first != '{' && first != '[') throw NotInPieces();
    for (std::size_t size = 2 * runSize_;; size *= 2) {
        fill(size);
        const Cuts cuts = findCuts(rest().substr(1));
        if (cuts.close != Cuts::none) {
            const std::string_view text = rest().substr(0, cuts.close + 2);
            begin_ += text.size();
            return parse(parser_, text);
        }
        if (rest().size() < size) throw NotInPieces();
    }
}

simdjson::dom::element Pieces::parsed(std::string_view run) { return parse(parser_, run); }

std::string_view Pieces::restInUtf8() {
    const std::string_view text = rest();
    std::size_t end = text.size();
    if (place() + end < document_.size) {
        // Without a character that goes on behind the window.
        const auto isOf = [&](unsigned lead) {
            return end > 0 && (static_cast<unsigned char>(text[end - 1]) & 0xc0U) == lead;
        };
        for (int i = 0; i < 3 && isOf(0x80); ++i) --end;
        if (isOf(0xc0)) --end;
    }
    const std::size_t checked = std::max(utf8To_, place()) - place();
    if (checked < end) {
        if (!simdjson::validate_utf8(text.data() + checked, end - checked)) throw NotInPieces();
        utf8To_ = place() + end;
    }
    return text.substr(0, end);
}

char Pieces::passOver() {
    const char open = skipBlanks();
    if (open != '{' && open != '[') throw NotInPieces();
    ++begin_;
    BracketScan scan;
    for (std::size_t taken = 0;;) {
        fill(2 * BracketScan::blockSize);
        const bool isLast = read_ == document_.size;
        std::string_view text = restInUtf8();
        if (!isLast)
            text = text.substr(0, text.size() / BracketScan::blockSize * BracketScan::blockSize);
        if (!scan.take(text)) {
            begin_ += scan.cuts().close - taken;
            expect(open == '{' ? '}' : ']');
            return open;
        }
        if (isLast) throw NotInPieces();
        begin_ += text.size();
        taken += text.size();
    }
}

std::optional<std::string_view> Pieces::plainText() {
    if (skipBlanks() != '{') throw NotInPieces();
    fill(runSize_);
    std::string_view text = restInUtf8().substr(0, runSize_);
    const Cuts cuts = findCuts(text.substr(1));
    if (cuts.close == Cuts::none) return std::nullopt;
    text = text.substr(0, cuts.close + 2);
    if (text.back() != '}') throw NotInPieces();
    if (text.find('\\') != std::string_view::npos) return std::nullopt;
    begin_ += text.size();
    return text;
}

void Pieces::goTo(std::size_t place) {
    if (::lseek(document_.file.number(), static_cast<off_t>(place), SEEK_SET) < 0) {
        throw NotInPieces();
    }
    read_ = place;
    begin_ = 1;
    end_ = 1;
}

simdjson::padded_string Pieces::membersAt(std::size_t place, std::size_t size) const {
    simdjson::padded_string text = newText(size + 2);
    text.data()[0] = '{';
    text.data()[size + 1] = '}';
    for (std::size_t done = 0; done < size;) {
        const ssize_t count = ::pread(document_.file.number(), text.data() + 1 + done, size - done,
                                      static_cast<off_t>(place + done));
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) throw NotInPieces();
        done += static_cast<std::size_t>(count);
    }
    return text;
}

Pieces::Walk::Walk(Pieces& pieces, char open)
    : pieces_(pieces), open_(open), close_(open == '{' ? '}' : ']'), isOneByOne_(false) {
    pieces_.expect(open);
}

Pieces::Walk::Walk(Pieces& pieces) : pieces_(pieces), open_('{'), close_('}'), isOneByOne_(true) {
    pieces_.expect(open_);
    isOver_ = pieces_.skipBlanks() == close_;
    if (isOver_) pieces_.expect(close_);
}

bool Pieces::Walk::next() {
    if (isLarge_) leaveLargeMember();
    if (isOver_) return false;
    if (!isOneByOne_) return nextRun();
    enterLargeMember();
    return true;
}

bool Pieces::Walk::nextRun() {
    pieces_.fill(pieces_.runSize_);
    const std::string_view text = pieces_.rest().substr(0, pieces_.runSize_);
    const Cuts cuts = findCuts(text);
    isOver_ = cuts.close != Cuts::none;
    const std::size_t size = isOver_ ? cuts.close : cuts.lastComma;
    if (size == Cuts::none) {
        enterLargeMember();
        return true;
    }
    if (isOver_ && text[size] != close_) throw NotInPieces();
    // What is before was read: the opening bracket, or a comma.
    char* const begin = pieces_.text_.data() + pieces_.begin_;
    begin[-1] = open_;
    begin[size] = close_;
    run_ = {begin - 1, size + 2};
    pieces_.begin_ += size + 1;
    if (run_.find_first_not_of(blanks, 1) != size + 1) {
        isFirst_ = false;
        return true;
    }
    // Without a member: an empty container, but nothing else.
    if (!isFirst_ || !isOver_) throw NotInPieces();
    return false;
}

void Pieces::Walk::enterLargeMember() {
    isLarge_ = true;
    isFirst_ = false;
    if (open_ == '{') {
        if (pieces_.skipBlanks() != '"') throw NotInPieces();
        begin_ = pieces_.place();
        pieces_.fill(longestKey);
        std::string_view text = pieces_.rest();
        std::size_t quote = 1;
        while ((quote = text.find_first_of("\"\\", quote)) != std::string_view::npos &&
               text[quote] == '\\') {
            quote += 2;
        }
        if (quote == std::string_view::npos) throw NotInPieces();
        text = text.substr(0, quote + 1);
        key_ = text.substr(1, quote - 1);
        if (!standsForItself(key_)) {
            std::string_view key;
            if (parse(pieces_.parser_, text).get(key) != simdjson::SUCCESS) throw NotInPieces();
            key_ = key;
        }
        pieces_.begin_ += text.size();
        pieces_.expect(':');
    }
    pieces_.skipBlanks();
    memberPlace_ = pieces_.place();
}

void Pieces::Walk::leaveLargeMember() {
    isLarge_ = false;
    if (pieces_.place() == memberPlace_) throw NotInPieces();
    isOver_ = pieces_.skipBlanks() == close_;
    pieces_.expect(isOver_ ? close_ : ',');
}

void OfferedRun::offer(SecondThread& second, std::function<void(simdjson::dom::element)> read) {
    second.offer([this, read = std::move(read)] {
        thread_local simdjson::dom::parser parser;
        try {
            read(parse(parser, text));
        } catch (...) {
            fault = std::current_exception();
        }
        text = simdjson::padded_string();
    });
}

}  // namespace StateDirectory
