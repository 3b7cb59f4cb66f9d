// Text and parser are freed before the values are walked: only the parsed form stays. A message
// about a value reads the text once more to tell its line.
#include "state/Document.h"

#include <unistd.h>

#include <cerrno>
#include <new>

#include "base/Escape.h"
#include "state/OpenDocument.h"
#include "state/SyntaxFault.h"

namespace StateDirectory {

namespace {

[[noreturn]] void refuse(const std::string& name, const std::string& wrong,
                         const std::string& expected) {
    throw StateError(name + ": " + wrong + ", expected " + expected);
}

// How many of the bytes that were asked for are there.
std::size_t readAll(const Base::FileDescriptor& file, const std::string& path, char* data,
                    std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::read(file.number(), data + done, size - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) refuseFailed(path, "cannot be read");
        if (count == 0) break;
        done += static_cast<std::size_t>(count);
    }
    return done;
}

simdjson::padded_string readFile(const std::string& path, const OpenDocument& document) {
    simdjson::padded_string text(document.size);
    if (document.size > 0 && text.data() == nullptr) throw std::bad_alloc();
    if (readAll(document.file, path, text.data(), document.size) != document.size) {
        refuseUnreadable(path, "became shorter while it was being read",
                         "a document that nobody is changing");
    }
    return text;
}

simdjson::dom::element parse(const std::string& path, const std::string& name,
                             simdjson::dom::document& parsed, Orb::Seconds& written) {
    const OpenDocument document = openDocument(path);
    written = document.written;
    const simdjson::padded_string text = readFile(path, document);
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
        const simdjson::padded_string text = readFile(path_, openDocument(path_));
        const auto offset = offsetOf(text, way, spot);
        if (!offset || *offset >= text.size()) return "";
        const TextPlace place = placeAt(text, *offset);
        return ", line " + std::to_string(place.line) + ", column " + std::to_string(place.column);
    } catch (const StateError&) {
        return "";
    }
}

}  // namespace StateDirectory
