// Rows of tables of keys that follow from an attribute: the key is its name, and its type says how
// the value is read and written.
//
//     constexpr Key<PortField> portFieldKeys[] = {ATTRIBUTE_KEY(PortField, sport), ...};
//
// Written by hand are the rows of values that are checked against something else, as the family of
// a prefix, and those whose key is no attribute.
#pragma once

#include <limits>

#include "hive/Actions.h"
#include "hive/FieldSets.h"
#include "hive/PolicyMapStatus.h"
#include "hive/StructuredFilter.h"
#include "state/Values.h"

namespace StateDirectory {

// The words of an enumeration, by value.
inline std::span<const std::string_view> wordsOf(PolicyMap::RateUnit) {
    return PolicyMap::rateUnitNames;
}
inline std::span<const std::string_view> wordsOf(PolicyMap::BurstUnit) {
    return PolicyMap::burstUnitNames;
}
inline std::span<const std::string_view> wordsOf(Classification::ContentsSource) {
    static constexpr std::string_view words[] = {"other", "static", "bgp", "url"};
    return words;
}
inline std::span<const std::string_view> wordsOf(Classification::EncapsulationType) {
    static constexpr std::string_view words[] = {"gtpv1"};
    return words;
}
inline std::span<const std::string_view> wordsOf(Classification::NeighborsProtocol) {
    static constexpr std::string_view words[] = {"none", "bgp"};
    return words;
}
inline std::span<const std::string_view> wordsOf(Classification::L4Protocol) {
    return wordsOf(Classification::NeighborsProtocol());
}
inline std::span<const std::string_view> wordsOf(TrafficPolicy::CounterGranularity) {
    static constexpr std::string_view words[] = {"notEnabled", "perPolicy", "perInterface"};
    return words;
}

template <class T>
concept HasWords = requires {
    wordsOf(T());
};
template <class T>
concept HasBounds = requires {
    T::bounds;
};

template <class T>
struct ValueForm;
template <>
struct ValueForm<bool> {
    static bool read(const Node& node) { return node.boolean(); }
    static void write(Writer& writer, bool value) { writer.boolean(value); }
};
template <>
struct ValueForm<Orb::String> {
    static Orb::String read(const Node& node) { return readName(node); }
    static void write(Writer& writer, const Orb::String& value) { writer.text(value); }
};
template <>
struct ValueForm<Orb::Name> {
    static Orb::Name read(const Node& node) { return readSharedName(node); }
    static void write(Writer& writer, const Orb::Name& value) { writer.text(value); }
};
template <std::unsigned_integral Number>
struct ValueForm<Number> {
    static Number read(const Node& node) {
        return static_cast<Number>(node.number({0, std::numeric_limits<Number>::max()}));
    }
    static void write(Writer& writer, Number value) { writer.number(U64{value}); }
};
template <HasWords Enumeration>
struct ValueForm<Enumeration> {
    static Enumeration read(const Node& node) {
        return static_cast<Enumeration>(node.oneOf(wordsOf(Enumeration())));
    }
    static void write(Writer& writer, Enumeration value) {
        writer.text(wordsOf(value)[static_cast<std::size_t>(value)]);
    }
};
template <>
struct ValueForm<Wire::IpGenAddr> {
    static Wire::IpGenAddr read(const Node& node) { return readAddress(node); }
    static void write(Writer& writer, const Wire::IpGenAddr& value) {
        writer.text(value.stringValue());
    }
};
template <>
struct ValueForm<Wire::EthAddr> {
    static Wire::EthAddr read(const Node& node) { return readMacAddress(node); }
    static void write(Writer& writer, const Wire::EthAddr& value) {
        writer.text(value.stringValue());
    }
};
template <HasBounds Range>
struct ValueForm<Range> {
    static Range read(const Node& node) {
        const Classification::NumericalRange range = readRange(node, Range::bounds);
        return {range.low, range.high};
    }
    static void write(Writer& writer, const Range& range) { writeRange(writer, range); }
};
template <class Set>
struct SetForm {
    using Element = typename MapTypes<Set>::Key;
    static Set read(const Node& node) { return readSet<Set>(node, ValueForm<Element>::read); }
    static void write(Writer& writer, const Set& set) {
        writeSet(writer, set,
                 [&](const Element& value) { ValueForm<Element>::write(writer, value); });
    }
};
template <class Element>
struct ValueForm<Orb::HashSet2018<Element>> : SetForm<Orb::HashSet2018<Element>> {};
template <class Element>
struct ValueForm<Orb::RbTreeSet<Element>> : SetForm<Orb::RbTreeSet<Element>> {};

// Says whether a value is what an absent key means.
inline bool isDefault(Classification::ContentsSource value) {
    return value == Classification::ContentsSource::configured;
}
template <class Value>
bool isDefault(const Value& value) {
    if constexpr (requires { value.empty(); }) {
        return value.empty();
    } else {
        return value == Value();
    }
}

// Writes the value of a member, which is left out when that means the same.
template <class Value>
void writeValue(Writer& writer, const Value& value) {
    if (writer.mayBeAbsent() && isDefault(value)) return;
    ValueForm<Value>::write(writer, value);
}

// The record that a target of a table is about: the target itself, or its record() when it holds
// what else must be known to read one.
template <class Target>
auto& recordOf(Target& target) {
    if constexpr (requires { target.record(); }) {
        return target.record();
    } else {
        return target;
    }
}

}  // namespace StateDirectory

#define ATTRIBUTE_KEY(Target, attribute, ...)                                        \
    ::StateDirectory::Key<Target> {                                                  \
#attribute,                                                                        \
            [](const ::StateDirectory::Node& node, Target& to) {                           \
                using Value = std::remove_cvref_t<decltype(recordOf(to).attribute())>;     \
                recordOf(to).attribute##Is(::StateDirectory::ValueForm<Value>::read(node)); \
            }, ATTRIBUTE_WRITER(Target, attribute) __VA_OPT__(, ) __VA_ARGS__ \
    }

// The same of an attribute whose numbers have narrower bounds than its type.
#define NUMBER_KEY(Target, attribute, bounds, ...)                               \
    ::StateDirectory::Key<Target> {                                              \
#attribute,                                                                    \
            [](const ::StateDirectory::Node& node, Target& to) {                       \
                using Value = std::remove_cvref_t<decltype(recordOf(to).attribute())>; \
                recordOf(to).attribute##Is(static_cast<Value>(node.number(bounds)));   \
            }, ATTRIBUTE_WRITER(Target, attribute) __VA_OPT__(, ) __VA_ARGS__ \
    }

// What writes an attribute, for the rows whose reading is written by hand too.
#define ATTRIBUTE_WRITER(Target, attribute)                                                \
    [](::StateDirectory::Writer& writer, const ::StateDirectory::SourceOf<Target>& from) { \
        using Value = std::remove_cvref_t<decltype(from.attribute())>;                     \
        ::StateDirectory::writeValue<Value>(writer, from.attribute());                     \
    }
