// Opening never waits (a FIFO without a writer would), and nothing but a regular file is read. Text
// and parser are freed before the values are walked: only the parsed form stays. A message about a
// value reads the text once more to tell its line.
#include "state/Document.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "base/Escape.h"
#include "base/File.h"
#include "state/SyntaxFault.h"

namespace StateDirectory {

namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& wrong,
                         const std::string& expected) {
    throw StateError(name + ": " + wrong + ", expected " + expected);
}

[[noreturn]] void refuseUnreadable(const std::string& name, const std::string& wrong,
                                   const std::string& expected = "a readable regular file") {
    throw UnreadableError(name + ": " + wrong + ", expected " + expected);
}

[[noreturn]] void refuseFailed(const std::string& name, const char* operation) {
    refuseUnreadable(name, std::string(operation) + ": " + std::strerror(errno));
}

// How many of the bytes that were asked for are there.
std::size_t readAll(const Base::FileDescriptor& file, const std::string& name, char* data,
                    std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(file.number(), data + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) refuseFailed(name, "cannot be read");
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

// written: gets the time of the file; may be null.
simdjson::padded_string readFile(const std::string& path, const std::string& name,
                                 Orb::Seconds* written) {
    const Base::FileDescriptor file(
        ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    if (!file.isOpen()) refuseFailed(name, "cannot be opened");
    struct stat status {};
    if (::fstat(file.number(), &status) != 0) refuseFailed(name, "cannot be read");
    if (!S_ISREG(status.st_mode)) refuseUnreadable(name, "is not a regular file");
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > Document::maxSize) {
        refuseUnreadable(name, "has " + std::to_string(size) + " bytes",
                         "at most " + std::to_string(Document::maxSize));
    }
    simdjson::padded_string text(size);
    if (size > 0 && text.data() == nullptr) throw std::bad_alloc();
    if (readAll(file, name, text.data(), size) != size) {
        refuseUnreadable(name, "became shorter while it was being read",
                         "a document that nobody is changing");
    }
    if (written != nullptr) {
        *written = Orb::Seconds(static_cast<double>(status.st_mtim.tv_sec) +
                                static_cast<double>(status.st_mtim.tv_nsec) * 1e-9);
    }
    return text;
}

simdjson::dom::element parse(const std::string& path, const std::string& name,
                             simdjson::dom::document& parsed, Orb::Seconds& written) {
    const simdjson::padded_string text = readFile(path, name, &written);
    simdjson::dom::parser parser;
    simdjson::dom::element root;
    const simdjson::error_code error = parser.parse_into_document(parsed, text).get(root);
    if (error == simdjson::SUCCESS) return root;
    if (error == simdjson::MEMALLOC) throw std::bad_alloc();
    if (const auto fault = findSyntaxFault(text)) {
        refuse(name + ": line " + std::to_string(fault->place.line) + ", column " +
                   std::to_string(fault->place.column),
               fault->wrong, fault->expected);
    }
    refuse(name, simdjson::error_message(error), "a JSON document");
}

namespace OnDemand = simdjson::ondemand;

// Goes on to the value of an object's first member with the key.
bool enterMember(OnDemand::value& value, std::string_view wanted) {
    OnDemand::object object;
    if (value.get_object().get(object) != simdjson::SUCCESS) return false;
    for (auto member : object) {
        std::string_view key;
        if (member.unescaped_key().get(key) != simdjson::SUCCESS) return false;
        if (key == wanted) return member.value().get(value) == simdjson::SUCCESS;
    }
    return false;
}

// Where the key of an object's member begins, or the second one that means the same; keys may be
// written in two ways, then that is the first one.
std::optional<std::size_t> keyOffsetIn(OnDemand::value& value, std::string_view wanted, Spot spot,
                                       const simdjson::padded_string& text) {
    OnDemand::object object;
    if (value.get_object().get(object) != simdjson::SUCCESS) return std::nullopt;
    std::optional<std::size_t> offset;
    for (auto member : object) {
        OnDemand::raw_json_string raw;
        std::string_view key;
        if (member.key().get(raw) != simdjson::SUCCESS) return std::nullopt;
        if (member.unescaped_key().get(key) != simdjson::SUCCESS) return std::nullopt;
        if (key != wanted) continue;
        const bool isFirst = !offset;
        offset = static_cast<std::size_t>(raw.raw() - 1 - text.data());
        if (spot == Spot::key || !isFirst) break;
    }
    return offset;
}

// Where the value or the key at the end of a way begins.
std::optional<std::size_t> offsetOf(const simdjson::padded_string& text, std::span<const Step> way,
                                    Spot spot) {
    OnDemand::parser parser;
    OnDemand::document document;
    OnDemand::value value;
    if (way.empty()) return std::string_view(text).find_first_not_of(" \t\n\r");
    if (parser.iterate(text).get(document) != simdjson::SUCCESS) return std::nullopt;
    if (document.get_value().get(value) != simdjson::SUCCESS) return std::nullopt;
    for (const Step& step : way) {
        if (step.isElement()) {
            if (value.get_array().at(step.index).get(value) != simdjson::SUCCESS) return {};
        } else if (&step == &way.back() && spot != Spot::value) {
            return keyOffsetIn(value, step.key, spot, text);
        } else if (!enterMember(value, step.key)) {
            return std::nullopt;
        }
    }
    return static_cast<std::size_t>(value.raw_json_token().data() - text.data());
}

}  // namespace

Document::Document(const std::string& path)
    : path_(path),
      name_(Base::escaped(path)),
      root_(*this, parse(path, name_, parsed_, written_)) {}

std::string Document::placeOf(std::span<const Step> way, Spot spot) const {
    try {
        const simdjson::padded_string text = readFile(path_, name_, nullptr);
        const auto offset = offsetOf(text, way, spot);
        if (!offset || *offset >= text.size()) return "";
        const TextPlace place = placeAt(text, *offset);
        return ", line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
    } catch (const StateError&) {
        return "";
    }
}

}  // namespace StateDirectory
