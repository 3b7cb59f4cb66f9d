// The words that tell a packet: what they are read as, and which word is wrong.
#include "cli/PacketWords.h"

#include <gtest/gtest.h>

#include <sstream>

#include "traffic-policy/Packet.h"

namespace Cli {
namespace {

using TrafficPolicyCli::AskedPoint;
using TrafficPolicyCli::Diagnosis::Field;
using TrafficPolicyCli::Diagnosis::innerField;
using TrafficPolicyCli::Diagnosis::Packet;

Words wordsOf(const std::string& text) {
    std::istringstream stream("show traffic-policy packet " + text);
    return {std::istream_iterator<std::string>(stream), {}};
}

Match matchOf(const Words& words) {
    const std::vector<std::string_view> lines = {packetGrammar};
    return Grammar(lines).match(words);
}

Packet read(const std::string& text) { return packetOf(matchOf(wordsOf("policy P " + text))); }

TEST(PacketWords, PointsAreToldByKind) {
    using Kind = AskedPoint::Kind;
    const struct {
        std::string words;
        Kind kind;
        std::string name;
    } rows[] = {
        {"interface Ethernet1 input", Kind::input, "Ethernet1"},
        {"interface Ethernet1 out", Kind::output, "Ethernet1"},
        {"cpu default", Kind::cpu, "default"},
        {"vlan Vlan20", Kind::vlan, "20"},
        {"policy P", Kind::policy, "P"},
    };
    for (const auto& row : rows) {
        const AskedPoint point = pointOf(matchOf(wordsOf(row.words + " vlan 10 family ipv4")));
        EXPECT_EQ(point.kind, row.kind) << row.words;
        EXPECT_EQ(point.name, row.name);
    }
}

TEST(PacketWords, FieldsStandInAnyOrderAndBehindInnerAreThoseInside) {
    const struct {
        std::string words;
        Field field;
        U32 number;
    } rows[] = {
        {"protocol tcp source 10.0.0.1", Field::protocol, 6},
        {"protocol icmp destination ::1", Field::protocol, 58},
        {"protocol 50 family ipv4", Field::protocol, 50},
        {"family ipv4 tcp-flags syn,ack", Field::tcpFlags, 18},
        {"family ipv4 tcp-flags none", Field::tcpFlags, 0},
        {"family ipv4 tcp-flags none", Field::protocol, 6},
        {"family ipv4 dscp ef", Field::dscp, 46},
        {"family ipv4 fragment no", Field::fragment, 0},
        {"family ipv4 fragment 0", Field::fragment, 1},
        {"family mac vlan 10", Field::vlan, 11},
        {"family mac vlan 10", Field::secondVlan, 0},
        {"family mac vlan 10,20", Field::secondVlan, 21},
        {"family mac vlan none", Field::vlan, 0},
        {"family ipv4 tracked no", Field::tracked, 0},
        {"inner source-port 9 destination 2001:db8::1 protocol udp detail family ipv6",
         innerField(Field::sourcePort), 9},
        {"source 10.0.0.1 inner destination 2001:db8::1", Field::innerFamily, 6},
        {"source 10.0.0.1 inner ttl 3", Field::destinationPort, 2152},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        try {
            const Packet packet =
                read(row.words.starts_with("inner") ? "source 10.0.0.1 " + row.words : row.words);
            ASSERT_TRUE(packet.isKnown(row.field));
            EXPECT_EQ(packet.number(row.field), row.number);
        } catch (const CommandError& error) {
            ADD_FAILURE() << error.what();
        }
    }
}

TEST(PacketWords, WrongWordsAreShown) {
    const struct {
        std::string words;
        std::string wrong;  // empty: behind the last word
        std::string what;
        std::string expected;
    } rows[] = {
        {"protocol tcp", "", "the family of the packet is not known",
         "source, destination or family"},
        {"source 10.0.0.1 protocol tcp source 10.0.0.2", "source", "\"source\" stands twice",
         "it once"},
        {"source 10.0.0 protocol tcp", "10.0.0", "\"10.0.0\" is no address",
         "an address, as 10.1.2.3 or 2001:db8::1"},
        {"source 10.0.0.1 destination ::1", "::1",
         "\"::1\" is of another family than the words before", "an address of the family ipv4"},
        {"family mac source 10.0.0.1", "10.0.0.1",
         "\"10.0.0.1\" is of another family than the words before", "an address of the family mac"},
        {"family ipv4 protocol tpc", "tpc", "\"tpc\" is unknown",
         "a number 0 to 255, or a name, as tcp"},
        {"family ipv4 source-port 65536", "65536", "\"65536\" is out of range",
         "a number 0 to 65535"},
        {"family ipv4 tcp-flags syn,sin", "syn,sin", "\"syn,sin\" is no list of TCP flags",
         "fin, syn, rst, psh, ack, urg, as syn,ack; or none"},
        {"family ipv4 fragment 8192", "8192", "\"8192\" is no fragment offset",
         "no, or the offset in units of 8 bytes, 0 to 8191, 0 for the first"},
        {"family ipv4 vlan 1,2,3", "1,2,3", "\"1,2,3\" is no tag",
         "VLANs 1 to 4094, as 10, or 10,20 for two tags; or none"},
        {"family ipv4 protocol icmp source-port 9", "source-port",
         "ports without TCP, UDP, UDP-Lite, SCTP or DCCP",
         "fields that a packet can have together"},
        {"family mac ttl 9", "ttl", "no IP header in a frame of this family",
         "fields that a packet can have together"},
        {"family mac inner ttl 9", "inner", "no IP header in a frame of this family",
         "fields that a packet can have together"},
        {"family ipv4 inner", "", "nothing is told of the inner packet",
         "a field of it, as inner source 10.1.2.3"},
        {"family ipv4 inner family mac", "mac", "\"mac\" is in no tunnel", "ipv4 or ipv6"},
        {"family ipv4 inner protocol icmp inner ttl 3", "inner", "\"inner\" stands twice",
         "it once"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.words);
        const Words words = wordsOf("policy P " + row.words);
        try {
            packetOf(matchOf(words));
            ADD_FAILURE() << "no word is wrong";
        } catch (const CommandError& error) {
            const std::size_t position = error.position();
            EXPECT_EQ(position < words.size() ? words[position] : "", row.wrong);
            EXPECT_EQ(error.what(), row.what);
            EXPECT_EQ(error.expected(), row.expected);
        }
    }
}

}  // namespace
}  // namespace Cli
