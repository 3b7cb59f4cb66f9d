// A value of a document together with the way to it. Nodes live on the stack of the walk, each one
// linked to the node it stands in; the way is spelled out only when something is refused.
#pragma once

#include <simdjson.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/Number.h"
#include "base/Text.h"
#include "orb/Types.h"
#include "state/Pieces.h"

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
    Node(const Node& parent, Step step, simdjson::dom::element element)
        : parent_(&parent), step_(step), element_(element) {}

    // The same of a document, or a large member of one, that is read in pieces: its value is an
    // object or list that can be walked once, now. Everything else throws NotInPieces, refusing
    // included.
    explicit Node(Pieces& pieces) : pieces_(&pieces) {}
    Node(const Node& parent, Step step, Pieces& pieces)
        : parent_(&parent), step_(step), pieces_(&pieces) {}

    // REQUIRES: not the root.
    const Node& parent() const { return *parent_; }
    simdjson::dom::element element() const {
        if (pieces_ != nullptr) throw NotInPieces();
        return element_;
    }
    // Null when all of the value is there.
    Pieces* pieces() const { return pieces_; }
    // What is wanted of a document that is read in pieces; otherwise everything.
    const Wanted& wanted() const;
    // The same with all of the value.
    Node whole() const;
    // The value is an object or a list that nobody looks at.
    void passOver() const;
    // The same value, an object of which most members are passed over: each is entered by itself,
    // if the document is read in pieces.
    Node oneByOne() const;
    bool isOneByOne() const { return isOneByOne_; }
    // A member that the object has.
    Node member(std::string_view key) const {
        return {*this, Step{key}, element().at_key(key).value()};
    }

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
    // Null when it is read in pieces.
    const Document* document() const;
    std::vector<Step> way() const;

    const Document* document_ = nullptr;
    const Node* parent_ = nullptr;
    Step step_;  // from the parent
    Pieces* pieces_ = nullptr;
    bool isOneByOne_ = false;
    simdjson::dom::element element_;
};

// A walk over the members of an object, or the elements of a list. Refuses any other value.
//
//     for (Members members(node); members.next();) read(members.name(), members.node());
template <class Container>
class Children {
  public:
    static constexpr bool haveNames = std::is_same_v<Container, simdjson::dom::object>;

    explicit Children(const Node& parent) : parent_(parent) {
        if (parent.pieces() != nullptr) {
            if (parent.isOneByOne()) {
                walk_.emplace(*parent.pieces());
            } else {
                walk_.emplace(*parent.pieces(), haveNames ? '{' : '[');
            }
        } else if constexpr (haveNames) {
            begin(parent.object());
        } else {
            begin(parent.list());
        }
    }

    // Goes on to the next one, the first at first; false at the end.
    bool next() {
        while (!(next_ != end_)) {
            if (!walk_ || !walk_->next()) return false;
            if (!walk_->isRun()) {
                step_ = haveNames ? Step{walk_->key()} : Step{{}, index_++};
                isLarge_ = true;
                return true;
            }
            begin(Container(parent_.pieces()->parsed(walk_->run())));
            isLarge_ = false;
        }
        if constexpr (haveNames) {
            step_ = {next_.key()};
            element_ = next_.value();
        } else {
            step_ = {{}, index_++};
            element_ = *next_;
        }
        ++next_;
        return true;
    }

    std::string_view name() const requires haveNames { return step_.key; }
    // Valid until the next step.
    Node node() const {
        return isLarge_ ? Node(parent_, step_, *parent_.pieces()) : Node(parent_, step_, element_);
    }

  private:
    void begin(const Container& container) {
        next_ = container.begin();
        end_ = container.end();
    }

    const Node& parent_;
    typename Container::iterator next_;
    typename Container::iterator end_;
    Step step_;
    std::size_t index_ = 0;
    simdjson::dom::element element_;
    bool isLarge_ = false;
    std::optional<Pieces::Walk> walk_;
};
using Members = Children<simdjson::dom::object>;
using Elements = Children<simdjson::dom::array>;

}  // namespace StateDirectory
