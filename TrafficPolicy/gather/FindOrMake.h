// The body of getOrCreatePolicyState.
#pragma once

#include "orb/Assert.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

// A record that is made here bears the show flags, so that a policy known only from the attachment
// configuration is shown in the same view as the others.
template <class Record>
Orb::Ptr<Record> ShowTrafficPolicyBase::findOrMakePolicyState(const Orb::String& policyName) {
    // Gathering asks for the same record again and again, once for every rule. The change count is
    // compared first: the record may be gone when it differs.
    if (lastPolicyState_ == nullptr || lastPolicyStateChangeCount_ != policyState().changeCount() ||
        lastPolicyState_->name() != policyName) {
        PolicyState* const found = policyState(policyName);
        if (found == nullptr) {
            const auto made = Orb::make<Record>(policyName);
            showFlagsInto(*made);
            policyStateIs(policyName, made);
            lastPolicyState_ = made.get();
        } else {
            // A record that others entered may be of another kind, which breaks an invariant.
            Record* const policyState = dynamic_cast<Record*>(found);
            ORB_ASSERT(policyState != nullptr);
            lastPolicyState_ = policyState;
        }
        lastPolicyStateChangeCount_ = policyState().changeCount();
    }
    return static_cast<Record*>(lastPolicyState_);
}

template <class Record>
Record* ShowTrafficPolicyBase::policyStateOf(const Orb::String& policyName) {
    return static_cast<Record*>(getOrCreatePolicyState(policyName).get());
}

}  // namespace TrafficPolicyCli
