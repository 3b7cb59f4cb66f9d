// The protocol criterion: its numbers and names, and the TCP flags, ports and ICMP types below it;
// and the header of an encapsulated packet, which has protocols of its own.
#include "ViewsFixture.h"

namespace TrafficPolicyCli {
namespace {

using namespace Classification;
using std::string;

void addIcmpType(ProtoField& field, U32 low, U32 high, std::initializer_list<U32> codes = {}) {
    IcmpTypeRange type(low, high);
    for (const U32 code : codes) type.codes.is(IcmpCodeRange(code, code + code % 2));
    field.icmpTypesIs(type);
}

TEST(ViewsProtocol, namesSingleNumbersByFamily) {
    const auto protocols = [](Filter& filter) {
        for (const U32 number : {200, 58, 6, 1}) addProtocol(filter, number, number);
        addProtocol(filter, 6, 17);
    };
    const string json =
        R"("protocols":[{"protocolRange":{"low":1,"high":1}},{"protocolRange":{"low":6,"high":6}},)"
        R"({"protocolRange":{"low":6,"high":17}},{"protocolRange":{"low":58,"high":58}},)"
        R"({"protocolRange":{"low":200,"high":200}}])";
    expectPrinted({
        {"IPv4", protocols,
         "   Protocol: icmp\n             tcp\n             6-17\n             58\n"
         "             200\n",
         json},
        {"IPv6", protocols,
         "   Protocol: 1\n             tcp\n             6-17\n             ipv6-icmp\n"
         "             200\n",
         json, json, MatchOption::ipv6},
        {"a range needs no family",
         [](Filter& filter) { addProtocol(filter, 6, 17); },
         "   Protocol: 6-17\n",
         R"("protocols":[{"protocolRange":{"low":6,"high":17}}])",
         {},
         MatchOption::mac},
    });
}

TEST(ViewsProtocol, printsPortsPerFieldInTheOrderOfTheConfiguration) {
    const string tcp = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string firstField =
        R"("srcPorts":[{"low":22,"high":22},{"low":1024,"high":65535}],)"
        R"("srcExtL4PortFieldSet":[{"name":"FS1","numPorts":65536},{"name":"FS9","undefined":true}],)"
        R"("srcL4PortFieldSets":["FS1","FS9"],"destPorts":[{"low":443,"high":443}],)"
        R"("destExtL4PortFieldSet":[{"name":"FS1","numPorts":65536}],"destL4PortFieldSets":["FS1"])";
    expectPrinted({
        {"two fields",
         [](Filter& filter) {
             addProtocol(filter, 6, 6, [](ProtoField& field) {
                 addPorts(field, [](PortField& ports) {
                     ports.sportIs(PortRange(1024, 65535));
                     ports.sportIs(PortRange(22, 22));
                     ports.sportFieldSetsIs("FS9");
                     ports.sportFieldSetsIs("FS1");
                     ports.dportIs(PortRange(443, 443));
                     ports.dportFieldSetsIs("FS1");
                 });
                 addPorts(field, [](PortField& ports) { ports.dportIs(PortRange(80, 80)); });
             });
             addProtocol(filter, 17, 17);
         },
         "   Protocol: tcp\n"
         "      Source port: 22\n"
         "                   1024-65535\n"
         "      Source port: field-set FS1\n"
         "                   field-set FS9 (field-set 'FS9' has not been defined)\n"
         "      Destination port: 443\n"
         "      Destination port: field-set FS1\n"
         "      Destination port: 80\n"
         "             udp\n",
         tcp + R"("ports":[{)" + firstField +
             R"(},{"destPorts":[{"low":80,"high":80}]}]},{"protocolRange":{"low":17,"high":17}}])",
         tcp + firstField + R"(},{"protocolRange":{"low":17,"high":17}}])"},
    });
}

TEST(ViewsProtocol, printsTcpFlagGroups) {
    const string tcp = R"("protocols":[{"protocolRange":{"low":6,"high":6},)";
    const string ackSyn =
        R"("tcpFlags":[{"name":"ack","value":true},{"name":"syn","value":false}])";
    expectPrinted({
        {"one group of two flags",
         [](Filter& filter) {
             addProtocol(filter, 6, 6, [](ProtoField& field) { addFlags(field, 0x012, 0x010); });
         },
         "   Protocol: tcp\n"
         "      TCP flags: ack:1\n"
         "                 syn:0\n",
         tcp + R"("tcpFlagGroups":[{)" + ackSyn + "}]}]", tcp + ackSyn + "}]"},
        {"groups by mask, then by value; keywords alone; all flags in their order",
         [](Filter& filter) {
             addProtocol(filter, 6, 6, [](ProtoField& field) {
                 addFlags(field, 0x200, 0x200);
                 addFlags(field, 0x100, 0x100);
                 addFlags(field, 0x03f, 0x02a);
                 addFlags(field, 0x012, 0x012);
                 addFlags(field, 0x012, 0x010);
             });
         },
         "   Protocol: tcp\n"
         "      TCP flags: ack:1\n"
         "                 syn:0\n"
         "      TCP flags: ack:1\n"
         "                 syn:1\n"
         "      TCP flags: ack:0\n"
         "                 fin:0\n"
         "                 psh:1\n"
         "                 rst:0\n"
         "                 syn:1\n"
         "                 urg:1\n"
         "      TCP flags: established\n"
         "      TCP flags: initial-syn\n",
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

TEST(ViewsProtocol, printsIcmpTypesEachWithItsCodes) {
    const string text =
        "   Protocol: icmp\n"
        "      ICMP type: 0\n"
        "      ICMP code: all\n"
        "      ICMP type: 3\n"
        "      ICMP code: 1-2\n"
        "                 4\n"
        "      ICMP type: 10-11\n"
        "      ICMP code: all\n";
    const string json =
        R"("protocols":[{"protocolRange":{"low":1,"high":1},"icmps":[)"
        R"({"icmpTypes":{"low":0,"high":0},"icmpCodes":[]},)"
        R"({"icmpTypes":{"low":3,"high":3},"icmpCodes":[{"low":1,"high":2},{"low":4,"high":4}]},)"
        R"({"icmpTypes":{"low":10,"high":11},"icmpCodes":[]}]}])";
    expectPrinted({{"types",
                    [](Filter& filter) {
                        addProtocol(filter, 1, 1, [](ProtoField& field) {
                            addIcmpType(field, 10, 11);
                            addIcmpType(field, 3, 3, {4, 1});
                            addIcmpType(field, 0, 0);
                        });
                    },
                    text, json}});
}

TEST(ViewsProtocol, printsFlagsThenPortsThenIcmp) {
    const string text =
        criteria(matchOf([](Filter& filter) {
                     addProtocol(filter, 6, 6, [](ProtoField& field) {
                         addIcmpType(field, 8, 8);
                         addPorts(field, [](PortField& ports) { ports.dportIs(PortRange(1, 1)); });
                         addFlags(field, 1, 1);
                     });
                 }),
                 textFormat, 2);
    EXPECT_EQ(text,
              "   Protocol: tcp\n"
              "      TCP flags: fin:1\n"
              "      Destination port: 1\n"
              "      ICMP type: 8\n"
              "      ICMP code: all\n");
}

// The inner header has its own address family and stands two blanks deeper.
TEST(ViewsInnerMatch, printsTheEncapsulatedHeader) {
    const auto inner = [](Filter& filter) {
        filter.srcPrefixSetsIs("FS6");
        filter.destinationsIs(prefix("10.0.0.0/8"));
        addProtocol(filter, 58, 58, [](ProtoField& field) {
            addPorts(field, [](PortField& ports) { ports.dportIs(PortRange(53, 53)); });
        });
        filter.dscpIs(DscpRange(1, 1));
        filter.trackedIs(true);
        addVlanTag(filter, [](VlanRangeSet& tag) { tag.vlansIs(VlanRange(1, 1)); });
    };
    const auto withInner = [&](U8 af, U8 encapType) {
        return [=](Filter& filter) { setInnerMatch(filter, af, encapType, inner); };
    };
    const auto jsonOf = [](const string& encapsulation, const string& family, const string& sets,
                           const string& ports) {
        return R"("encapsulation":{)" + encapsulation + R"(},"innerMatch":{"addressFamily":")" +
               family + R"(","srcExtPrefixSet":[{"name":"FS6",)" + sets +
               R"(}],"srcPrefixSets":["FS6"],"destPrefixes":["10.0.0.0/8"],)"
               R"("protocols":[{"protocolRange":{"low":58,"high":58},)" +
               ports + "}]}";
    };
    const string gtpv1 = R"("encapsulationType":"gtpv1")";
    const string undefined = R"("undefined":true)";
    const string defined = R"("numPrefixes":6,"numExceptPrefixes":2)";
    const string flatPorts = R"("destPorts":[{"low":53,"high":53}])";
    const string ports = R"("ports":[{)" + flatPorts + "}]";
    const string ipv4Text =
        "     Source prefix: field-set FS6 (field-set 'FS6' has not been defined)\n"
        "     Destination prefix: 10.0.0.0/8\n"
        "     Protocol: 58\n"
        "        Destination port: 53\n";
    const string ipv6Text =
        "     Source prefix: field-set FS6\n"
        "     Destination prefix: 10.0.0.0/8\n"
        "     Protocol: ipv6-icmp\n"
        "        Destination port: 53\n";
    for (const MatchOption outer : {MatchOption::ipv4, MatchOption::ipv6, MatchOption::mac}) {
        expectPrinted({
            {"IPv4 in GTPv1", withInner(1, 0),
             "   Encapsulation GTPv1 inner header IPv4\n" + ipv4Text,
             jsonOf(gtpv1, "ipv4", undefined, ports), jsonOf(gtpv1, "ipv4", undefined, flatPorts),
             outer},
            {"IPv6 in GTPv1", withInner(2, 0),
             "   Encapsulation GTPv1 inner header IPv6\n" + ipv6Text,
             jsonOf(gtpv1, "ipv6", defined, ports), jsonOf(gtpv1, "ipv6", defined, flatPorts),
             outer},
            {"any other family is IPv6, any other encapsulation has no name", withInner(7, 1),
             "   Encapsulation  inner header IPv6\n" + ipv6Text, jsonOf("", "ipv6", defined, ports),
             jsonOf("", "ipv6", defined, flatPorts), outer},
        });
    }
}

}  // namespace
}  // namespace TrafficPolicyCli
