// Frames and capture files, made here byte by byte: what is known of a packet, what stays unknown,
// and what is no packet at all.
#include "cli/capture/Decoder.h"

#include <gmock/gmock.h>
#include <pcap/dlt.h>

#include "TemporaryFolder.h"
#include "cli/capture/CaptureFile.h"

namespace Cli {
namespace {

using namespace TrafficPolicyCli::Diagnosis;
using testing::HasSubstr;
using testing::StartsWith;

// Bytes told in hexadecimal; blanks do not count.
std::string bytesOf(const std::string& hex) {
    std::string bytes;
    std::string digits;
    for (const char digit : hex) {
        if (digit != ' ') digits += digit;
        if (digits.size() < 2) continue;
        bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
        digits.clear();
    }
    return bytes;
}

// "protocol=6 source-port=80 ..." of what is known, but for the addresses, the length and, of the
// inner packet, the tags that it never has.
std::string told(const std::string& hex, int linkType = DLT_EN10MB) {
    const std::string bytes = bytesOf(hex);
    const auto* const begin = reinterpret_cast<const U8*>(bytes.data());
    const Decoded decoded = decode(linkType, {begin, bytes.size()});
    if (!decoded.packet) return decoded.reason;
    std::string text(matchOptionName(decoded.packet->family()));
    for (U32 i = 0; i <= static_cast<U32>(Field::innerFamily); ++i) {
        const auto field = static_cast<Field>(i);
        const auto plain = static_cast<Field>(i % innerFields);
        const bool isLeftOut =
            (plain <= Field::destination && field != Field::innerFamily) ||
            plain == Field::length || (plain >= Field::dscp && plain <= Field::ttl) ||
            ((plain == Field::vlan || plain == Field::secondVlan) && isInnerField(field));
        if (isLeftOut || !decoded.packet->isKnown(field)) continue;
        text += " " + std::string(fieldName(field)) + "=" +
                std::to_string(decoded.packet->number(field));
    }
    return text;
}

const std::string macs = "020000000002 020000000001 ";
const std::string addresses4 = "0a000001 c0000202 ";
const std::string addresses6 = "20010db8000000000000000000000001 20010db8000000000000000000000002 ";
const std::string tcp = "1389 0050 00000000 00000000 5012 0000 0000 0000 ";
const std::string udp = "1389 0035 0008 0000 ";
// An IPv4 header of 20 bytes with the flags and offset, and the protocol.
std::string ipv4(const std::string& fragment, const std::string& protocol,
                 const std::string& length = "0000") {
    return "4500 " + length + " 0000 " + fragment + " 40 " + protocol + " 0000 " + addresses4;
}
std::string ipv6(const std::string& next) { return "60000000 0000 " + next + " 40 " + addresses6; }

// The fields that every packet of a family has, without tags.
const std::string whole = " fragment=0 vlan=0 vlan=0 ip-options=0";

struct Row {
    std::string why, frame, expected;
    int linkType = DLT_EN10MB;
};

TEST(Decoder, tellsWhatAFrameShows) {
    const std::string gtpPorts = "1389 0868 0000 0000 ";
    const std::string gtp = ipv4("0000", "11") + gtpPorts;
    const std::string outer =
        "ipv4 protocol=17 source-port=5001 destination-port=2152 fragment=0 vlan=0 vlan=0 "
        "ip-options=0";
    const std::string innerUdp =
        " inner protocol=17 inner source-port=5001 inner destination-port=53 inner fragment=0 "
        "inner ip-options=0 inner family=4";
    const std::string ports = " protocol=6 source-port=5001 destination-port=80 tcp-flags=18";
    const std::vector<Row> rows = {
        {"TCP", macs + "0800" + ipv4("4000", "06") + tcp, "ipv4" + ports + whole},
        {"TCP cut off behind its ports", macs + "0800" + ipv4("0000", "06") + "1389 0050 00",
         "ipv4 protocol=6 source-port=5001 destination-port=80" + whole},
        {"padding behind the IP packet is not of it",
         macs + "0800" + ipv4("0000", "06", "0016") + tcp, "ipv4 protocol=6" + whole},
        {"a first fragment", macs + "0800" + ipv4("2000", "11") + udp,
         "ipv4 protocol=17 source-port=5001 destination-port=53 fragment=1 vlan=0 vlan=0 "
         "ip-options=0"},
        {"a later fragment", macs + "0800" + ipv4("2003", "11") + udp,
         "ipv4 protocol=17 fragment=4 vlan=0 vlan=0 ip-options=0"},
        {"options", macs + "0800 4600 0000 0000 0000 40 01 0000" + addresses4 + "94040000 0800",
         "ipv4 protocol=1 icmp-type=8 icmp-code=0 fragment=0 vlan=0 vlan=0 ip-options=1"},
        {"a tag", macs + "8100 600a 0800" + ipv4("0000", "32") + udp,
         "ipv4 protocol=50 fragment=0 vlan=11 vlan=0 ip-options=0"},
        {"two tags", macs + "88a8 0064 8100 0014 86dd" + ipv6("3b"),
         "ipv6 protocol=59 fragment=0 vlan=101 vlan=21 ip-options=0"},
        {"of three tags two are told", macs + "8100 0001 8100 0002 8100 0003 0806",
         "mac vlan=2 vlan=3"},
        {"ARP", macs + "0806 0001", "mac vlan=0 vlan=0"},
        {"MPLS", macs + "8847 00010140", "mpls vlan=0 vlan=0"},
        {"a length of IEEE 802.3 is no EtherType", macs + "0026 4242", "mac vlan=0 vlan=0"},
        {"extension headers, then TCP",
         macs + "86dd" + ipv6("00") + "3c00 050200000000 0600 010400000000" + tcp,
         "ipv6" + ports + " fragment=0 vlan=0 vlan=0 ip-options=1"},
        {"an IPv6 first fragment", macs + "86dd" + ipv6("2c") + "1100 0001 00000007" + udp,
         "ipv6 protocol=17 source-port=5001 destination-port=53 fragment=1 vlan=0 vlan=0 "
         "ip-options=0"},
        {"a later one, whose bytes are no header",
         macs + "86dd" + ipv6("2c") + "0600 0011 00000007" + tcp,
         "ipv6 protocol=6 fragment=3 vlan=0 vlan=0 ip-options=0"},
        {"a fragment header of what is whole",
         macs + "86dd" + ipv6("2c") + "0600 0000 00000007" + tcp, "ipv6" + ports + whole},
        {"an authentication header",
         macs + "86dd" + ipv6("33") + "0601 0000 00000000 00000000" + tcp, "ipv6" + ports + whole},
        {"ESP is no extension header", macs + "86dd" + ipv6("32") + udp,
         "ipv6 protocol=50" + whole},
        {"ICMPv6", macs + "86dd" + ipv6("3a") + "8700 0000",
         "ipv6 protocol=58 icmp-type=135 icmp-code=0" + whole},
        {"ICMP of the other family", macs + "86dd" + ipv6("01") + "0800 0000",
         "ipv6 protocol=1" + whole},
        {"extension headers cut off", macs + "86dd" + ipv6("00") + "3c05 0000",
         "ipv6 vlan=0 vlan=0"},
        {"a tunnel", macs + "0800" + gtp + "30ff 0000 00000001" + ipv4("0000", "11") + udp,
         outer + innerUdp},
        {"a tunnel with a sequence number",
         macs + "0800" + gtp + "32ff 0000 00000001 00070000" + ipv4("0000", "11") + udp,
         outer + innerUdp},
        {"a tunnel with two extension headers",
         macs + "0800" + gtp + "34ff 0000 00000001 00000085 01100985 01100900" +
             ipv4("0000", "11") + udp,
         outer + innerUdp},
        {"an inner packet of IPv6", macs + "0800" + gtp + "30ff 0000 00000001" + ipv6("3b"),
         outer + " inner protocol=59 inner fragment=0 inner ip-options=0 inner family=6"},
        {"an inner packet cut off in its header",
         macs + "0800" + gtp + "30ff 0000 00000001 4500 0000", outer + " inner family=4"},
        {"an echo request has no inner packet", macs + "0800" + gtp + "3201 0004 00000000 00000000",
         outer + " inner family=0"},
        {"nor has what is not of version 1", macs + "0800" + gtp + "48ff 0000 00000001 00000000",
         outer + " inner family=0"},
        {"a tunnel's header cut off", macs + "0800" + gtp + "30ff 00", outer},
        {"an extension header without length ends nothing",
         macs + "0800" + gtp + "34ff 0000 00000001 00000085 00100985" + ipv4("0000", "11"), outer},
        {"IPv6 without Ethernet", ipv6("06") + tcp, "ipv6" + ports + whole, DLT_RAW},
        {"loopback", "1e000000" + ipv6("06") + tcp, "ipv6" + ports + whole, DLT_NULL},
        {"cooked, tagged",
         "0000 0001 0006 020000000001 0000 8100 000a 0800" + ipv4("0000", "06") + tcp,
         "ipv4" + ports + " fragment=0 vlan=11 vlan=0 ip-options=0", DLT_LINUX_SLL},
    };
    for (const Row& row : rows) EXPECT_EQ(told(row.frame, row.linkType), row.expected) << row.why;
}

TEST(Decoder, tellsWhatIsNoPacket) {
    const std::string broken = "a header is malformed or cut off";
    const Row rows[] = {
        {"nothing", "", broken},
        {"an address", macs.substr(0, 12), broken},
        {"half a tag", macs + "8100 00", broken},
        {"half a header", macs + "0800 4500 0000 0000", broken},
        {"a header shorter than the shortest", macs + "0800 4400" + ipv4("0000", "06"), broken},
        {"options that are cut off", macs + "0800 4f" + ipv4("0000", "06").substr(2), broken},
        {"a length shorter than the header", macs + "0800" + ipv4("0000", "06", "0013") + tcp,
         broken},
        {"half a header of IPv6", macs + "86dd" + ipv6("06").substr(0, 60), broken},
        {"no IP", "50000000", broken, DLT_RAW},
        {"nothing behind the loopback header", "02000000", broken, DLT_NULL},
        {"half a cooked header", "0000 0001 0006", broken, DLT_LINUX_SLL},
    };
    for (const Row& row : rows) EXPECT_EQ(told(row.frame, row.linkType), row.expected) << row.why;
    EXPECT_FALSE(canDecode(DLT_IEEE802_11));
}

// The lengths of the frames in a file, as captured and on the wire, and how reading ended.
std::string framesOf(const std::string& hex) {
    const TemporaryFolder folder;
    fileIs(folder.file("capture"), bytesOf(hex));
    std::string text;
    try {
        CaptureFile file(folder.file("capture"));
        text = file.linkTypeName();
        CaptureFile::Frame frame;
        while (file.next(frame)) {
            text += " " + std::to_string(frame.bytes.size()) + "/" + std::to_string(frame.length);
        }
        return text + " end";
    } catch (const std::exception& error) {
        return text + " " + error.what();
    }
}

TEST(CaptureFile, readsBothFormatsInBothByteOrders) {
    const std::string pcap = "a1b2c3d4 0002 0004 00000000 00000000 0000ffff 00000001 ";
    const std::string pcapOfIntel = "d4c3b2a1 0200 0400 00000000 00000000 ffff0000 01000000 ";
    const std::string packet = "00000001 00000002 00000002 0000003c abcd ";
    EXPECT_EQ(framesOf(pcap + packet + packet), "EN10MB 2/60 2/60 end");
    EXPECT_EQ(framesOf(pcapOfIntel + "01000000 02000000 02000000 3c000000 abcd"),
              "EN10MB 2/60 end");
    EXPECT_EQ(framesOf(pcap), "EN10MB end");
    // A section, an interface of raw IP, a packet, a block that nobody knows, a simple packet.
    const std::string blocks =
        "0a0d0d0a 1c000000 4d3c2b1a 0100 0000 ffffffffffffffff 1c000000 "
        "01000000 14000000 6500 0000 ffff0000 14000000 "
        "06000000 24000000 00000000 00000000 00000000 02000000 3c000000 abcd0000 24000000 "
        "ad0b0000 0c000000 0c000000 "
        "03000000 14000000 03000000 abcdef00 14000000";
    EXPECT_EQ(framesOf(blocks), "RAW 2/60 3/3 end");
    EXPECT_THAT(framesOf(blocks.substr(0, blocks.size() - 8)), StartsWith("RAW 2/60 truncated"));
    EXPECT_THAT(framesOf(pcap + packet + "00000001"), StartsWith("EN10MB 2/60 truncated"));
    EXPECT_THAT(framesOf(pcap + "00000001 00000002 7fffffff 7fffffff"), HasSubstr("invalid"));
    for (const std::string none : {"", "a1b2c3", "7b7d0a0a 00000000"}) {
        EXPECT_THAT(framesOf(none), StartsWith(" ")) << none;
    }
}

}  // namespace
}  // namespace Cli
