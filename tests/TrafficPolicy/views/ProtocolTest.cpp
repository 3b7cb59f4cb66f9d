// The protocol criterion: its numbers and names, and the TCP flags, ports and ICMP types below it;
// and the header of an encapsulated packet, which has protocols of its own.
#include "ViewsFixture.h"

namespace TrafficPolicyCli {
namespace {

using std::string;

TEST(ViewsProtocol, namesSingleNumbersByFamily) {
    const string filter = R"("protocols":{"200":{},"58":{},"6":{},"1":{},"6-17":{}})";
    const string between = "\n          tcp\n          6-17\n          ";
    EXPECT_EQ(shownRule(criteriaState(filter, "ipv4"), SmallState::text),
              "Protocol: icmp" + between + "58\n          200\n");
    EXPECT_EQ(shownRule(criteriaState(filter, "ipv6"), SmallState::text),
              "Protocol: 1" + between + "ipv6-icmp\n          200\n");
}

// Flags, ports and ICMP types, one level deeper: flags of a group in their order, groups by mask,
// then by value; port fields in the order of the configuration; each ICMP type with its codes. The
// first group and the first field alone were shown at revision 1.
TEST(ViewsProtocol, printsWhatStandsBelowAProtocol) {
    const string begin = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string ackSyn =
        R"("tcpFlags":[{"name":"ack","value":true},{"name":"syn","value":false}])";
    const string firstField =
        R"("srcPorts":[{"low":22,"high":22},{"low":1024,"high":65535}],"srcExtL4PortFieldSet":[)"
        R"({"name":"FS1","numPorts":65536},{"name":"FS9","undefined":true}],)"
        R"("srcL4PortFieldSets":["FS1","FS9"],"destPorts":[{"low":443,"high":443}],)"
        R"("destExtL4PortFieldSet":[{"name":"FS1","numPorts":65536}],)"
        R"("destL4PortFieldSets":["FS1"])";
    const string end =
        R"(,"icmps":[{"icmpTypes":{"low":0,"high":0},"icmpCodes":[]},)"
        R"({"icmpTypes":{"low":3,"high":3},"icmpCodes":[{"low":1,"high":2},{"low":4,"high":4}]},)"
        R"({"icmpTypes":{"low":10,"high":11},"icmpCodes":[]}]},)"
        R"({"protocolRange":{"low":17,"high":17}}])";
    expectCriteria({
        {everyProtocolDetail,
         "Protocol: tcp\n"
         "   TCP flags: ack:1\n"
         "              syn:0\n"
         "   TCP flags: ack:1\n"
         "              syn:1\n"
         "   TCP flags: ack:0\n"
         "              fin:0\n"
         "              psh:1\n"
         "              rst:0\n"
         "              syn:1\n"
         "              urg:1\n"
         "   TCP flags: established\n"
         "   TCP flags: initial-syn\n"
         "   Source port: 22\n"
         "                1024-65535\n"
         "   Source port: field-set FS1\n"
         "                field-set FS9 (field-set 'FS9' has not been defined)\n"
         "   Destination port: 443\n"
         "   Destination port: field-set FS1\n"
         "   Destination port: 80\n"
         "   ICMP type: 0\n"
         "   ICMP code: all\n"
         "   ICMP type: 3\n"
         "   ICMP code: 1-2\n"
         "              4\n"
         "   ICMP type: 10-11\n"
         "   ICMP code: all\n"
         "          udp\n",
         begin + "\"tcpFlagGroups\":[{" + ackSyn +
             R"(},{"tcpFlags":[{"name":"ack","value":true},{"name":"syn","value":true}]},)"
             R"({"tcpFlags":[{"name":"ack","value":false},{"name":"fin","value":false},)"
             R"({"name":"psh","value":true},{"name":"rst","value":false},)"
             R"({"name":"syn","value":true},{"name":"urg","value":true}]},)"
             R"({"tcpFlags":[{"name":"established","value":true}]},)"
             R"({"tcpFlags":[{"name":"initial-syn","value":true}]}],"ports":[{)" +
             firstField + R"(},{"destPorts":[{"low":80,"high":80}]}])" + end,
         begin + ackSyn + "," + firstField + end},
    });
}

// The inner header has its own address family and stands two blanks deeper.
TEST(ViewsInnerMatch, printsTheEncapsulatedHeader) {
    const auto filter = [](const string& family, const string& prefix) {
        return R"("innerMatch":{"encapType":"gtpv1","af":")" + family +
               R"(","structuredFilter":{"srcPrefixSets":["FS6"],"destinations":[")" + prefix +
               R"("],"protocols":{"58":{"icmpTypes":[{"type":1}]}}}})";
    };
    for (const char* const outer : {"ipv4", "ipv6", "mac"}) {
        EXPECT_EQ(shownRule(criteriaState(filter("ipv4", "10.0.0.0/8"), outer), SmallState::text),
                  "Encapsulation GTPv1 inner header IPv4\n"
                  "  Source prefix: field-set FS6 (field-set 'FS6' has not been defined)\n"
                  "  Destination prefix: 10.0.0.0/8\n"
                  "  Protocol: 58\n"
                  "     ICMP type: 1\n"
                  "     ICMP code: all\n");
        EXPECT_EQ(shownRule(criteriaState(filter("ipv6", "::/0"), outer), SmallState::text),
                  "Encapsulation GTPv1 inner header IPv6\n"
                  "  Source prefix: field-set FS6\n"
                  "  Destination prefix: ::/0\n"
                  "  Protocol: ipv6-icmp\n"
                  "     ICMP type: 1\n"
                  "     ICMP code: all\n");
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
