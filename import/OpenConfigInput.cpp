#include "import/OpenConfigInput.h"

#include <algorithm>

#include "import/TypedValue.h"
#include "state/Document.h"

namespace Import {

using StateDirectory::StateError;

namespace {

using Element = simdjson::dom::element;
using Path = std::vector<PathStep>;

Path pathOf(std::initializer_list<std::string_view> names) {
    Path path;
    for (const std::string_view name : names) path.push_back({std::string(name), {}});
    return path;
}

// Where a tree belongs that begins in the midst of the model, by the name that it begins with.
std::optional<Path> placeOfTree(std::string_view key) {
    struct Row {
        std::string_view name;
        std::initializer_list<std::string_view> above;
    };
    static const Row rows[] = {
        {"acl", {}},
        {"defined-sets", {}},
        {"acl-sets", {"acl"}},
        {"acl-set", {"acl", "acl-sets"}},
        {"interfaces", {"acl"}},
        {"interface", {"acl", "interfaces"}},
        {"ipv4-prefix-sets", {"defined-sets"}},
        {"ipv4-prefix-set", {"defined-sets", "ipv4-prefix-sets"}},
        {"ipv6-prefix-sets", {"defined-sets"}},
        {"ipv6-prefix-set", {"defined-sets", "ipv6-prefix-sets"}},
        {"port-sets", {"defined-sets"}},
        {"port-set", {"defined-sets", "port-sets"}},
    };
    // Names of other modules may be the same.
    const std::size_t colon = key.rfind(':');
    const std::string_view module = key.substr(0, colon == key.npos ? 0 : colon);
    if (!module.empty() && module != "openconfig-acl" && module != "openconfig-defined-sets" &&
        module.starts_with("openconfig-")) {
        return std::nullopt;
    }
    const auto* const row = std::ranges::find(rows, withoutModule(key), &Row::name);
    if (row == std::end(rows)) return std::nullopt;
    Path path = pathOf(row->above);
    path.push_back({std::string(row->name), {}});
    return path;
}

// A member of an object by the first of several names; nothing when it has none of them.
std::optional<Element> memberOf(Element object, std::initializer_list<const char*> names) {
    if (!object.is_object()) return std::nullopt;
    for (const char* const name : names) {
        Element member;
        if (object.at_key(name).get(member) == simdjson::SUCCESS) return member;
    }
    return std::nullopt;
}

class Input {
  public:
    Input(JsonTree& tree, Findings& findings, std::string file)
        : tree_(tree), findings_(findings), file_(std::move(file)) {}

    void read(Element root) {
        if (root.is_array()) {
            forEachItem(root, file_ + ":",
                        [&](Element item, const std::string& place) { readMessage(item, place); });
        } else {
            readMessage(root, file_ + ":");
        }
    }

  private:
    template <class Call>
    void forEachItem(Element list, const std::string& place, const Call& call) {
        std::size_t index = 0;
        for (const Element item : simdjson::dom::array(list)) {
            call(item, pointerTo(place, std::to_string(index++)));
        }
    }

    // A notification, a list of them, an update, or a tree.
    void readMessage(Element message, const std::string& place) {
        if (!message.is_object()) {
            findings_.add(FindingKind::notUnderstood, place, "value", "expected an object");
            return;
        }
        if (const auto list = memberOf(message, {"notification", "notifications"});
            list && list->is_array()) {
            forEachItem(*list, place + "/notification",
                        [&](Element item, const std::string& at) { readMessage(item, at); });
        } else if (const auto response = memberOf(message, {"update"});
                   response && response->is_object()) {
            readMessage(*response, place + "/update");
        } else if (memberOf(message, {"update", "updates", "delete", "deletes"})) {
            readNotification(message, place);
        } else if (memberOf(message, {"path", "Path"}) &&
                   memberOf(message, {"val", "value", "values"})) {
            readUpdate(message, {}, place);
        } else {
            readTree(message, place, Repeated::contradicts);
        }
    }

    void readNotification(Element message, const std::string& place) {
        Path prefix;
        if (const auto element = memberOf(message, {"prefix"})) {
            prefix = readPath(*element, place + "/prefix");
        }
        // What was there before is gone, before something new comes.
        bool isAtomic = false;
        if (const auto element = memberOf(message, {"atomic"})) {
            isAtomic = element->get(isAtomic) == simdjson::SUCCESS && isAtomic;
        }
        if (isAtomic) erase(prefix, place);
        if (const auto deletes = memberOf(message, {"delete", "deletes"});
            deletes && deletes->is_array()) {
            forEachItem(*deletes, place + "/deletes", [&](Element item, const std::string& at) {
                Path path = prefix;
                append(path, readPath(item, at));
                erase(path, at);
            });
        }
        if (const auto updates = memberOf(message, {"update", "updates"});
            updates && updates->is_array()) {
            forEachItem(*updates, place + "/updates",
                        [&](Element item, const std::string& at) { readUpdate(item, prefix, at); });
        }
    }

    void erase(const Path& path, const std::string& place) {
        const bool isOfAcls = path.empty() || isRoot(path.front().name);
        if (!isOfAcls) {
            findings_.add(FindingKind::elsewhere, place, path.front().name, "");
        } else if (path.size() == 1) {
            // What is left says that there are none.
            tree_.childIs(path.front().name, place).clear();
        } else {
            eraseAt(tree_, path);
        }
    }

    static bool isRoot(std::string_view name) { return name == "acl" || name == "defined-sets"; }

    // {"path": PATH, "val": VALUE}, or {"Path": PATH, "values": {PATH: VALUE}}.
    void readUpdate(Element update, const Path& prefix, const std::string& place) {
        Path path = prefix;
        const auto element = memberOf(update, {"path", "Path"});
        if (element) append(path, readPath(*element, pointerTo(place, "path")));
        const auto values = memberOf(update, {"values"});
        if (values && values->is_object()) {
            const simdjson::dom::object members(*values);
            for (const auto& [key, value] : members) {
                Path to = path;
                // The key repeats the path, without the keys of list entries.
                if (!element || members.size() > 1) {
                    to = prefix;
                    append(to, parsed(key, place));
                }
                mergeInto(to, value, pointerTo(place + "/values", key));
            }
            return;
        }
        const auto value = memberOf(update, {"val", "value"});
        if (!value) {
            findings_.add(FindingKind::notUnderstood, place, "update", "has no value");
            return;
        }
        mergeInto(path, *value, place + "/val");
    }

    Path readPath(Element element, const std::string& place) {
        std::string_view text;
        if (element.get(text) == simdjson::SUCCESS) return parsed(text, place);
        Path path;
        const auto steps = memberOf(element, {"elem"});
        if (!steps || !steps->is_array()) return path;
        for (const Element step : simdjson::dom::array(*steps)) {
            const auto name = memberOf(step, {"name"});
            if (!name || name->get(text) != simdjson::SUCCESS) continue;
            PathStep& added = path.emplace_back();
            added.name = withoutModule(text);
            const auto keys = memberOf(step, {"key"});
            if (!keys || !keys->is_object()) continue;
            for (const auto& [key, value] : simdjson::dom::object(*keys)) {
                if (value.get(text) == simdjson::SUCCESS) {
                    added.keys[std::string(key)] = identity(text);
                }
            }
        }
        return path;
    }

    Path parsed(std::string_view text, const std::string& place) {
        try {
            return parsePath(text);
        } catch (const StateError& error) {
            findings_.add(FindingKind::notUnderstood, place, "path", error.what());
            return {};
        }
    }

    static std::string identity(std::string_view text) {
        return std::string(text.starts_with("openconfig-") ? withoutModule(text) : text);
    }
    static void append(Path& path, const Path& more) {
        path.insert(path.end(), more.begin(), more.end());
    }

    // A value at a path, which may begin in the midst of the model as well.
    void mergeInto(const Path& path, Element value, const std::string& place) {
        try {
            const TypedValue typed(value);
            if (path.empty()) {
                readTree(typed.element(), place, Repeated::changes);
            } else if (isRoot(path.front().name)) {
                mergeAt(tree_, path, typed.element(), place, Repeated::changes, findings_);
            } else {
                findings_.add(FindingKind::elsewhere, place, path.front().name, "");
            }
        } catch (const StateError& error) {
            findings_.add(FindingKind::notUnderstood, place, "value", error.what());
        }
    }

    void readTree(Element value, const std::string& place, Repeated repeated) {
        simdjson::dom::object object;
        if (value.get(object) != simdjson::SUCCESS) {
            findings_.add(FindingKind::notUnderstood, place, "value", "expected an object");
            return;
        }
        // One ACL set, cut off at its own path.
        if (memberOf(value, {"acl-entries", "openconfig-acl:acl-entries"})) {
            Path path = pathOf({"acl", "acl-sets"});
            PathStep& step = path.emplace_back(PathStep{"acl-set", {}});
            takeKeys(value, step);
            for (const auto& container : {memberOf(value, {"config", "openconfig-acl:config"}),
                                          memberOf(value, {"state", "openconfig-acl:state"})}) {
                if (container) takeKeys(*container, step);
            }
            mergeAt(tree_, path, value, place, repeated, findings_);
            return;
        }
        for (const auto& [key, member] : object) {
            const auto path = placeOfTree(key);
            if (path) {
                mergeAt(tree_, *path, member, pointerTo(place, key), repeated, findings_);
            } else {
                findings_.add(FindingKind::elsewhere, pointerTo(place, key), key, "");
            }
        }
    }

    // The keys of an ACL set that a container of it tells.
    static void takeKeys(Element container, PathStep& step) {
        for (const char* const key : {"name", "type"}) {
            std::string_view text;
            const auto leaf = memberOf(container, {key});
            if (leaf && leaf->get(text) == simdjson::SUCCESS) step.keys[key] = identity(text);
        }
    }

    JsonTree& tree_;
    Findings& findings_;
    std::string file_;
};

// A key of a step, "[name=value]"; at is its bracket, and then what follows it. A backslash takes
// the next character as it is.
void parseKey(std::string_view text, std::size_t& at, PathStep& step) {
    const std::size_t equals = text.find('=', at);
    if (equals == text.npos) throw StateError("a key of a path without \"=\"");
    const std::string_view key = text.substr(at + 1, equals - at - 1);
    std::string value;
    for (at = equals + 1; at < text.size() && text[at] != ']'; ++at) {
        if (text[at] == '\\' && at + 1 < text.size()) ++at;
        value += text[at];
    }
    if (at == text.size()) throw StateError("a key of a path without \"]\"");
    ++at;
    if (value.starts_with("openconfig-")) value = withoutModule(value);
    step.keys[std::string(key)] = value;
}

}  // namespace

Path parsePath(std::string_view text) {
    Path path;
    std::size_t at = text.starts_with('/') ? 1 : 0;
    while (at < text.size()) {
        const std::size_t end = std::min(text.find_first_of("/[", at), text.size());
        PathStep& step = path.emplace_back();
        step.name = withoutModule(text.substr(at, end - at));
        if (step.name.empty()) throw StateError("a path with an empty name");
        at = end;
        while (at < text.size() && text[at] == '[') parseKey(text, at, step);
        if (at < text.size() && text[at] == '/') ++at;
    }
    return path;
}

void readOpenConfig(const std::string& path, JsonTree& tree, Findings& findings) {
    const StateDirectory::Document document(path);
    Input(tree, findings, document.name()).read(document.root().element());
}

}  // namespace Import
