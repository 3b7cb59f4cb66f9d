// A value of a document together with the way to it. Nodes live on the stack of the walk, each one
// linked to the node it stands in; the way is spelled out only when something is refused.
#pragma once

#include <simdjson.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Number.h"
#include "base/Text.h"
#include "orb/Types.h"
#include "state/StateError.h"

namespace StateDirectory {

using Base::inQuotes;

class Document;

// One step of the way to a value: into a member, or into an element of a list.
struct Step {
    std::string_view key;  // without data: into an element
    std::size_t index = 0;

    bool isElement() const { return key.data() == nullptr; }
};

// What at the end of a way is wrong: the value, the key before it, or the second key like that one.
enum class Spot { value, key, secondKey };

class Node {
  public:
    // The root of a document, which outlives the node.
    Node(const Document& document, simdjson::dom::element element)
        : document_(&document), element_(element) {}
    // A member of an object or an element of a list. The parent and the key outlive the node.
    Node(const Node& parent, std::string_view key, simdjson::dom::element element)
        : parent_(&parent), step_{key}, element_(element) {}
    Node(const Node& parent, std::size_t index, simdjson::dom::element element)
        : parent_(&parent), step_{{}, index}, element_(element) {}

    // REQUIRES: not the root.
    const Node& parent() const { return *parent_; }
    simdjson::dom::element element() const { return element_; }
    // A member that the object has.
    Node member(std::string_view key) const { return {*this, key, element_.at_key(key).value()}; }

    // The value as one of these types; refuses any other.
    simdjson::dom::object object() const;
    simdjson::dom::array list() const;
    bool boolean() const;
    std::string_view text() const;
    // A whole number within the bounds.
    U64 number(Base::Bounds bounds) const;
    // A number of seconds, with or without a fraction.
    double seconds() const;
    // One of the words: its position. orElse: what other types are taken here, for the message.
    std::size_t oneOf(std::span<const std::string_view> words,
                      const std::string& orElse = "") const;

    // Throws the StateError that says what is wrong here and what was expected.
    [[noreturn]] void refuse(const std::string& wrong, const std::string& expected,
                             Spot spot = Spot::value) const;
    // The value is of no type that is taken here.
    [[noreturn]] void refuseType(const std::string& expected) const;
    // A key that stands in this object is not known here.
    [[noreturn]] void refuseKey(std::string_view key,
                                std::span<const std::string_view> known) const;
    // The key of this node, or its value, is there for the second time.
    [[noreturn]] void refuseRepeated() const;

  private:
    [[noreturn]] void fail(std::vector<Step> way, Spot spot, const std::string& wrong,
                           const std::string& expected) const;
    const Document& document() const;
    std::vector<Step> way() const;

    const Document* document_ = nullptr;
    const Node* parent_ = nullptr;
    Step step_;  // from the parent
    simdjson::dom::element element_;
};

}  // namespace StateDirectory
