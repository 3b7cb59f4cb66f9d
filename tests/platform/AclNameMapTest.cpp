// Names of DSCP values and IP protocols: every number of the range is looked up, so that those
// below are all that have a name.
#include "names/AclNameMap.h"

#include <gtest/gtest.h>

#include "orb/Singleton.h"

namespace {

template <class LookUp>
std::string namesBelow300(LookUp lookUp) {
    std::string found;
    for (U32 value = 0; value < 300; ++value) {
        if (lookUp(value).empty()) continue;
        found.append(" ").append(std::to_string(value)).append(" ").append(lookUp(value));
    }
    EXPECT_TRUE(lookUp(~U32{0}).empty());
    return found;
}

TEST(AclNameMap, namesWhatTheRegistriesName) {
    const auto map = AclNameMap::instance();
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->dscpName(value); }),
              " 0 cs0 1 le 8 cs1 10 af11 12 af12 14 af13 16 cs2 18 af21 20 af22 22 af23 24 cs3"
              " 26 af31 28 af32 30 af33 32 cs4 34 af41 36 af42 38 af43 40 cs5 44 voice-admit"
              " 46 ef 48 cs6 56 cs7");
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->ipv4ProtocolName(value); }),
              " 1 icmp 2 igmp 4 ipencap 6 tcp 17 udp 41 ipv6 46 rsvp 47 gre 50 esp 51 ah"
              " 88 eigrp 89 ospf 103 pim 112 vrrp 115 l2tp 132 sctp 136 udplite");
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->ipv6ProtocolName(value); }),
              " 2 igmp 4 ipencap 6 tcp 17 udp 41 ipv6 46 rsvp 47 gre 50 esp 51 ah 58 ipv6-icmp"
              " 88 eigrp 89 ospf 103 pim 112 vrrp 115 l2tp 132 sctp 136 udplite");
}

TEST(Singleton, isOneObjectFoundByItsTypeName) {
    EXPECT_EQ(Orb::singleton("AclNameMap").get(), AclNameMap::instance().get());
    EXPECT_EQ(AclNameMap::orbType().liveCount(), 1U);
    EXPECT_THROW(Orb::singleton("No::SuchType"), std::invalid_argument);
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // it takes a name
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // and is not entered
}

}  // namespace
