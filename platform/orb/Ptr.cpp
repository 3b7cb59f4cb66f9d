#include "orb/Ptr.h"

namespace Orb {

const PtrInterface* PtrInterface::notifieeList() const { return nullptr; }
void PtrInterface::hasNotificationActiveIs(bool active) { notificationActive_ = active; }
void PtrInterface::zeroReferencesIs() { delete this; }
PtrInterface::~PtrInterface() = default;

}  // namespace Orb
