// The show object that counts the packets of a capture by the rules that would take them. It is
// given the packets one by one, keeps nothing but counts, and then prints.
#pragma once

#include <map>
#include <memory>

#include "traffic-policy/ShowPacket.h"

namespace TrafficPolicyCli {

class ShowTrafficPolicyCapture : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyCapture, ShowTrafficPolicyDiagnosis)

    ShowTrafficPolicyCapture(DiagnosisSources sources, AskedPoint point);
    ~ShowTrafficPolicyCapture() override;

    // A packet, settled, with the bytes of its frame.
    ORB_EXPORT void packetIs(const Diagnosis::Packet& packet, U64 bytes);
    // A frame that could not be decoded, and why.
    ORB_EXPORT void undecodedIs(const Orb::String& reason);

  protected:
    void renderReport(textout::RendererV2& renderer) override;

  private:
    struct Family;
    Family& familyOf(PolicyMap::ClassMapMatchOption option);
    void renderTogether(textout::RendererV2& renderer);

    AskedPoint point_;
    std::map<PolicyMap::ClassMapMatchOption, std::unique_ptr<Family>> families_;
    PolicyMap::PacketAndByte total_;
    std::map<Orb::String, U64> undecoded_;
    std::vector<U32> decidedBy_;
    // Where several policies are configured, by truth: what one of them drops, and the packet at
    // hand.
    std::vector<PolicyMap::PacketAndByte> together_;
    std::vector<bool> dropped_;
};

ORB_EXPORT Orb::Ptr<ShowTrafficPolicyCapture> showTrafficPolicyCaptureFactory(
    DiagnosisSources sources, AskedPoint point);
ORB_EXPORT decltype(showTrafficPolicyCaptureFactory) ShowTrafficPolicyCaptureIs;

}  // namespace TrafficPolicyCli
