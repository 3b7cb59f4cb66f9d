#include "import/JsonTree.h"

#include <algorithm>
#include <optional>
#include <span>

namespace Import {

namespace {

using Element = simdjson::dom::element;

// The lists of the model and the leaves that are their keys.
struct ListKeys {
    std::string_view list;
    std::vector<std::string_view> keys;
};
const ListKeys* keysOf(std::string_view list) {
    static const ListKeys lists[] = {
        {"acl-set", {"name", "type"}},
        {"acl-entry", {"sequence-id"}},
        {"interface", {"id"}},
        {"ingress-acl-set", {"set-name", "type"}},
        {"egress-acl-set", {"set-name", "type"}},
        {"ipv4-prefix-set", {"name"}},
        {"ipv6-prefix-set", {"name"}},
        {"port-set", {"name"}},
    };
    const auto* const found = std::ranges::find(lists, list, &ListKeys::list);
    return found == std::end(lists) ? nullptr : found;
}

// Identities bear their module, names may hold a colon: only what looks like a module is cut.
std::string_view withoutIdentityModule(std::string_view text) {
    const std::size_t colon = text.find(':');
    const bool isModule = colon != text.npos && text.starts_with("openconfig-") &&
                          text.find_first_of(" /.") == text.npos;
    return isModule ? text.substr(colon + 1) : text;
}

std::optional<std::string> scalarText(Element element) {
    if (element.is_object() || element.is_array()) return std::nullopt;
    std::string_view text;
    if (element.get(text) == simdjson::SUCCESS) return std::string(withoutIdentityModule(text));
    return simdjson::minify(element);
}

// The key leaf of an entry, which stands in the entry, or in its config or state.
std::optional<std::string> keyLeaf(Element entry, std::string_view key) {
    if (!entry.is_object()) return std::nullopt;
    for (const auto& [name, value] : simdjson::dom::object(entry)) {
        if (withoutModule(name) == key) return scalarText(value);
    }
    for (const auto& [name, value] : simdjson::dom::object(entry)) {
        const std::string_view plain = withoutModule(name);
        if (plain != "config" && plain != "state") continue;
        if (!value.is_object()) continue;
        for (const auto& [leaf, leafValue] : simdjson::dom::object(value)) {
            if (withoutModule(leaf) == key) return scalarText(leafValue);
        }
    }
    return std::nullopt;
}

class Merging {
  public:
    Merging(Repeated repeated, Findings& findings)
        : contradictions_(repeated == Repeated::contradicts ? &findings : nullptr),
          findings_(findings) {}

    void merge(JsonTree& node, Element value, const std::string& place) {
        simdjson::dom::object object;
        if (value.get(object) != simdjson::SUCCESS) {
            leftOut(place, "", "expected an object");
            return;
        }
        for (const auto& [key, member] : object) {
            mergeMember(node, std::string(withoutModule(key)), member, pointerTo(place, key));
        }
    }

    void mergeMember(JsonTree& node, const std::string& name, Element value,
                     const std::string& place) {
        // A leaf may have the name of a list: the interface that a reference names.
        if (keysOf(name) != nullptr && (value.is_array() || value.is_object())) {
            mergeList(node.childIs(name, place), name, value, place);
        } else if (value.is_object()) {
            merge(node.childIs(name, place), value, place);
        } else if (value.is_array()) {
            mergeArray(node, name, value, place);
        } else {
            node.leafIs(name, {{*scalarText(value)}, place}, contradictions_);
        }
    }

    // Into the entry with these keys, which are told by a path.
    JsonTree& entryOf(JsonTree& list, const std::string& name,
                      const std::map<std::string, std::string>& keys, const std::string& place) {
        std::string key;
        for (const std::string_view leaf : keysOf(name)->keys) {
            const auto found = keys.find(std::string(leaf));
            key += (found == keys.end() ? "" : found->second) + '\n';
        }
        JsonTree& entry = list.entryIs(key, place);
        for (const auto& [leaf, value] : keys)
            entry.leafIs(leaf, {{value}, place}, contradictions_);
        return entry;
    }

    void mergeList(JsonTree& list, const std::string& name, Element value,
                   const std::string& place) {
        simdjson::dom::array array;
        if (value.get(array) == simdjson::SUCCESS) {
            std::size_t index = 0;
            for (const Element entry : array) {
                mergeEntry(list, name, entry, "", pointerTo(place, std::to_string(index++)));
            }
            return;
        }
        // Older data: an object by the key.
        simdjson::dom::object object;
        if (value.get(object) != simdjson::SUCCESS) {
            leftOut(place, name, "expected a list");
            return;
        }
        for (const auto& [key, entry] : object) {
            mergeEntry(list, name, entry, key, pointerTo(place, key));
        }
    }

  private:
    // memberKey: the key of the entry in an object by key; empty: in a list.
    void mergeEntry(JsonTree& list, const std::string& name, Element value,
                    std::string_view memberKey, const std::string& place) {
        std::map<std::string, std::string> keys;
        const auto& leaves = keysOf(name)->keys;
        for (const std::string_view leaf : leaves) {
            if (auto text = keyLeaf(value, leaf)) keys[std::string(leaf)] = std::move(*text);
        }
        if (!keys.contains(std::string(leaves.front()))) {
            if (memberKey.empty()) {
                leftOut(place, name, "has no key " + std::string(leaves.front()));
                return;
            }
            // "NAME", or "NAME TYPE".
            const std::size_t blank = leaves.size() > 1 ? memberKey.rfind(' ') : memberKey.npos;
            keys[std::string(leaves.front())] = memberKey.substr(0, blank);
            if (blank != memberKey.npos) {
                keys.try_emplace(std::string(leaves[1]),
                                 withoutIdentityModule(memberKey.substr(blank + 1)));
            }
        }
        merge(entryOf(list, name, keys, place), value, place);
    }

    void mergeArray(JsonTree& node, const std::string& name, Element value,
                    const std::string& place) {
        Leaf leaf{{}, place};
        std::size_t index = 0;
        for (const Element item : simdjson::dom::array(value)) {
            const std::string itemPlace = pointerTo(place, std::to_string(index));
            if (auto text = scalarText(item)) {
                leaf.values.push_back(std::move(*text));
            } else {
                // A list that the model of ACLs does not have.
                mergeMember(node.childIs(name, place), std::to_string(index), item, itemPlace);
            }
            ++index;
        }
        // [null] says that an empty leaf is there.
        if (!leaf.values.empty()) node.leafIs(name, std::move(leaf), contradictions_);
    }

    void leftOut(const std::string& place, std::string_view statement, const std::string& text) {
        findings_.add(FindingKind::notUnderstood, place, statement, text);
    }

    Findings* contradictions_;  // null: there are none
    Findings& findings_;
};

}  // namespace

std::string Leaf::written() const {
    std::string text;
    for (const std::string& value : values) text += (text.empty() ? "" : ", ") + value;
    return text;
}

const JsonTree* JsonTree::child(std::string_view name) const {
    const auto found = children_.find(name);
    return found == children_.end() ? nullptr : found->second.get();
}

const Leaf* JsonTree::leaf(std::string_view name) const {
    const auto found = leaves_.find(name);
    return found == leaves_.end() ? nullptr : &found->second;
}

void JsonTree::forEachLeaf(const Visit& visit, const std::string& way) const {
    const auto below = [&](const std::string& name) {
        return way.empty() ? name : way + "/" + name;
    };
    for (const auto& [name, leaf] : leaves_) visit(below(name), leaf);
    for (const auto& [name, child] : children_) child->forEachLeaf(visit, below(name));
    for (const auto& entry : entries_) entry->forEachLeaf(visit, way);
}

JsonTree& JsonTree::childIs(std::string_view name, const std::string& place) {
    auto& child = children_[std::string(name)];
    if (!child) {
        child = std::make_unique<JsonTree>();
        child->place_ = place;
    }
    return *child;
}

JsonTree& JsonTree::entryIs(const std::string& key, const std::string& place) {
    JsonTree*& entry = entryByKey_[key];
    if (entry == nullptr) {
        entry = entries_.emplace_back(std::make_unique<JsonTree>()).get();
        entry->place_ = place;
    }
    return *entry;
}

void JsonTree::leafIs(std::string_view name, Leaf leaf, Findings* findings) {
    const auto known = leaves_.find(name);
    if (known == leaves_.end()) {
        leaves_.emplace(name, std::move(leaf));
        return;
    }
    if (known->second.values == leaf.values) return;
    if (findings != nullptr) {
        findings->add(FindingKind::contradiction, leaf.place, name,
                      known->second.written() + " before, at " + known->second.place);
    }
    known->second = std::move(leaf);
}

void JsonTree::erase(std::string_view name) {
    if (const auto leaf = leaves_.find(name); leaf != leaves_.end()) leaves_.erase(leaf);
    if (const auto child = children_.find(name); child != children_.end()) children_.erase(child);
}

void JsonTree::eraseEntries(const std::function<bool(const JsonTree&)>& isGone) {
    std::erase_if(entryByKey_, [&](const auto& entry) { return isGone(*entry.second); });
    std::erase_if(entries_, [&](const auto& entry) { return isGone(*entry); });
}

void JsonTree::clear() {
    entryByKey_.clear();
    entries_.clear();
    children_.clear();
    leaves_.clear();
}

std::string_view withoutModule(std::string_view name) {
    const std::size_t colon = name.rfind(':');
    return colon == name.npos ? name : name.substr(colon + 1);
}

std::string pointerTo(const std::string& place, std::string_view key) {
    std::string pointer = place + '/';
    for (const char character : key) {
        if (character == '~') {
            pointer += "~0";
        } else if (character == '/') {
            pointer += "~1";
        } else {
            pointer += character;
        }
    }
    return pointer;
}

void mergeAt(JsonTree& root, const std::vector<PathStep>& path, Element value,
             const std::string& place, Repeated repeated, Findings& findings) {
    Merging merging(repeated, findings);
    JsonTree* node = &root;
    for (std::size_t i = 0; i < path.size(); ++i) {
        const auto& [name, keys] = path[i];
        const bool isLast = i + 1 == path.size();
        const bool isList = keysOf(name) != nullptr;
        if (isLast && (!isList || keys.empty())) {
            merging.mergeMember(*node, name, value, place);
            return;
        }
        node = &node->childIs(name, place);
        if (isList) node = &merging.entryOf(*node, name, keys, place);
    }
    merging.merge(*node, value, place);
}

namespace {

// Says whether an entry of a list has these keys; "*" stands for any value.
template <class Keys>
bool hasKeys(const JsonTree& entry, const Keys& keys) {
    return std::ranges::all_of(keys, [&](const auto& key) {
        const Leaf* const leaf = entry.leaf(key.first);
        return key.second == "*" || (leaf != nullptr && leaf->text() == key.second);
    });
}

}  // namespace

void eraseAt(JsonTree& root, std::span<const PathStep> path) {
    if (path.empty()) {
        for (const auto& [name, child] : root.children()) child->clear();
        return;
    }
    const std::string& name = path.front().name;
    const auto& keys = path.front().keys;
    const std::span<const PathStep> below = path.subspan(1);
    if (below.empty() && keys.empty()) return root.erase(name);
    const auto found = root.children().find(name);
    if (found == root.children().end()) return;
    JsonTree& child = *found->second;
    const auto isMeant = [&](const JsonTree& entry) { return hasKeys(entry, keys); };
    if (keysOf(name) == nullptr) {
        eraseAt(child, below);
    } else if (below.empty()) {
        child.eraseEntries(isMeant);
    } else {
        for (const auto& entry : child.entries()) {
            if (isMeant(*entry)) eraseAt(*entry, below);
        }
    }
}

}  // namespace Import
