#include "traffic-policy/ShowDiagnosis.h"

#include "frame/Trace.h"

namespace TrafficPolicyCli {

ORB_DEFINE_TYPE(ShowTrafficPolicyDiagnosis)
ORB_DEFINE_TYPE(ShowTrafficPolicyAttachments)

void ShowTrafficPolicyDiagnosis::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    try {
        textout::TextOutBuffer out(fd);
        textout::RendererV2 renderer(out, format, revision);
        renderer.documentBegin();
        renderReport(renderer);
        renderer.documentEnd();
        renderer.flush();
    } catch (const textout::SigIntException& interrupt) {
        textout::printExiting(interrupt.what());
    }
}

Orb::Ptr<ShowTrafficPolicyAttachments> showTrafficPolicyAttachmentsFactory(
    DiagnosisSources sources, Orb::String interfaceName, Orb::String vrfName, Orb::String vlan) {
    return Orb::make<ShowTrafficPolicyAttachments>(std::move(sources), std::move(interfaceName),
                                                   std::move(vrfName), std::move(vlan));
}

namespace {

const bool registered = Orb::registerFactory<&showTrafficPolicyAttachmentsFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
