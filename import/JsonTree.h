// Data of a tree model (RFC 7951) of any number of files, merged: containers and lists by name,
// list entries by their keys, values as they were written. Values that somebody has looked at are
// marked; what is left unmarked at the end was not understood.
#pragma once

#include <simdjson.h>

#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "import/Findings.h"
#include "state/StateError.h"

namespace Import {

// A leaf, or a leaf-list of several values. Numbers, booleans and identities as text; an identity
// without its module.
struct Leaf {
    std::vector<std::string> values;
    std::string place;
    mutable bool isUsed = false;

    const std::string& text() const { return values.front(); }
    // As a document would say it: "10", "a, b".
    std::string written() const;
};

class JsonTree {
  public:
    JsonTree() = default;
    JsonTree(const JsonTree&) = delete;
    JsonTree& operator=(const JsonTree&) = delete;

    // A container below this one, or a list; null: none.
    const JsonTree* child(std::string_view name) const;
    // A leaf of this container; null: none. Marks nothing.
    const Leaf* leaf(std::string_view name) const;
    const auto& leaves() const { return leaves_; }
    const auto& children() const { return children_; }
    // The entries of a list, in the order in which they came.
    const std::vector<std::unique_ptr<JsonTree>>& entries() const { return entries_; }
    const std::string& place() const { return place_; }
    bool isEmpty() const { return children_.empty() && leaves_.empty() && entries_.empty(); }

    // Walks the leaves below, this container's first. way: the names of the containers, joined by
    // "/".
    using Visit = std::function<void(const std::string& way, const Leaf& leaf)>;
    void forEachLeaf(const Visit& visit, const std::string& way = "") const;

    // For who fills it: made when there is none.
    JsonTree& childIs(std::string_view name, const std::string& place);
    JsonTree& entryIs(const std::string& key, const std::string& place);
    // A leaf that says something else than before contradicts it; without findings it takes its
    // place.
    void leafIs(std::string_view name, Leaf leaf, Findings* findings);
    // Takes away a leaf, a container or a list; entries of a list; all that is below.
    void erase(std::string_view name);
    void eraseEntries(const std::function<bool(const JsonTree&)>& isGone);
    void clear();

  private:
    std::map<std::string, std::unique_ptr<JsonTree>, std::less<>> children_;
    std::map<std::string, Leaf, std::less<>> leaves_;
    std::vector<std::unique_ptr<JsonTree>> entries_;
    std::map<std::string, JsonTree*, std::less<>> entryByKey_;
    std::string place_;
};

// The name of a node without its module: "acl" of "openconfig-acl:acl".
std::string_view withoutModule(std::string_view name);

// One step of a path, with the keys of a list entry.
struct PathStep {
    std::string name;
    std::map<std::string, std::string> keys;
};

// What becomes of a value that says something else than one before: told as a contradiction, or
// taken for a change.
enum class Repeated : U8 { contradicts, changes };

// Merges a value that stands at a path into the tree. Throws StateError when nesting or types are
// such that it is no such data.
void mergeAt(JsonTree& root, const std::vector<PathStep>& path, simdjson::dom::element value,
             const std::string& place, Repeated repeated, Findings& findings);

// Takes away what stands at a path and below, if anything does. A step of a list without a key, or
// with the key "*", stands for every entry. What the root holds stays, empty.
void eraseAt(JsonTree& root, std::span<const PathStep> path);

// The JSON pointer (RFC 6901) of a member.
std::string pointerTo(const std::string& place, std::string_view key);

}  // namespace Import
