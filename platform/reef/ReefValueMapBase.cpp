#include "reef/ReefValueMapBase.h"

void ReefValueMapBase::handleCorruptionDetected(const Orb::String& message,
                                                const Orb::Ptr<Reef::StoreManager>& manager) {
    manager->damageIs(message);
}
