// How the lists of match criteria are laid out. Every list has a label, under which its JSON key is
// found in cliMap, and its items line up:
//
//     Source prefix: 10.0.0.0/8
//                    10.1.0.0/16
//
// Items come in ascending order, whatever the order of the collection.
#pragma once

#include <algorithm>
#include <functional>
#include <string_view>
#include <vector>

#include "frame/Trace.h"
#include "hive/MatchOption.h"
#include "hive/Ranges.h"
#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// The JSON key of a label; a label that is not in the map is an assertion.
std::string_view jsonNameOf(std::string_view label);

// The name of a DSCP value or of a protocol number, by the label of its list; empty for a value
// without a name and for all other labels. Protocols have names in IPv4 and IPv6 rules only: any
// other match option is an assertion.
std::string_view numericalValueToStrFor(std::string_view label, U32 value,
                                        PolicyMap::ClassMapMatchOption matchOption);

// Begins the line of an item: the label before the first one, as many blanks before the others.
void beginItem(textout::RendererV2& renderer, std::string_view label, U32 indent, bool isFirst);

// One line of text with a range, or with the name or number of a single value.
void renderRangeItem(textout::RendererV2& renderer, std::string_view label,
                     const Classification::NumericalRange& range, U32 indent,
                     PolicyMap::ClassMapMatchOption matchOption, bool isFirst);

// The bounds of a range, as the pairs of the open JSON object.
void renderBounds(textout::RendererV2& renderer, const Classification::NumericalRange& range);

// Calls print(entry, isFirst) for the entries of a collection in ascending order. REQUIRES: print
// does not come back to the same call.
template <class Collection, class Print, class Less = std::less<>>
void forEachAscending(const Collection& collection, const Print& print, const Less& less = {}) {
    using Entry = std::iter_value_t<decltype(collection.begin())>;
    if (collection.size() == 1) return print(*collection.begin(), true);
    static thread_local std::vector<const Entry*> sorted;  // kept, so that no list allocates
    sorted.clear();
    for (const Entry& entry : collection) sorted.push_back(&entry);
    std::sort(sorted.begin(), sorted.end(),
              [&less](const Entry* a, const Entry* b) { return less(*a, *b); });
    for (const Entry* entry : sorted) print(*entry, entry == sorted.front());
}

template <class Range>
void renderNumericalRange(textout::RendererV2& renderer, std::string_view label,
                          const Orb::HashSet2018<Range>& ranges, U32 indent,
                          PolicyMap::ClassMapMatchOption matchOption) {
    SHOW_TRACE_ENTRY();
    const auto list = renderer.list(jsonNameOf(label));
    forEachAscending(ranges, [&](const Range& range, bool isFirst) {
        renderRangeItem(renderer, label, range, indent, matchOption, isFirst);
        const auto object = renderer.object();
        renderBounds(renderer, range);
    });
}

}  // namespace TrafficPolicyCli
