// Addresses, prefixes and interface ids: what parses and how it prints, what is refused, the order
// of lists, and which prefixes overlap.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>
#include <sstream>

#include "wire/EthAddr.h"
#include "wire/IntfId.h"
#include "wire/IpGenPrefix.h"

namespace {

using Wire::EthAddr;
using Wire::IntfId;
using Wire::IpGenAddr;
using Wire::IpGenPrefix;

IpGenPrefix prefix(std::string_view text) {
    const auto parsed = IpGenPrefix::parse(text);
    EXPECT_TRUE(parsed) << text;
    return parsed.value_or(IpGenPrefix());
}

// What stands between commas.
std::vector<std::string> pieces(const std::string& text) {
    std::vector<std::string> pieces;
    std::istringstream in(text);
    for (std::string piece; std::getline(in, piece, ',');) pieces.push_back(piece);
    return pieces;
}

TEST(IpGenAddr, printsItsStandardForm) {
    static constexpr std::pair<std::string_view, std::string_view> rows[] = {
        {"::", "::"},
        {"0:0:0:0:0:0:0:0", "::"},
        {"2001:0DB8:0000:0000:0008:0800:200C:417A", "2001:db8::8:800:200c:417a"},
        // The longest run of zeros, the first of equal ones, never a single group.
        {"2001:db8:0:0:1:0:0:1", "2001:db8::1:0:0:1"},
        {"2001:0:0:1:0:0:0:1", "2001:0:0:1::1"},
        {"2001:db8::1:1:1:1:1", "2001:db8:0:1:1:1:1:1"},
        {"::2:3:4:5:6:7:8", "0:2:3:4:5:6:7:8"},
        {"1:2:3:4:5:6:7::", "1:2:3:4:5:6:7:0"},
        {"0:0:3:4:5:6:0:0", "::3:4:5:6:0:0"},
        // Dotted decimal goes in anywhere at the end, and comes out of mapped addresses only.
        {"::ffff:192.0.2.1", "::ffff:192.0.2.1"},
        {"::FFFF:c000:0201", "::ffff:192.0.2.1"},
        {"64:ff9b::192.0.2.33", "64:ff9b::c000:221"},
        {"1:2:3:4:5:6:7.8.9.10", "1:2:3:4:5:6:708:90a"},
    };
    for (const auto& [given, printed] : rows) {
        const auto address = IpGenAddr::parse(given);
        ASSERT_TRUE(address) << given;
        EXPECT_EQ(address->stringValue(), printed);
        EXPECT_EQ(IpGenAddr::parse(printed), address);
    }
    EXPECT_EQ(IpGenAddr().stringValue(), "");
}

TEST(IpGenAddr, refusesEverythingElse) {
    const std::string refused =
        ",1,1.2.3,1.2.3.,1.2.3.4.,.1.2.3,1..2.3,1.2.3.4.5,256.1.1.1,1.1.1.256,01.1.1.1,"
        "1.1.1.00,1.1.1.0001,1.2.3.x, 1.2.3.4,1.2.3.4 ,+1.2.3.4,1.2.3.4/8,:,:::,1:,:1,"
        ":1:2:3:4:5:6:7,1:2:3:4:5:6:7,1:2:3:4:5:6:7:8:9,1:2:3:4:5:6:7:8:,1:2:3:4:5:6:7:8::,"
        "1::2:3:4:5:6:7:8,1::2::3,::1::,12345::,g::,::g,fe80::1%eth0,[::1],::1.2.3,"
        "::1.2.3.256,::01.2.3.4,1.2.3.4::,::1.2.3.4:5,1:2:3:4:5:6:7:1.2.3.4,"
        "1:2:3:4:5:1.2.3.4,:: ,::1:";
    for (const auto& text : pieces(refused)) EXPECT_FALSE(IpGenAddr::parse(text)) << text;
    EXPECT_FALSE(IpGenAddr::parse(std::string_view("1.2.3.4\0", 8)));
}

TEST(IpGenPrefix, keepsHostBitsAndOffersTheMaskedForm) {
    static constexpr struct {
        std::string_view given, masked;
    } rows[] = {{"255.255.255.255/0", "0.0.0.0/0"},
                {"10.1.2.3/31", "10.1.2.2/31"},
                {"10.1.2.3/9", "10.0.0.0/9"},
                {"::1/127", "::/127"},
                {"2001:db8:1:2:3:4:5:6/64", "2001:db8:1:2::/64"},
                {"2001:db8:1:2:ffff::/65", "2001:db8:1:2:8000::/65"},
                {"2001:db8:1:3::/63", "2001:db8:1:2::/63"},
                {"::ffff:10.1.2.3/104", "::ffff:10.0.0.0/104"}};
    for (const auto& [text, masked] : rows) {
        const IpGenPrefix given = prefix(text);
        EXPECT_EQ(given.stringValue(), text);
        EXPECT_EQ(given.masked().stringValue(), masked);
        EXPECT_EQ(given.hasHostBits(), text != masked);
    }
}

TEST(IpGenPrefix, refusesBadLengths) {
    const std::string refused =
        ",/,10.0.0.0,10.0.0.0/,/8,10.0.0.0/33,10.0.0.0/08,10.0.0.0/00,10.0.0.0/-1,"
        "10.0.0.0/+8,10.0.0.0/8 ,10.0.0.0/ 8,10.0.0.0/8x,10.0.0.0/255.0.0.0,10.0.0.0/8/8,"
        "10/8,::/129,::/256,::/0128,::/1280,::,::/,::/4294967304";
    for (const auto& text : pieces(refused)) EXPECT_FALSE(IpGenPrefix::parse(text)) << text;
    EXPECT_DEATH(IpGenPrefix(IpGenAddr::ipv4(0), 33), "length <= maxLength\\(family_\\)");
    EXPECT_DEATH(IpGenPrefix(IpGenAddr(), 0), "!isNullPrefix\\(\\)");
}

TEST(IpGenPrefix, ordersByFamilyThenAddressThenLength) {
    static constexpr std::string_view ascending[] = {
        "0.0.0.0/0",  "0.0.0.0/8",    "9.255.255.255/32",   "10.0.0.0/8",    "10.0.0.0/16",
        "10.0.0.1/8", "128.0.0.0/1",  "255.255.255.255/32", "::/0",          "::/128",
        "::1/128",    "0:0:0:1::/64", "2001:db8::/32",      "2001:db8::/33", "ffff::/16",
    };
    std::vector<IpGenPrefix> sorted{IpGenPrefix()};
    for (const auto text : ascending) sorted.push_back(prefix(text));
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        for (std::size_t j = 0; j < sorted.size(); ++j) {
            EXPECT_EQ(sorted[i] <=> sorted[j], i <=> j)
                << sorted[i].stringValue() << " " << sorted[j].stringValue();
            EXPECT_EQ(sorted[i] == sorted[j], i == j);
            if (sorted[i].address() != sorted[j].address()) {
                EXPECT_EQ(sorted[i].address() < sorted[j].address(), i < j);
            }
        }
    }
}

TEST(IpGenPrefix, overlapsWhereTheShorterLengthAgreesAndNullNever) {
    static constexpr struct {
        std::string_view a, b;
        bool overlap;
    } rows[] = {{"10.0.0.0/8", "10.1.0.0/16", true},
                {"10.0.0.0/8", "11.0.0.0/8", false},
                {"0.0.0.0/0", "203.0.113.7/32", true},
                {"192.0.2.0/25", "192.0.2.128/25", false},
                {"0.0.0.0/0", "::/0", false},
                {"0.0.0.0/0", "::ffff:0.0.0.0/96", false},
                {"2001:db8::/65", "2001:db8:0:0:8000::/65", false},
                {"2001:db8::/127", "2001:db8::1/128", true},
                {"2001:db8::/128", "2001:db8::1/128", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(prefix(row.a).overlaps(prefix(row.b)), row.overlap) << row.a << " " << row.b;
        EXPECT_EQ(prefix(row.b).overlaps(prefix(row.a)), row.overlap) << row.b << " " << row.a;
    }
    EXPECT_TRUE(IpGenPrefix().isNullPrefix());
    EXPECT_EQ(IpGenPrefix().stringValue(), "");
    EXPECT_FALSE(prefix("0.0.0.0/0").isNullPrefix() || prefix("::/0").isNullPrefix());
    EXPECT_FALSE(IpGenPrefix().overlaps(IpGenPrefix()));
    EXPECT_FALSE(IpGenPrefix().overlaps(prefix("0.0.0.0/0")));
}

TEST(IpGenPrefix, randomPrefixesSurviveTheirText) {
    std::mt19937_64 random(1);
    std::set<U64> hashes;
    const U32 count = 20000;
    for (U32 i = 0; i < count; ++i) {
        const auto part = [&] { return random() & (random() % 2 == 0 ? ~U64{0} : U64{0xffff}); };
        const bool ipv4 = i % 2 == 0;
        const IpGenPrefix given(
            ipv4 ? IpGenAddr::ipv4(static_cast<U32>(random())) : IpGenAddr::ipv6(part(), part()),
            static_cast<U32>(random() % (ipv4 ? 33 : 129)));
        const std::string text = given.stringValue();
        ASSERT_LE(text.size(), IpGenPrefix::maxPrintedSize);
        ASSERT_EQ(IpGenPrefix::parse(text), given) << text;
        hashes.insert(given.hashValue());
    }
    EXPECT_GT(hashes.size(), count * 9 / 10);
}

TEST(EthAddr, parsesAndPrints) {
    for (const auto& text : pieces("00:00:00:00:00:00,00:00:5e:0a:b0:99,ff:ff:ff:ff:ff:ff")) {
        const auto address = EthAddr::parse(text);
        ASSERT_TRUE(address) << text;
        EXPECT_EQ(address->stringValue(), text);
    }
    EXPECT_EQ(EthAddr::parse("AB:CD:EF:00:0a:0B")->stringValue(), "ab:cd:ef:00:0a:0b");
    for (const auto& text :
         pieces(",00:00:5e:0a:b0,00:00:5e:0a:b0:99:,00:00:5e:0a:b0:9,0000.5e0a.b099,"
                "00-00-5e-0a-b0-99,00:00:5e:0a:b0:9g,0:00:5e:0a:b0:99 ,:00:00:5e:0a:b0:9,"
                "00:00:5e:0a:b0.99")) {
        EXPECT_FALSE(EthAddr::parse(text)) << text;
    }
    EXPECT_LT(*EthAddr::parse("00:ff:ff:ff:ff:ff"), *EthAddr::parse("01:00:00:00:00:00"));
    EXPECT_LT(*EthAddr::parse("80:00:00:00:00:7f"), *EthAddr::parse("80:00:00:00:00:80"));
    EXPECT_NE(EthAddr::parse("00:00:00:00:00:01")->hashValue(),
              EthAddr::parse("00:00:00:00:01:00")->hashValue());
}

TEST(IntfId, ordersByItsName) {
    EXPECT_LT(IntfId("Ethernet10"), IntfId("Ethernet2"));
    EXPECT_LT(IntfId(), IntfId("Ethernet1"));
    EXPECT_EQ(IntfId("Vlan10").hashValue(), IntfId("Vlan10").hashValue());
}

}  // namespace
