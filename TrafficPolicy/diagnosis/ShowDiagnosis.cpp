#include "traffic-policy/ShowDiagnosis.h"

#include "frame/Creator.h"
#include "frame/Report.h"
#include "frame/Trace.h"
#include "traffic-policy/ShowComparison.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(ShowTrafficPolicyDiagnosis)
ORB_DEFINE_TYPE(ShowTrafficPolicyAttachments)
ORB_DEFINE_TYPE(ShowTrafficPolicyProblems)
ORB_DEFINE_TYPE(ShowTrafficPolicyReferences)
ORB_DEFINE_TYPE(ShowTrafficPolicyFieldSetHolding)
ORB_DEFINE_TYPE(ShowTrafficPolicyComparison)

void ShowTrafficPolicyDiagnosis::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    untilInterrupted([&] {
        printReport(fd, format, revision,
                    [&](textout::RendererV2& renderer) { renderReport(renderer); });
    });
}

DEFINE_FACTORY_AND_CREATOR(
    ShowTrafficPolicyAttachments, showTrafficPolicyAttachmentsFactory,
    (DiagnosisSources sources, Orb::String interfaceName, Orb::String vrfName, Orb::String vlan), {
        return Orb::make<ShowTrafficPolicyAttachments>(std::move(sources), std::move(interfaceName),
                                                       std::move(vrfName), std::move(vlan));
    })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyProblems, showTrafficPolicyProblemsFactory,
                           (DiagnosisSources sources, Orb::String policyName), {
                               return Orb::make<ShowTrafficPolicyProblems>(std::move(sources),
                                                                           std::move(policyName));
                           })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyReferences, showTrafficPolicyReferencesFactory,
                           (DiagnosisSources sources, ReferenceKind kind, Orb::String name), {
                               return Orb::make<ShowTrafficPolicyReferences>(std::move(sources),
                                                                             kind, std::move(name));
                           })

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyFieldSetHolding,
                           showTrafficPolicyFieldSetHoldingFactory,
                           (DiagnosisSources sources, HoldingKind kind,
                            const Wire::IpGenAddr& address, U32 number, const Wire::EthAddr& mac),
                           {
                               return Orb::make<ShowTrafficPolicyFieldSetHolding>(
                                   std::move(sources), kind, address, number, mac);
                           })

DEFINE_FACTORY_AND_CREATOR(
    ShowTrafficPolicyComparison, showTrafficPolicyComparisonFactory,
    (DiagnosisSources before, DiagnosisSources after, Orb::String policyName, bool detail), {
        return Orb::make<ShowTrafficPolicyComparison>(std::move(before), std::move(after),
                                                      std::move(policyName), detail);
    })

namespace {

const bool areDiagnosesRegistered =
    Orb::registerFactory<&showTrafficPolicyAttachmentsFactory>() &&
    Orb::registerFactory<&showTrafficPolicyProblemsFactory>() &&
    Orb::registerFactory<&showTrafficPolicyReferencesFactory>() &&
    Orb::registerFactory<&showTrafficPolicyFieldSetHoldingFactory>() &&
    Orb::registerFactory<&showTrafficPolicyComparisonFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
