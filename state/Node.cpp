#include "state/Node.h"

#include <algorithm>

#include "orb/Nearest.h"
#include "state/Document.h"

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

// A JSON pointer (RFC 6901). Its parts are separated by "/", so that and the escape character are
// escaped; long ones are cut.
std::string pointerText(std::span<const Step> way) {
    std::string out;
    for (const Step& step : way) {
        out += '/';
        if (step.isElement()) {
            out += std::to_string(step.index);
            continue;
        }
        for (const char character : Base::shortened(step.key)) {
            if (character == '~') {
                out += "~0";
            } else if (character == '/') {
                out += "~1";
            } else {
                out += character;
            }
        }
    }
    return out;
}

// A value as a message shows it.
std::string shown(simdjson::dom::element element) {
    std::string_view text;
    return isOf(element, text) ? inQuotes(text) : Base::shortened(simdjson::minify(element));
}

std::string anyOf(std::span<const std::string_view> words) {
    std::string text = words.size() == 1 ? "" : "one of ";
    for (const std::string_view& word : words) {
        text += (&word == &words.front() ? "" : ", ") + inQuotes(word);
    }
    return text;
}

}  // namespace

simdjson::dom::object Node::object() const {
    simdjson::dom::object value;
    if (!isOf(element(), value)) refuseType("an object");
    return value;
}

simdjson::dom::array Node::list() const {
    simdjson::dom::array value;
    if (!isOf(element(), value)) refuseType("a list");
    return value;
}

bool Node::boolean() const {
    bool value = false;
    if (!isOf(element(), value)) refuseType("true or false");
    return value;
}

std::string_view Node::text() const {
    std::string_view value;
    if (!isOf(element(), value)) refuseType("a string");
    return value;
}

U64 Node::number(Base::Bounds bounds) const {
    U64 value = 0;
    if (isOf(element(), value) && bounds.holds(value)) return value;
    const std::string expected = "a whole number from " + bounds.stringValue();
    if (!element().is_number()) refuseType(expected);
    if (element().type() == simdjson::dom::element_type::DOUBLE)
        refuse("is a number with a fraction or an exponent", expected);
    refuse(simdjson::minify(element()) + " is out of range", expected);
}

double Node::seconds() const {
    constexpr double endOfTheYear9999 = 253402300800.0;
    double value = 0;
    if (!isOf(element(), value)) refuseType("a number of seconds");
    if (value < 0 || value >= endOfTheYear9999) {
        refuse(simdjson::minify(element()) + " is out of range", "a point in time of 1970 to 9999");
    }
    return value;
}

std::size_t Node::oneOf(std::span<const std::string_view> words, const std::string& orElse) const {
    const auto expected = [&] { return anyOf(words) + (orElse.empty() ? "" : ", or " + orElse); };
    std::string_view word;
    if (!isOf(element(), word)) refuseType(expected());
    const auto known = std::ranges::find(words, word);
    if (known == words.end()) refuse("unknown word " + inQuotes(word), expected());
    return static_cast<std::size_t>(known - words.begin());
}

Node Node::whole() const {
    Node node = *this;
    if (pieces_ != nullptr) {
        node.element_ = pieces_->value();
        node.pieces_ = nullptr;
    }
    return node;
}

const Wanted& Node::wanted() const {
    static const Wanted everything;
    return pieces_ == nullptr ? everything : pieces_->wanted();
}

void Node::passOver() const {
    if (pieces_ != nullptr) pieces_->passOver();
}

Node Node::oneByOne() const {
    Node node = *this;
    node.isOneByOne_ = true;
    return node;
}

const Document* Node::document() const {
    const Node* node = this;
    while (node->parent_ != nullptr) node = node->parent_;
    return node->document_;
}

std::vector<Step> Node::way() const {
    std::vector<Step> way;
    for (const Node* node = this; node->parent_ != nullptr; node = node->parent_) {
        way.push_back(node->step_);
    }
    std::ranges::reverse(way);
    return way;
}

void Node::fail(std::vector<Step> wayToSpot, Spot spot, const std::string& wrong,
                const std::string& expected) const {
    const Document* const document = this->document();
    if (document == nullptr) throw NotInPieces();
    throw StateError(document->name() + ": at \"" + pointerText(way()) + "\"" +
                     document->placeOf(wayToSpot, spot) + ": " + wrong + ", expected " + expected);
}

void Node::refuse(const std::string& wrong, const std::string& expected, Spot spot) const {
    fail(way(), spot, wrong, expected);
}

void Node::refuseType(const std::string& expected) const {
    refuse("is " + typeName(element().type()), expected);
}

void Node::refuseKey(std::string_view key, std::span<const std::string_view> known) const {
    const std::string_view meant = Orb::nearest(key, known);
    std::vector<Step> wayToKey = way();
    wayToKey.push_back({key});
    fail(std::move(wayToKey), Spot::key, "unknown key " + inQuotes(key),
         known.empty()   ? "no keys"
         : meant.empty() ? anyOf(known)
                         : inQuotes(meant));
}

void Node::refuseRepeated() const {
    if (step_.isElement())
        refuse(shown(element()) + " appears twice in the list", "each value once");
    refuse("the key " + inQuotes(step_.key) + " appears twice in the object", "each key once",
           Spot::secondKey);
}

}  // namespace StateDirectory
