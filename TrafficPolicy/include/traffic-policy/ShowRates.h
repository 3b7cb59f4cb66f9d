// How fast traffic policies count: two looks at the live counters, and what came in between. The
// command layer builds a show object through the factory, has it look twice with the wait of its
// choice between, and calls render() once. It holds the activity lock while it looks and renders,
// and not while it waits:
//
//     const auto show = TrafficPolicyCli::showTrafficPolicyRatesFactory({}, "");
//     show->look(sources, {now, timeOfStatus});
//     ...
//     show->look(laterSources, {now, timeOfStatus});
//     show->render(STDOUT_FILENO, 1, 2);
#pragma once

#include <memory>

#include "orb/Seconds.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

// Which counters: those of the CPU, and of either direction of interfaces.
struct RateScope {
    bool input = true;
    bool output = true;
    bool cpu = false;
    friend bool operator==(const RateScope&, const RateScope&) = default;
    Orb::String stringValue() const;
};

// When the counts of a look were taken.
struct LookTimes {
    Orb::Seconds counterStore;  // when the shared-memory store is read
    // When the platform last wrote its status; two looks with the same time have the same counts.
    Orb::Seconds status;
};

class ShowTrafficPolicyRates : public Orb::PtrInterface {
    ORB_TYPE(ShowTrafficPolicyRates)
    ORB_KEY(scope, RateScope)
    ORB_KEY(policyName, Orb::String)
    // Only that many counters, the ones with the most packets/s, the first in front; 0: all, by
    // policy.
    ORB_ATTRIBUTE(top, U64)

    ShowTrafficPolicyRates(const RateScope& scope, Orb::String policyName);
    ~ShowTrafficPolicyRates() override;

    // Reads the counters. Of several looks the last two count. Throws textout::SigIntException.
    ORB_EXPORT void look(const DiagnosisSources& sources, const LookTimes& times);
    // Prints what the last look found, per second since the one before it. A counter whose record
    // was made anew in between has no rate. Interrupts and failures as those of the other shows.
    ORB_EXPORT void render(U32 fd, U32 format, U32 revision);

  private:
    struct Looks;
    std::unique_ptr<Looks> looks_;
};

// The factory, and the creator with the same arguments. policyName: only this policy; empty: all.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyRates> showTrafficPolicyRatesFactory(
    const RateScope& scope, const Orb::String& policyName);
ORB_EXPORT decltype(showTrafficPolicyRatesFactory) ShowTrafficPolicyRatesIs;

}  // namespace TrafficPolicyCli
