// The protocol criterion: its numbers and names, and the TCP flags, ports and ICMP types below it;
// and the header of an encapsulated packet, which has protocols of its own.
#include "ViewsFixture.h"

namespace TrafficPolicyCli {
namespace {

using std::string;

TEST(ViewsProtocol, namesSingleNumbersByFamily) {
    const string protocols = R"("protocols":{"200":{},"58":{},"6":{},"1":{},"6-17":{}})";
    const string json =
        R"("protocols":[{"protocolRange":{"low":1,"high":1}},{"protocolRange":{"low":6,"high":6}},)"
        R"({"protocolRange":{"low":6,"high":17}},{"protocolRange":{"low":58,"high":58}},)"
        R"({"protocolRange":{"low":200,"high":200}}])";
    const string between = "\n          tcp\n          6-17\n          ";
    expectCriteria({
        {"IPv4", protocols, "Protocol: icmp" + between + "58\n          200\n", json},
        {"IPv6",
         protocols,
         "Protocol: 1" + between + "ipv6-icmp\n          200\n",
         json,
         {},
         "ipv6"},
    });
}

TEST(ViewsProtocol, printsPortsPerFieldInTheOrderOfTheConfiguration) {
    const string tcp = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string firstField =
        R"("srcPorts":[{"low":22,"high":22},{"low":1024,"high":65535}],)"
        R"("srcExtL4PortFieldSet":[{"name":"FS1","numPorts":65536},{"name":"FS9","undefined":true}],)"
        R"("srcL4PortFieldSets":["FS1","FS9"],"destPorts":[{"low":443,"high":443}],)"
        R"("destExtL4PortFieldSet":[{"name":"FS1","numPorts":65536}],"destL4PortFieldSets":["FS1"])";
    expectCriteria({
        {"two fields",
         R"("protocols":{"17":{},"6":{"portFields":[{"sport":["1024-65535",22],
            "sportFieldSets":["FS9","FS1"],"dport":[443],"dportFieldSets":["FS1"]},{"dport":[80]}]}})",
         "Protocol: tcp\n"
         "   Source port: 22\n"
         "                1024-65535\n"
         "   Source port: field-set FS1\n"
         "                field-set FS9 (field-set 'FS9' has not been defined)\n"
         "   Destination port: 443\n"
         "   Destination port: field-set FS1\n"
         "   Destination port: 80\n"
         "          udp\n",
         tcp + R"("ports":[{)" + firstField +
             R"(},{"destPorts":[{"low":80,"high":80}]}]},{"protocolRange":{"low":17,"high":17}}])",
         tcp + firstField + R"(},{"protocolRange":{"low":17,"high":17}}])"},
    });
}

// Flags of a group in their order, groups by mask, then by value.
TEST(ViewsProtocol, printsTcpFlagGroups) {
    const string tcp = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string ackSyn =
        R"("tcpFlags":[{"name":"ack","value":true},{"name":"syn","value":false}])";
    expectCriteria({
        {"groups",
         R"("protocols":{"6":{"tcpFlags":[{"mask":512,"flag":512},{"mask":256,"flag":256},
            {"mask":63,"flag":42},{"mask":18,"flag":18},{"mask":18,"flag":16}]}})",
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
         "   TCP flags: initial-syn\n",
         tcp + R"("tcpFlagGroups":[{)" + ackSyn +
             R"(},{"tcpFlags":[{"name":"ack","value":true},{"name":"syn","value":true}]},)"
             R"({"tcpFlags":[{"name":"ack","value":false},{"name":"fin","value":false},)"
             R"({"name":"psh","value":true},{"name":"rst","value":false},)"
             R"({"name":"syn","value":true},{"name":"urg","value":true}]},)"
             R"({"tcpFlags":[{"name":"established","value":true}]},)"
             R"({"tcpFlags":[{"name":"initial-syn","value":true}]}]}])",
         tcp + ackSyn + "}]"},
    });
}

// Flags, then ports, then ICMP types, each of these with its codes.
TEST(ViewsProtocol, printsIcmpTypesLast) {
    const string flags = R"("tcpFlags":[{"name":"fin","value":true}])";
    const string ports = R"("destPorts":[{"low":1,"high":1}])";
    const string begin = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string icmp =
        R"("icmps":[{"icmpTypes":{"low":0,"high":0},"icmpCodes":[]},)"
        R"({"icmpTypes":{"low":3,"high":3},"icmpCodes":[{"low":1,"high":2},{"low":4,"high":4}]},)"
        R"({"icmpTypes":{"low":10,"high":11},"icmpCodes":[]}]}])";
    expectCriteria({
        {"types",
         R"("protocols":{"6":{"icmpTypes":[{"type":"10-11"},{"type":3,"codes":[4,"1-2"]},{"type":0}],
            "portFields":[{"dport":[1]}],"tcpFlags":[{"mask":1,"flag":1}]}})",
         "Protocol: tcp\n"
         "   TCP flags: fin:1\n"
         "   Destination port: 1\n"
         "   ICMP type: 0\n"
         "   ICMP code: all\n"
         "   ICMP type: 3\n"
         "   ICMP code: 1-2\n"
         "              4\n"
         "   ICMP type: 10-11\n"
         "   ICMP code: all\n",
         begin + "\"tcpFlagGroups\":[{" + flags + "}],\"ports\":[{" + ports + "}]," + icmp,
         begin + flags + "," + ports + "," + icmp},
    });
}

// The inner header has its own address family and stands two blanks deeper.
TEST(ViewsInnerMatch, printsTheEncapsulatedHeader) {
    const auto filter = [](const string& family, const string& prefix) {
        return R"("innerMatch":{"encapType":"gtpv1","af":")" + family +
               R"(","structuredFilter":{"srcPrefixSets":["FS6"],"destinations":[")" + prefix +
               R"("],"protocols":{"58":{"portFields":[{"dport":[53]}]}}}})";
    };
    const auto jsonOf = [](const string& family, const string& prefix, const string& sets,
                           const string& ports) {
        return R"("encapsulation":{"encapsulationType":"gtpv1"},"innerMatch":{"addressFamily":")" +
               family + R"(","srcExtPrefixSet":[{"name":"FS6",)" + sets +
               R"(}],"srcPrefixSets":["FS6"],"destPrefixes":[")" + prefix +
               R"("],"protocols":[{"protocolRange":{"low":58,"high":58},)" + ports + "}]}";
    };
    const auto textOf = [](const string& family, const string& prefix, const string& undefined,
                           const string& protocol) {
        return "Encapsulation GTPv1 inner header " + family + "\n  Source prefix: field-set FS6" +
               undefined + "\n  Destination prefix: " + prefix + "\n  Protocol: " + protocol +
               "\n     Destination port: 53\n";
    };
    const string flatPorts = R"("destPorts":[{"low":53,"high":53}])";
    const string ports = R"("ports":[{)" + flatPorts + "}]";
    const string undefined = R"("undefined":true)";
    const string defined = R"("numPrefixes":0,"numExceptPrefixes":1)";
    for (const char* const outer : {"ipv4", "ipv6", "mac"}) {
        expectCriteria({
            {"IPv4", filter("ipv4", "10.0.0.0/8"),
             textOf("IPv4", "10.0.0.0/8", " (field-set 'FS6' has not been defined)", "58"),
             jsonOf("ipv4", "10.0.0.0/8", undefined, ports),
             jsonOf("ipv4", "10.0.0.0/8", undefined, flatPorts), outer},
            {"IPv6", filter("ipv6", "::/0"), textOf("IPv6", "::/0", "", "ipv6-icmp"),
             jsonOf("ipv6", "::/0", defined, ports), jsonOf("ipv6", "::/0", defined, flatPorts),
             outer},
        });
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
