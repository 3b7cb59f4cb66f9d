// The walks over objects with known keys, over maps by name and over lists of distinct values.
// Types of objects are tables: one row per key, with the functions that read and write its value.
#pragma once

#include <deque>
#include <exception>
#include <utility>
#include <vector>

#include "orb/HashMap2018.h"
#include "orb/RbTreeMap.h"
#include "state/Node.h"
#include "state/SecondThread.h"
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
    const auto after = [&](std::size_t i) { return i + 1 == keys.size() ? 0 : i + 1; };
    for (Members members(node); members.next();) {
        const std::string_view name = members.name();
        const Node value = members.node();
        std::size_t tried = 0;
        while (tried < keys.size() && keys[next].name != name) {
            next = after(next);
            ++tried;
        }
        if (tried == keys.size()) node.refuseKey(name, namesOf(keys));
        const U64 bit = U64{1} << next;
        if ((seen & bit) != 0) value.refuseRepeated();
        seen |= bit;
        keys[next].read(value, target);
        next = after(next);
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
    using Value = V;
};
template <class K, class V, class Less>
struct MapTypes<Orb::RbTreeMap<K, V, Less>> {
    using Key = K;
    using Value = V;
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

// Room for the members or elements of a value, as far as their number is known.
template <class Collection, class Value>
void reserveFor(Collection& collection, const Node& node, Value (Node::*value)() const) {
    if constexpr (requires { collection.reserve(0); }) {
        if (node.pieces() == nullptr) {
            collection.reserve(static_cast<U32>((node.*value)().size()));
        }
    }
}

// Reads an object as a map: readKey(member, text) gives the key of a member, which it may refuse,
// and readValue(member, key) its value. Refuses repeated keys.
template <class Map, class ReadKey, class ReadValue>
Map readMap(const Node& node, ReadKey readKey, ReadValue readValue) {
    Map map;
    reserveFor(map, node, &Node::object);
    for (Members members(node); members.next();) {
        const Node member = members.node();
        typename MapTypes<Map>::Key key = readKey(member, members.name());
        if (map.contains(key)) member.refuseRepeated();
        auto value = readValue(member, std::as_const(key));
        enterNew(map, std::move(key), std::move(value));
    }
    return map;
}

// What a task has read of a map: the members of one run of the text.
template <class Key, class Value>
struct MapPart : OfferedRun {
    std::vector<std::pair<Key, Value>> entries;
};

template <class Map, class Parts>
Map mapOf(Parts& parts) {
    Map map;
    for (auto& part : parts) {
        if (part.fault) std::rethrow_exception(part.fault);
        for (auto& [key, value] : part.entries) {
            if (map.contains(key)) throw NotInPieces();
            enterNew(map, std::move(key), std::move(value));
        }
    }
    return map;
}

// The same, on two threads where the document is read in pieces: readKey and readValue may be
// called on both at once.
template <class Map, class ReadKey, class ReadValue>
Map readMapTogether(const Node& node, ReadKey readKey, ReadValue readValue) {
    if (node.pieces() == nullptr) return readMap<Map>(node, readKey, readValue);
    using Key = typename MapTypes<Map>::Key;
    using Part = MapPart<Key, decltype(readValue(node, std::declval<const Key&>()))>;
    std::deque<Part> parts;
    const auto readMember = [&](Part& part, std::string_view name, const Node& member) {
        Key key = readKey(member, name);
        auto value = readValue(member, std::as_const(key));
        part.entries.emplace_back(std::move(key), std::move(value));
    };
    {
        SecondThread& second = node.pieces()->second();
        const SecondThread::Finishing finishing(second);
        Pieces::Walk walk(*node.pieces(), '{');
        while (walk.next()) {
            Part& part = parts.emplace_back();
            if (!walk.isRun()) {
                readMember(part, walk.key(), Node(node, Step{walk.key()}, *node.pieces()));
                continue;
            }
            part.text = simdjson::padded_string(walk.run());
            part.offer(second, [&](simdjson::dom::element run) {
                for (const auto& [name, element] : simdjson::dom::object(run)) {
                    readMember(part, name, Node(node, Step{name}, element));
                }
            });
        }
    }
    return mapOf<Map>(parts);
}

// Reads a list on two threads: readValue(element) gives the value of an element, and may be called
// on both at once; after that take(value) is called for one after the other, in their order.
// REQUIRES: the document is read in pieces.
template <class ReadValue, class Take>
void readListTogether(const Node& node, ReadValue readValue, Take take) {
    using Value = decltype(readValue(node));
    struct Part : OfferedRun {
        std::vector<Value> values;
    };
    std::deque<Part> parts;
    {
        SecondThread& second = node.pieces()->second();
        const SecondThread::Finishing finishing(second);
        Pieces::Walk walk(*node.pieces(), '[');
        while (walk.next()) {
            Part& part = parts.emplace_back();
            if (!walk.isRun()) {
                part.values.push_back(readValue(Node(node, Step{}, *node.pieces()).whole()));
                continue;
            }
            part.text = simdjson::padded_string(walk.run());
            part.offer(second, [&](simdjson::dom::element run) {
                for (const simdjson::dom::element element : simdjson::dom::array(run)) {
                    part.values.push_back(readValue(Node(node, Step{}, element)));
                }
            });
        }
    }
    for (Part& part : parts) {
        if (part.fault) std::rethrow_exception(part.fault);
        for (Value& value : part.values) take(std::move(value));
    }
}

// What becomes of a member of a map when the document is read in pieces.
enum class Turn { now, later, never };
inline auto always(Turn turn) {
    return [turn](const auto&) { return turn; };
}

// Reads an object as a map of records, which are made of their keys: read(member, record) reads the
// value. turnOf(key): when that is done. Later is when all names are known, and only if the member
// is wanted then. REQUIRES: the document is read in pieces.
template <class Map, class Record, class ReadKey, class TurnOf, class Read>
Map readMapInTurn(const Node& node, ReadKey readKey, TurnOf turnOf, Read read) {
    Map map;
    Pieces& pieces = *node.pieces();
    const std::size_t place = pieces.place();
    for (Pieces::Walk walk(pieces); walk.next();) {
        const Node member(node, Step{walk.key()}, pieces);
        typename MapTypes<Map>::Key key = readKey(member, walk.key());
        if (map.contains(key)) member.refuseRepeated();
        const auto record = Orb::make<Record>(std::as_const(key));
        const Turn turn = turnOf(std::as_const(key));
        if (turn == Turn::now) {
            read(member, *record);
        } else {
            const std::size_t value = pieces.place();
            if (pieces.passOver() != '{') throw NotInPieces();
            if (turn == Turn::later) {
                pieces.passedOver().push_back(
                    {key, place, walk.begin(), value, pieces.place(),
                     [record, read](const Node& later) { read(later, *record); }});
            }
        }
        enterNew(map, std::move(key), typename MapTypes<Map>::Value(record));
    }
    return map;
}

// Reads a list as a set. Refuses repeated values.
template <class Set, class ReadValue>
Set readSet(const Node& node, ReadValue readValue) {
    Set set;
    if constexpr (requires { set.indexAll(); }) {
        if (node.pieces() != nullptr) {  // it is large
            for (Elements elements(node); elements.next();) set.append(readValue(elements.node()));
            if (!set.indexAll()) throw NotInPieces();
            return set;
        }
    }
    reserveFor(set, node, &Node::list);
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
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

}  // namespace StateDirectory
