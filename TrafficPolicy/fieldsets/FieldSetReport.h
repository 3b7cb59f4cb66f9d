// What the four field-set views share: the report on its descriptor, the interrupt, the walk by
// name, the choice of the version to show, and where a set's contents come from.
#pragma once

#include <algorithm>
#include <vector>

#include "frame/Report.h"
#include "frame/Trace.h"
#include "hive/FieldSets.h"

namespace TrafficPolicyCli::FieldSets {

inline constexpr U32 indentation = 3;
inline constexpr U32 lineLength = 79;  // text lines are not longer

// Prints a report whose body stands in the object of that key.
template <class Body>
void renderReport(U32 fd, U32 format, U32 revision, std::string_view key, Body body) {
    printReport(fd, format, revision, [&](textout::RendererV2& renderer) {
        const auto object = renderer.object(key);
        body(renderer);
    });
}

// Visits the named entry of a collection, or with an empty name all, ascending by name. The
// visitor may give up the activity lock: names are copied first and each is looked up again, and
// the entry lives until its visit ends.
template <class Collection, class Visit>
void forEachByName(const Collection& collection, const Orb::String& onlyName, Visit visit) {
    std::vector<Orb::String> names;
    if (onlyName.empty()) {
        names.reserve(collection.size());
        for (const auto& [name, entry] : collection) names.push_back(name);
        std::sort(names.begin(), names.end());
    } else {
        names.push_back(onlyName);
    }
    for (const Orb::String& name : names) {
        textout::checkInterrupt();
        if (const auto* const found = collection.find(name)) {
            const auto entry = *found;
            visit(name, entry);
        }
    }
}

// The version of a set to print; null when it has none or is left out by the filter.
template <class Entry, class Skip>
auto versionToShow(const Orb::String& name, const Entry& entry, Skip skip) {
    auto version = entry.currCfg();
    if (!version) {
        SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", fsName:" << name << ", no currCfg");
    } else if (skip()) {
        SHOW_TRACE(8, __PRETTY_FUNCTION__ << ", fsName:" << name << ", filtered");
        version = nullptr;
    }
    return version;
}

// The version's source: its JSON attributes, and its text without a label (nothing for a source
// of another kind).
void renderSourceJson(textout::RendererV2& renderer,
                      const Classification::FieldSetSubConfig& version);
void renderSourceText(textout::RendererV2& renderer,
                      const Classification::FieldSetSubConfig& version);

}  // namespace TrafficPolicyCli::FieldSets
