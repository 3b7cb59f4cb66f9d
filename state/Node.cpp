#include "state/Node.h"

#include "orb/Escape.h"
#include "orb/Nearest.h"

namespace StateDirectory {

namespace {

std::string typeName(simdjson::dom::element_type type) {
    using Type = simdjson::dom::element_type;
    switch (type) {
        case Type::ARRAY:
            return "a list";
        case Type::OBJECT:
            return "an object";
        case Type::STRING:
            return "a string";
        case Type::BOOL:
            return "a boolean";
        case Type::NULL_VALUE:
            return "null";
        case Type::INT64:
        case Type::UINT64:
        case Type::DOUBLE:
            return "a number";
    }
    return "unknown";
}

template <class Value>
bool isOf(simdjson::dom::element element, Value& value) {
    return element.get(value) == simdjson::SUCCESS;
}

// The parts of a pointer are separated by "/", so it and the escape character are escaped.
void appendPointerKey(std::string& out, std::string_view key) {
    std::string part;
    for (const char character : key) {
        if (character == '~') {
            part += "~0";
        } else if (character == '/') {
            part += "~1";
        } else {
            part += character;
        }
    }
    Orb::appendEscaped(out, part);
}

}  // namespace

std::string inQuotes(std::string_view text) {
    constexpr std::size_t shownBytes = 80;
    std::string out = "\"";
    std::size_t end = std::min(text.size(), shownBytes);
    if (end < text.size()) {
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0) == 0x80) --end;
    }
    Orb::appendEscaped(out, text.substr(0, end));
    return out + (end < text.size() ? "...\"" : "\"");
}

simdjson::dom::object Node::object() const {
    simdjson::dom::object value;
    if (!isOf(element_, value)) refuseType("an object");
    return value;
}

simdjson::dom::array Node::list() const {
    simdjson::dom::array value;
    if (!isOf(element_, value)) refuseType("a list");
    return value;
}

bool Node::boolean() const {
    bool value = false;
    if (!isOf(element_, value)) refuseType("a boolean");
    return value;
}

std::string_view Node::text() const {
    std::string_view value;
    if (!isOf(element_, value)) refuseType("a string");
    return value;
}

U64 Node::number(U64 low, U64 high) const {
    U64 value = 0;
    if (isOf(element_, value) && value >= low && value <= high) return value;
    const std::string expected =
        "a whole number from " + std::to_string(low) + " to " + std::to_string(high);
    if (!element_.is_number()) refuseType(expected);
    if (element_.type() == simdjson::dom::element_type::DOUBLE)
        refuse("is a number with a fraction or an exponent", expected);
    refuse(simdjson::minify(element_) + " is out of range", expected);
}

double Node::seconds() const {
    constexpr double endOfTheYear9999 = 253402300800.0;
    double value = 0;
    if (!isOf(element_, value)) refuseType("a number of seconds");
    if (value < 0 || value >= endOfTheYear9999) {
        refuse(simdjson::minify(element_) + " is out of range", "a point in time of 1970 to 9999");
    }
    return value;
}

std::size_t Node::oneOf(std::span<const std::string_view> words) const {
    const std::string_view word = text();
    for (std::size_t i = 0; i < words.size(); ++i) {
        if (words[i] == word) return i;
    }
    std::string expected = words.size() == 1 ? "" : "one of ";
    for (const std::string_view known : words) {
        expected += (known == words.front() ? "" : ", ") + inQuotes(known);
    }
    refuse("unknown word " + inQuotes(word), expected);
}

const Node& Node::root() const {
    const Node* node = this;
    while (node->parent_ != nullptr) node = node->parent_;
    return *node;
}

void Node::appendPointer(std::string& out) const {
    if (parent_ == nullptr) return;
    parent_->appendPointer(out);
    out += '/';
    if (key_.data() == nullptr) {
        out += std::to_string(index_);
    } else {
        appendPointerKey(out, key_);
    }
}

void Node::refuse(const std::string& wrong, const std::string& expected) const {
    std::string message = *root().documentName_ + ": at \"";
    appendPointer(message);
    throw StateError(message + "\": " + wrong + ", expected " + expected);
}

void Node::refuseType(const std::string& expected) const {
    refuse("is " + typeName(element_.type()), expected);
}

void Node::refuseKey(std::string_view key, std::span<const std::string_view> known) const {
    const std::string_view meant = Orb::nearest(key, known);
    refuse("unknown key " + inQuotes(key), known.empty() ? "no keys" : inQuotes(meant));
}

void Node::refuseRepeated() const {
    if (key_.data() == nullptr) {
        refuse(simdjson::minify(element_) + " stands twice in the list", "it once");
    }
    refuse("the key " + inQuotes(key_) + " stands twice in the object", "it once");
}

}  // namespace StateDirectory
