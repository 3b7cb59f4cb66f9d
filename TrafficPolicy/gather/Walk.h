// A walk over an ordered map that others may change during a step, because the step may give up the
// activity lock.
#pragma once

#include <iterator>

#include "textout/Exceptions.h"

namespace TrafficPolicyCli {

// Calls step(key) for the keys of the map, ascending. Entries that come or go behind the key in
// hand are walked or passed over as the map stands then; no surviving one is missed or repeated.
// Looks for the operator's interrupt between two steps.
template <class Map, class Step>
void walkByKey(const Map& map, Step step) {
    for (auto at = map.begin(); at != map.end();) {
        textout::checkInterrupt();
        const U64 changes = map.changeCount();
        const auto key = at->first;
        step(key);
        at = map.changeCount() == changes ? std::next(at) : map.firstAfter(key);
    }
}

}  // namespace TrafficPolicyCli
