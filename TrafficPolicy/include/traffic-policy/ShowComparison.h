// What differs between two states, as before and after a maintenance window: policies, rules, field
// sets, attachments, and what the platform did. Things are compared by their names; priorities and
// positions in documents do not matter, the order of rules does.
#pragma once

#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

class ShowTrafficPolicyComparison : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyComparison, ShowTrafficPolicyDiagnosis)
    ORB_KEY(policyName, Orb::String)
    ORB_KEY(detail, bool)
    ORB_ATTRIBUTE(foundDifferences, bool)  // once rendered, at least one was printed

    // The base has the sources after.
    ShowTrafficPolicyComparison(DiagnosisSources before, DiagnosisSources after,
                                Orb::String policyName, bool detail);

  protected:
    void renderReport(textout::RendererV2& renderer) override;

  private:
    DiagnosisSources before_;
};

// policyName: only this policy, and the field sets that its rules name; empty: everything. detail:
// lists what came into field sets and what went, which is counted otherwise.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyComparison> showTrafficPolicyComparisonFactory(
    DiagnosisSources before, DiagnosisSources after, Orb::String policyName, bool detail);
ORB_EXPORT decltype(showTrafficPolicyComparisonFactory) ShowTrafficPolicyComparisonIs;

}  // namespace TrafficPolicyCli
