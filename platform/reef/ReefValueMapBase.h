// The corruption handler of the counter stores.
#pragma once

#include "reef/StoreManager.h"

class ORB_EXPORT ReefValueMapBase {
  public:
    // To be called with what() of a Cairn::CorruptionDetectedException and the manager of the store
    // it came from: the store counts as not available from now on. Once per manager, one line on
    // standard error names the store and the damage.
    static void handleCorruptionDetected(const Orb::String& message,
                                         const Orb::Ptr<Reef::StoreManager>& manager);
};
