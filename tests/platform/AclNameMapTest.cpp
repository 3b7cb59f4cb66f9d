// Names of DSCP values and IP protocols: every number of the range is looked up, so that the rows
// below are all that has a name.
#include "names/AclNameMap.h"

#include <gtest/gtest.h>

#include <map>

#include "orb/Singleton.h"

namespace {

using Names = std::map<U32, std::string_view>;

template <class LookUp>
Names namesBelow300(LookUp lookUp) {
    Names found;
    for (U32 value = 0; value < 300; ++value) {
        if (!lookUp(value).empty()) found[value] = lookUp(value);
    }
    EXPECT_TRUE(lookUp(~U32{0}).empty());
    return found;
}

TEST(AclNameMap, namesWhatTheRegistriesName) {
    const auto map = AclNameMap::instance();
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->dscpName(value); }),
              (Names{{0, "cs0"},   {1, "le"},    {8, "cs1"},   {10, "af11"}, {12, "af12"},
                     {14, "af13"}, {16, "cs2"},  {18, "af21"}, {20, "af22"}, {22, "af23"},
                     {24, "cs3"},  {26, "af31"}, {28, "af32"}, {30, "af33"}, {32, "cs4"},
                     {34, "af41"}, {36, "af42"}, {38, "af43"}, {40, "cs5"},  {44, "voice-admit"},
                     {46, "ef"},   {48, "cs6"},  {56, "cs7"}}));
    Names both{{2, "igmp"},   {4, "ipencap"}, {6, "tcp"},    {17, "udp"},
               {41, "ipv6"},  {46, "rsvp"},   {47, "gre"},   {50, "esp"},
               {51, "ah"},    {88, "eigrp"},  {89, "ospf"},  {103, "pim"},
               {112, "vrrp"}, {115, "l2tp"},  {132, "sctp"}, {136, "udplite"}};
    Names ipv4 = both;
    ipv4[1] = "icmp";
    Names ipv6 = both;
    ipv6[58] = "ipv6-icmp";
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->ipv4ProtocolName(value); }), ipv4);
    EXPECT_EQ(namesBelow300([&](U32 value) { return map->ipv6ProtocolName(value); }), ipv6);
}

TEST(AclNameMap, isOneObjectFoundByItsTypeName) {
    const auto map = AclNameMap::instance();
    EXPECT_EQ(map, AclNameMap::instance());
    EXPECT_EQ(Orb::singleton("AclNameMap").get(), map.get());
    EXPECT_EQ(map->fwkType().name(), "AclNameMap");
    EXPECT_EQ(AclNameMap::orbType().liveCount(), 1U);
}

TEST(Singleton, refusesWhatCannotBeBuilt) {
    EXPECT_THROW(Orb::singleton("No::SuchType"), std::invalid_argument);
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // it takes a name
    EXPECT_THROW(Orb::singleton("Orb::Dir"), std::invalid_argument);  // and is not entered
}

}  // namespace
