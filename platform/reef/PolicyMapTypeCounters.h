// The counters of one direction in a counter store.
#pragma once

#include "reef/StoreManager.h"

namespace PolicyMap::Counters {

enum class Direction : U32 { input = 0, output = 1 };

class ORB_EXPORT PolicyMapTypeCounters : public Orb::PtrInterface {
    ORB_TYPE(PolicyMapTypeCounters)
    ORB_CONSTRUCTIBLE(PolicyMapTypeCounters, Orb::Ptr<Reef::StoreManager>, Direction)
    ORB_KEY(manager, Orb::Ptr<Reef::StoreManager>)
    ORB_KEY(direction, Direction)

    PolicyMapTypeCounters(Orb::Ptr<Reef::StoreManager> manager, Direction direction)
        : manager_(std::move(manager)), direction_(direction) {}
};

}  // namespace PolicyMap::Counters
