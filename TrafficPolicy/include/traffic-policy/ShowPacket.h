// The show object that says what happens to a packet at a point: which rules are asked, which one
// decides, and whether the platform does what is configured. docs/matching.md defines the answer.
//
//     Diagnosis::Packet packet(PolicyMap::ClassMapMatchOption::ipv4);
//     packet.valueIs(Diagnosis::Field::source, Diagnosis::FieldValue::address(address));
//     packet.settle();
//     showTrafficPolicyPacketFactory(sources, {AskedPoint::Kind::input, "Ethernet1"}, packet,
//     false)
//         ->render(STDOUT_FILENO, 1, 2);
#pragma once

#include "traffic-policy/Packet.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

// Where a packet is asked about.
struct AskedPoint {
    // input, output: an interface; cpu: a VRF; vlan: its number; policy: a policy wherever it is,
    // as configured.
    enum class Kind : U8 { input, output, cpu, vlan, policy };

    Kind kind = Kind::policy;
    Orb::String name;
};

class ShowTrafficPolicyPacket : public ShowTrafficPolicyDiagnosis {
    ORB_DERIVED_TYPE(ShowTrafficPolicyPacket, ShowTrafficPolicyDiagnosis)
    ORB_KEY(detail, bool)

    ShowTrafficPolicyPacket(DiagnosisSources sources, AskedPoint point, Diagnosis::Packet packet,
                            bool detail);

  protected:
    void renderReport(textout::RendererV2& renderer) override;

  private:
    AskedPoint point_;
    Diagnosis::Packet packet_;
};

// packet: settled without a contradiction. detail: the text lists the rules that say no, too.
ORB_EXPORT Orb::Ptr<ShowTrafficPolicyPacket> showTrafficPolicyPacketFactory(
    DiagnosisSources sources, AskedPoint point, Diagnosis::Packet packet, bool detail);
ORB_EXPORT decltype(showTrafficPolicyPacketFactory) ShowTrafficPolicyPacketIs;

}  // namespace TrafficPolicyCli
