// The walks over objects with known keys, over maps by name and over lists of distinct values.
// Types of objects are tables: one row per key, with the functions that read and write its value.
#pragma once

#include <utility>
#include <vector>

#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "state/Node.h"
#include "state/Writer.h"

namespace StateDirectory {

enum class Presence : bool { optional, required };

// What an object is written from: the target itself, or its Source when it is a form that exists
// for the reading only.
template <class Target>
struct SourceOfTarget {
    using Type = Target;
};
template <class Target>
requires requires { typename Target::Source; }
struct SourceOfTarget<Target> {
    using Type = typename Target::Source;
};
template <class Target>
using SourceOf = typename SourceOfTarget<Target>::Type;

template <class Target>
struct Key {
    std::string_view name;
    void (*read)(const Node& value, Target& target);
    // Writes the value of the member that the writer was told, or nothing: what an absent one
    // means.
    void (*write)(Writer& writer, const SourceOf<Target>& source);
    Presence presence = Presence::optional;
};

template <class Target>
std::vector<std::string_view> namesOf(std::span<const Key<Target>> keys) {
    std::vector<std::string_view> names;
    for (const Key<Target>& key : keys) names.push_back(key.name);
    return names;
}

template <class Target>
std::string requiredKeys(std::span<const Key<Target>> keys) {
    std::string names;
    for (const Key<Target>& key : keys) {
        if (key.presence == Presence::optional) continue;
        names += (names.empty() ? "" : ", ") + inQuotes(key.name);
    }
    return names;
}

// Reads the members of an object into the target. Refuses unknown, repeated and missing keys.
template <class Target>
void readObject(const Node& node, std::span<const Key<Target>> keys,
                std::type_identity_t<Target>& target) {
    U64 seen = 0;
    std::size_t next = 0;  // most documents have their keys in the order of the table
    for (const auto& [name, element] : node.object()) {
        std::size_t tried = 0;
        while (tried < keys.size() && keys[next % keys.size()].name != name) {
            ++next;
            ++tried;
        }
        if (tried == keys.size()) node.refuseKey(name, namesOf(keys));
        next %= keys.size();
        const Node value(node, name, element);
        const U64 bit = U64{1} << next;
        if ((seen & bit) != 0) value.refuseRepeated();
        seen |= bit;
        keys[next++].read(value, target);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        if (keys[i].presence == Presence::required && (seen >> i & 1) == 0) {
            node.refuse("the key " + inQuotes(keys[i].name) + " is missing", requiredKeys(keys));
        }
    }
}
template <class Target, std::size_t count>
void readObject(const Node& node, const Key<Target> (&keys)[count],
                std::type_identity_t<Target>& target) {
    static_assert(count <= 64);
    readObject(node, std::span<const Key<Target>>(keys), target);
}

// Writes an object by the same table. The Source of a target has to be told by its table.
template <class Target>
void writeObject(Writer& writer, std::span<const Key<Target>> keys,
                 const std::type_identity_t<SourceOf<Target>>& source) {
    writer.object([&] {
        for (const Key<Target>& key : keys) {
            writer.member(key.name, key.presence == Presence::optional);
            key.write(writer, source);
        }
    });
}
template <class Target, std::size_t count>
void writeObject(Writer& writer, const Key<Target> (&keys)[count],
                 const std::type_identity_t<SourceOf<Target>>& source) {
    writeObject(writer, std::span<const Key<Target>>(keys), source);
}

template <class Map>
struct MapTypes;
template <class K, class V>
struct MapTypes<Orb::HashMap2018<K, V>> {
    using Key = K;
};
template <class K, class V, class Less>
struct MapTypes<Orb::RbTreeMap<K, V, Less>> {
    using Key = K;
};

// Enters what is not there yet: a key of a set, or a key and its value of a map.
template <class Map, class... Value>
void enterNew(Map& map, typename MapTypes<Map>::Key key, Value... value) {
    if constexpr (requires { map.insertNew({std::move(key), std::move(value)...}); }) {
        map.insertNew({std::move(key), std::move(value)...});
    } else {
        map.is(key, std::move(value)...);
    }
}

// Reads an object as a map: readKey(member, text) gives the key of a member, which it may refuse,
// and readValue(member, key) its value. Refuses repeated keys.
template <class Map, class ReadKey, class ReadValue>
Map readMap(const Node& node, ReadKey readKey, ReadValue readValue) {
    Map map;
    const simdjson::dom::object object = node.object();
    if constexpr (requires { map.reserve(0); }) map.reserve(static_cast<U32>(object.size()));
    for (const auto& [name, element] : object) {
        const Node member(node, name, element);
        typename MapTypes<Map>::Key key = readKey(member, name);
        if (map.contains(key)) member.refuseRepeated();
        auto value = readValue(member, std::as_const(key));
        enterNew(map, std::move(key), std::move(value));
    }
    return map;
}

// Reads a list as a set. Refuses repeated values.
template <class Set, class ReadValue>
Set readSet(const Node& node, ReadValue readValue) {
    Set set;
    const simdjson::dom::array list = node.list();
    if constexpr (requires { set.reserve(0); }) set.reserve(static_cast<U32>(list.size()));
    std::size_t index = 0;
    for (const simdjson::dom::element element : list) {
        const Node item(node, index++, element);
        typename MapTypes<Set>::Key value = readValue(item);
        if (set.contains(value)) item.refuseRepeated();
        enterNew(set, std::move(value));
    }
    return set;
}

// Writes the values of a set as a list. An empty one is left out where that means the same.
template <class Set, class Write>
void writeSet(Writer& writer, const Set& set, Write write) {
    if (set.empty() && writer.mayBeAbsent()) return;
    writer.list([&] {
        for (const auto& value : set) write(value);
    });
}

// Calls read(item) for each element of a list.
template <class Read>
void readList(const Node& node, Read read) {
    std::size_t index = 0;
    for (const simdjson::dom::element element : node.list()) {
        read(Node(node, index++, element));
    }
}

}  // namespace StateDirectory
