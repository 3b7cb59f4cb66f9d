// A value of a document together with the way to it. Nodes live on the stack of the walk, each one
// linked to the node it stands in; the way is spelled out only when something is refused.
#pragma once

#include <simdjson.h>

#include <span>
#include <string>
#include <string_view>

#include "orb/Types.h"
#include "state/StateError.h"

namespace StateDirectory {

// A text in quotes as messages show it: escaped, cut when it is long.
std::string inQuotes(std::string_view text);

class Node {
  public:
    // The root of a document. Its name, fit for a message, outlives the node.
    Node(const std::string& documentName, simdjson::dom::element element)
        : documentName_(&documentName), element_(element) {}
    // A member of an object or an element of a list. The parent and the key outlive the node.
    Node(const Node& parent, std::string_view key, simdjson::dom::element element)
        : parent_(&parent), key_(key), element_(element) {}
    Node(const Node& parent, std::size_t index, simdjson::dom::element element)
        : parent_(&parent), index_(index), element_(element) {}

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
    U64 number(U64 low, U64 high) const;
    // A number of seconds, with or without a fraction.
    double seconds() const;
    // One of the words: its position.
    std::size_t oneOf(std::span<const std::string_view> words) const;

    // Throws the StateError that says what is wrong here and what was expected.
    [[noreturn]] void refuse(const std::string& wrong, const std::string& expected) const;
    // The value is of no type that is taken here.
    [[noreturn]] void refuseType(const std::string& expected) const;
    [[noreturn]] void refuseKey(std::string_view key,
                                std::span<const std::string_view> known) const;
    // The key of this node, or its value, is there for the second time.
    [[noreturn]] void refuseRepeated() const;

  private:
    const Node& root() const;
    void appendPointer(std::string& out) const;

    const std::string* documentName_ = nullptr;
    const Node* parent_ = nullptr;
    std::string_view key_;  // without data: the node is an element of a list
    std::size_t index_ = 0;
    simdjson::dom::element element_;
};

}  // namespace StateDirectory
