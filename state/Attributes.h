// Rows of tables of keys that follow from an attribute: the key is its name, and its type says how
// the value is read.
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
struct ValueReader;
template <>
struct ValueReader<bool> {
    static bool read(const Node& node) { return node.boolean(); }
};
template <>
struct ValueReader<Orb::String> {
    static Orb::String read(const Node& node) { return readName(node); }
};
template <std::unsigned_integral Number>
struct ValueReader<Number> {
    static Number read(const Node& node) {
        return static_cast<Number>(node.number({0, std::numeric_limits<Number>::max()}));
    }
};
template <HasWords Enumeration>
struct ValueReader<Enumeration> {
    static Enumeration read(const Node& node) {
        return static_cast<Enumeration>(node.oneOf(wordsOf(Enumeration())));
    }
};
template <>
struct ValueReader<Wire::IpGenAddr> {
    static Wire::IpGenAddr read(const Node& node) { return readAddress(node); }
};
template <>
struct ValueReader<Wire::EthAddr> {
    static Wire::EthAddr read(const Node& node) { return readMacAddress(node); }
};
template <HasBounds Range>
struct ValueReader<Range> {
    static Range read(const Node& node) {
        const Classification::NumericalRange range = readRange(node, Range::bounds);
        return {range.low, range.high};
    }
};
template <class Element>
struct ValueReader<Orb::HashSet2018<Element>> {
    static Orb::HashSet2018<Element> read(const Node& node) {
        return readSet<Orb::HashSet2018<Element>>(node, ValueReader<Element>::read);
    }
};
template <class Element>
struct ValueReader<Orb::RbTreeSet<Element>> {
    static Orb::RbTreeSet<Element> read(const Node& node) {
        return readSet<Orb::RbTreeSet<Element>>(node, ValueReader<Element>::read);
    }
};

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
                recordOf(to).attribute##Is(::StateDirectory::ValueReader<Value>::read(node)); \
            } __VA_OPT__(, ) __VA_ARGS__ \
    }

// The same of an attribute whose numbers have narrower bounds than its type.
#define NUMBER_KEY(Target, attribute, bounds, ...)                               \
    ::StateDirectory::Key<Target> {                                              \
#attribute,                                                                    \
            [](const ::StateDirectory::Node& node, Target& to) {                       \
                using Value = std::remove_cvref_t<decltype(recordOf(to).attribute())>; \
                recordOf(to).attribute##Is(static_cast<Value>(node.number(bounds)));   \
            } __VA_OPT__(, ) __VA_ARGS__ \
    }
