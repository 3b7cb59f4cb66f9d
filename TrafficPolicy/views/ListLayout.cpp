// The map of labels and the lines of lists.
#include "views/ListLayout.h"

#include <array>

#include "model/IpCriteria.h"
#include "names/AclNameMap.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

namespace {

struct CliMapEntry {
    std::string_view label;
    std::string_view jsonName;
};

// Beside the labels of numeric criteria, which stand in their rows.
constexpr CliMapEntry otherLabels[] = {
    {"802.1Q VLAN", "dot1qVlans"},
    {"Destination port", "destPorts"},
    {"Destination port field-set", "destL4PortFieldSets"},
    {"Destination prefix", "destPrefixes"},
    {"Destination prefix (longest prefix match)", "destLpmPrefixes"},
    {"Destination prefix field-set", "destPrefixSets"},
    {"Fragment: offset", "fragmentOffsets"},
    {"ICMP code", "icmpCodes"},
    {"ICMP type", "icmpTypes"},
    {"Protocol", "protocols"},
    {"Set DSCP", "setDscp"},
    {"Set Traffic Class", "setTc"},
    {"Source port", "srcPorts"},
    {"Source port field-set", "srcL4PortFieldSets"},
    {"Source prefix", "srcPrefixes"},
    {"Source prefix (longest prefix match)", "srcLpmPrefixes"},
    {"Source prefix field-set", "srcPrefixSets"},
    {"TCP flags", "tcpFlags"},
};

constexpr auto cliMap = [] {
    constexpr std::size_t numericCriteria = std::tuple_size_v<decltype(ipCriteria)> - 1;
    std::array<CliMapEntry, std::size(otherLabels) + numericCriteria> map{};
    auto* next = std::ranges::copy(otherLabels, map.begin()).out;
    forEachNumericCriterion([&](const auto& criterion) {
        *next++ = {criterion.label, criterion.jsonName};
    });
    return map;
}();

// Where a label is looked for first. Every list of every rule asks, so most labels have a place of
// their own.
constexpr std::size_t placeOf(std::string_view label) {
    return label.empty()
               ? 0
               : 3 * label.size() + std::size_t{5} * static_cast<unsigned char>(label.back());
}

// The map by those places; an entry whose place is taken stands in the next one.
constexpr auto cliMapByPlace = [] {
    std::array<CliMapEntry, 4 * std::size(cliMap)> map{};
    for (const CliMapEntry& entry : cliMap) {
        std::size_t place = placeOf(entry.label) % map.size();
        while (!map.at(place).label.empty()) place = (place + 1) % map.size();
        map.at(place) = entry;
    }
    return map;
}();

// The directory of singletons keeps the map alive, so no reference is counted per value.
const AclNameMap& aclNames() {
    static const AclNameMap& names = *AclNameMap::instance();
    return names;
}

}  // namespace

std::string_view jsonNameOf(std::string_view label) {
    std::size_t place = placeOf(label) % cliMapByPlace.size();
    while (cliMapByPlace[place].label != label && !cliMapByPlace[place].label.empty()) {
        place = (place + 1) % cliMapByPlace.size();
    }
    const auto* const jsonName =
        cliMapByPlace[place].label.empty() ? nullptr : &cliMapByPlace[place].jsonName;
    ORB_ASSERT(!!jsonName && "Invalid mapping in cliMap");
    SHOW_TRACE(8, label << " --> " << *jsonName);
    return *jsonName;
}

std::string_view numericalValueToStrFor(std::string_view label, U32 value,
                                        PolicyMap::ClassMapMatchOption matchOption) {
    if (label == "DSCP") return aclNames().dscpName(value);
    if (label != "Protocol") return {};
    switch (matchOption) {
        case PolicyMap::ClassMapMatchOption::ipv4:
            return aclNames().ipv4ProtocolName(value);
        case PolicyMap::ClassMapMatchOption::ipv6:
            return aclNames().ipv6ProtocolName(value);
        default:
            ORB_ASSERT(false && "Unrecognized match option");
            return {};
    }
}

void beginItem(const CriteriaView& view, std::string_view label, bool isFirst) {
    constexpr std::string_view separator = ": ";
    if (isFirst) {
        view.renderer.indent(view.indent).text(label).text(separator);
    } else {
        view.renderer.indent(view.indent + static_cast<U32>(label.size() + separator.size()));
    }
}

void renderRangeItem(const CriteriaView& view, std::string_view label,
                     const Classification::NumericalRange& range, bool isFirst) {
    beginItem(view, label, isFirst);
    if (range.low != range.high) {
        view.renderer.number(range.low).text("-").number(range.high);
    } else if (const auto name = numericalValueToStrFor(label, range.low, view.matchOption);
               !name.empty()) {
        view.renderer.text(name);
    } else {
        view.renderer.number(range.low);
    }
    view.renderer.endLine();
}

void renderBounds(textout::RendererV2& renderer, const Classification::NumericalRange& range) {
    renderer.pair("low", range.low);
    renderer.pair("high", range.high);
}

}  // namespace TrafficPolicyCli
