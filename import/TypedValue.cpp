#include "import/TypedValue.h"

#include <algorithm>
#include <new>

#include "state/StateError.h"

namespace Import {

namespace {

using Element = simdjson::dom::element;
using StateDirectory::StateError;

enum class Coding { plain, json, bytes, list };

struct ValueType {
    std::string_view name;
    Coding coding;
};

constexpr ValueType valueTypes[] = {
    {"jsonIetfVal", Coding::json},  {"json_ietf_val", Coding::json}, {"jsonVal", Coding::json},
    {"json_val", Coding::json},     {"bytesVal", Coding::bytes},     {"bytes_val", Coding::bytes},
    {"protoBytes", Coding::bytes},  {"proto_bytes", Coding::bytes},  {"leaflistVal", Coding::list},
    {"leaflist_val", Coding::list}, {"stringVal", Coding::plain},    {"string_val", Coding::plain},
    {"asciiVal", Coding::plain},    {"ascii_val", Coding::plain},    {"intVal", Coding::plain},
    {"int_val", Coding::plain},     {"uintVal", Coding::plain},      {"uint_val", Coding::plain},
    {"boolVal", Coding::plain},     {"bool_val", Coding::plain},
};

// The type of an object of one member whose name is that of a type.
const ValueType* typeOf(Element value) {
    simdjson::dom::object object;
    if (value.get(object) != simdjson::SUCCESS || object.size() != 1) return nullptr;
    const auto* const type = std::ranges::find(valueTypes, (*object.begin()).key, &ValueType::name);
    return type == std::end(valueTypes) ? nullptr : type;
}

Element onlyMember(Element value) { return (*simdjson::dom::object(value).begin()).value; }

// The elements of a leaf-list, without their types: "[1,2]".
std::string listText(Element list) {
    simdjson::dom::array elements;
    const bool isBare = list.get(elements) == simdjson::SUCCESS;
    if (!isBare && list.at_key("element").get(elements) != simdjson::SUCCESS) {
        throw StateError("is no list of values, expected \"element\" with a list");
    }
    std::string text;
    for (const Element element : elements) {
        text += text.empty() ? "" : ",";
        text += simdjson::minify(typeOf(element) == nullptr ? element : onlyMember(element));
    }
    return "[" + text + "]";
}

std::optional<unsigned> sextetOf(char character) {
    constexpr std::string_view letters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    if (const std::size_t place = letters.find(character); place != letters.npos) {
        return static_cast<unsigned>(place);
    }
    if (character == '+' || character == '-') return 62;
    if (character == '/' || character == '_') return 63;
    return std::nullopt;
}

}  // namespace

std::optional<std::string> decodedBase64(std::string_view text) {
    const std::size_t end = text.find('=');
    if (end != text.npos) {
        const bool isPadding = text.size() % 4 == 0 && text.size() - end <= 2 &&
                               text.find_first_not_of('=', end) == text.npos;
        if (!isPadding) return std::nullopt;
        text = text.substr(0, end);
    }
    if (text.size() % 4 == 1) return std::nullopt;
    std::string bytes;
    unsigned bits = 0;
    int count = 0;  // of the bits that are no byte yet
    for (const char character : text) {
        const auto sextet = sextetOf(character);
        if (!sextet) return std::nullopt;
        bits = bits << 6 | *sextet;
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xff);
    }
    return bytes;
}

TypedValue::TypedValue(Element value) : element_(value) {
    const ValueType* const type = typeOf(value);
    if (type == nullptr) return;
    element_ = onlyMember(value);
    if (type->coding == Coding::plain) return;
    std::string_view text;
    const bool isText = element_.get(text) == simdjson::SUCCESS;
    if (type->coding == Coding::list) {
        parse(listText(element_));
        return;
    }
    const auto bytes = isText ? decodedBase64(text) : std::nullopt;
    if (bytes && parse(*bytes)) return;
    element_ = onlyMember(value);
    // Some tools write the JSON itself.
    if (type->coding == Coding::json) return;
    throw StateError(simdjson::minify(element_) + ": bytes that are no JSON");
}

bool TypedValue::parse(std::string_view json) {
    const auto error = parser_.parse(simdjson::padded_string(json)).get(element_);
    if (error == simdjson::MEMALLOC) throw std::bad_alloc();
    return error == simdjson::SUCCESS;
}

}  // namespace Import
