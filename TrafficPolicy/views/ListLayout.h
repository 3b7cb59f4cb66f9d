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
#include "traffic-policy/FieldSetState.h"

namespace TrafficPolicyCli {

// Room for the sorting of lists, kept from one to the next, so that no list allocates.
using Scratch = std::vector<const void*>;

// What the renderers of one rule's criteria share.
struct CriteriaView {
    textout::RendererV2& renderer;
    const FieldSetState& fieldSets;
    Scratch& scratch;
    PolicyMap::ClassMapMatchOption matchOption;
    bool detail;
    U32 indentPerLevel;
    U32 indent;  // the column of the lines

    CriteriaView deeperBy(U32 columns) const {
        CriteriaView deeper = *this;
        deeper.indent += columns;
        return deeper;
    }
};

// The JSON key of a label; a label that is not in the map is an assertion.
std::string_view jsonNameOf(std::string_view label);

// The name of a DSCP value or of a protocol number, by the label of its list; empty for a value
// without a name and for all other labels. Protocols have names in IPv4 and IPv6 rules only: any
// other match option is an assertion.
std::string_view numericalValueToStrFor(std::string_view label, U32 value,
                                        PolicyMap::ClassMapMatchOption matchOption);

// Begins the line of an item: the label before the first one, as many blanks before the others.
void beginItem(const CriteriaView& view, std::string_view label, bool isFirst);

// One line of text with a range, or with the name or number of a single value.
void renderRangeItem(const CriteriaView& view, std::string_view label,
                     const Classification::NumericalRange& range, bool isFirst);

// The bounds of a range, as the pairs of the open JSON object.
void renderBounds(textout::RendererV2& renderer, const Classification::NumericalRange& range);

// Calls print(entry, isFirst) for the entries of a collection in ascending order. print may come
// back here with the same scratch.
template <class Collection, class Print, class Less = std::less<>>
void forEachAscending(Scratch& scratch, const Collection& collection, const Print& print,
                      const Less& less = {}) {
    using Entry = std::iter_value_t<decltype(collection.begin())>;
    if (collection.size() == 1) return print(*collection.begin(), true);
    const auto entryOf = [](const void* entry) -> const Entry& {
        return *static_cast<const Entry*>(entry);
    };
    const std::size_t first = scratch.size();
    for (const Entry& entry : collection) scratch.push_back(&entry);
    const std::size_t end = scratch.size();
    std::sort(scratch.begin() + static_cast<std::ptrdiff_t>(first), scratch.end(),
              [&](const void* a, const void* b) { return less(entryOf(a), entryOf(b)); });
    for (std::size_t i = first; i < end; ++i) print(entryOf(scratch[i]), i == first);
    scratch.resize(first);
}

template <class Range>
void renderNumericalRange(const CriteriaView& view, std::string_view label,
                          const Orb::HashSet2018<Range>& ranges) {
    SHOW_TRACE_ENTRY();
    const auto list = view.renderer.list(jsonNameOf(label));
    forEachAscending(view.scratch, ranges, [&](const Range& range, bool isFirst) {
        renderRangeItem(view, label, range, isFirst);
        const auto object = view.renderer.object();
        renderBounds(view.renderer, range);
    });
}

}  // namespace TrafficPolicyCli
