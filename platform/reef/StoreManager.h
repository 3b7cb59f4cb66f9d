// The reading side of a counter store: one object per store file, shared by both directions.
#pragma once

#include "orb/Type.h"

namespace Reef {

class ORB_EXPORT StoreManager : public Orb::PtrInterface {
    ORB_TYPE(StoreManager)
    ORB_CONSTRUCTIBLE(StoreManager, Orb::String)
    ORB_KEY(path, Orb::String)

    // Nothing is opened before the first read, so a command that needs no counters of the store
    // does not notice a damaged one.
    explicit StoreManager(Orb::String path) : path_(std::move(path)) {}
};

}  // namespace Reef
