// The values that stand in strings: names, interface ids, ranges, prefixes, addresses; as members,
// as keys of maps and as elements of sets.
#pragma once

#include <optional>

#include "hive/MatchOption.h"
#include "hive/Ranges.h"
#include "orb/Name.h"
#include "orb/Seconds.h"
#include "state/Collections.h"
#include "wire/AddressFamily.h"
#include "wire/EthAddr.h"
#include "wire/IntfId.h"
#include "wire/IpGenPrefix.h"

namespace StateDirectory {

// Says whether the text may be a name: not empty, no C0, DEL or C1 character. It is valid UTF-8.
bool isName(std::string_view text);

Orb::String readName(const Node& node);
// The same for names that stand in many places.
Orb::Name readSharedName(const Node& node);
// Any text but an empty one.
Orb::String readText(const Node& node);
// As RFC 3339 writes it.
Orb::Seconds readTime(const Node& node);
Wire::IpGenAddr readAddress(const Node& node);
Wire::EthAddr readMacAddress(const Node& node);
// A prefix without host bits; of the family, if one is given.
Wire::IpGenPrefix readPrefix(const Node& node, std::optional<Wire::AddressFamily> family);
// A range "low-high" or a single number, both bounds included.
Classification::NumericalRange readRange(const Node& node, Base::Bounds bounds);

Orb::HashSet2018<Wire::IpGenPrefix> readPrefixes(const Node& node,
                                                 std::optional<Wire::AddressFamily> family);

// A number, or "low-high".
void writeRange(Writer& writer, const Classification::NumericalRange& range);
void writePrefixes(Writer& writer, const Orb::HashSet2018<Wire::IpGenPrefix>& prefixes);

// Keys of maps. Each refuses a key that is none.
Orb::String nameKey(const Node& member, std::string_view key);
Orb::Name sharedNameKey(const Node& member, std::string_view key);
Wire::IntfId intfKey(const Node& member, std::string_view key);
// "Vlan1" to "Vlan4094", digits without leading zeros.
Wire::IntfId vlanIntfKey(const Node& member, std::string_view key);
PolicyMap::ClassMapMatchOption matchOptionKey(const Node& member, std::string_view key);
Classification::ProtocolRange protocolKey(const Node& member, std::string_view key);

// The texts of such keys.
inline const Orb::String& keyText(const Orb::String& name) { return name; }
inline const Orb::String& keyText(const Wire::IntfId& intfId) { return intfId.stringValue(); }
inline Orb::String keyText(const Classification::ProtocolRange& range) {
    return range.stringValue();
}
inline std::string_view keyText(PolicyMap::ClassMapMatchOption option) {
    return PolicyMap::matchOptionName(option);
}

// Writes the members of a map as an object; write(value) writes each. An empty map is left out
// where that means the same.
template <class Map, class Write>
void writeMap(Writer& writer, const Map& map, Write write) {
    if (map.empty() && writer.mayBeAbsent()) return;
    writer.object([&] {
        for (const auto& [key, value] : map) {
            const auto& text = keyText(key);
            writer.namedMember(text);
            write(value);
        }
    });
}

// The words of match options, by their values.
std::span<const std::string_view> matchOptionWords();

}  // namespace StateDirectory
