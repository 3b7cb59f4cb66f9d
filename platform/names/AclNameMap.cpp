// The tables behind the names: rows of number and name, laid out by number at compile time.
#include "names/AclNameMap.h"

#include <array>
#include <span>

#include "orb/Singleton.h"

ORB_DEFINE_TYPE(AclNameMap)

namespace {

struct Row {
    U8 value;
    std::string_view name;
};

// IANA "Differentiated Services Field Codepoints (DSCP)".
constexpr Row dscpRows[] = {
    {0, "cs0"},   {8, "cs1"},   {16, "cs2"},  {24, "cs3"},         {32, "cs4"},  {40, "cs5"},
    {48, "cs6"},  {56, "cs7"},  {10, "af11"}, {12, "af12"},        {14, "af13"}, {18, "af21"},
    {20, "af22"}, {22, "af23"}, {26, "af31"}, {28, "af32"},        {30, "af33"}, {34, "af41"},
    {36, "af42"}, {38, "af43"}, {46, "ef"},   {44, "voice-admit"}, {1, "le"},
};

// IANA "Assigned Internet Protocol Numbers": those of both families, then those of one.
constexpr Row protocolRows[] = {
    {2, "igmp"},   {4, "ipencap"}, {6, "tcp"},    {17, "udp"},      {41, "ipv6"}, {46, "rsvp"},
    {47, "gre"},   {50, "esp"},    {51, "ah"},    {88, "eigrp"},    {89, "ospf"}, {103, "pim"},
    {112, "vrrp"}, {115, "l2tp"},  {132, "sctp"}, {136, "udplite"},
};
constexpr Row ipv4OnlyRows[] = {{1, "icmp"}};
constexpr Row ipv6OnlyRows[] = {{58, "ipv6-icmp"}};

using Names = std::array<std::string_view, 256>;

constexpr Names namesOf(std::span<const Row> rows, std::span<const Row> more = {}) {
    Names names;
    for (const Row& row : rows) names[row.value] = row.name;
    for (const Row& row : more) names[row.value] = row.name;
    return names;
}

constexpr Names dscpNames = namesOf(dscpRows);
constexpr Names ipv4ProtocolNames = namesOf(protocolRows, ipv4OnlyRows);
constexpr Names ipv6ProtocolNames = namesOf(protocolRows, ipv6OnlyRows);

std::string_view nameOf(const Names& names, U32 value) {
    return value < names.size() ? names[value] : std::string_view();
}

}  // namespace

Orb::Ptr<const AclNameMap> AclNameMap::instance() {
    // The directory keeps the object alive, so its address may be kept.
    static const AclNameMap* const only =
        Orb::ptrCast<const AclNameMap>(Orb::singleton(orbType().name())).get();
    return only;
}

std::string_view AclNameMap::dscpName(U32 dscp) const { return nameOf(dscpNames, dscp); }
std::string_view AclNameMap::ipv4ProtocolName(U32 protocol) const {
    return nameOf(ipv4ProtocolNames, protocol);
}
std::string_view AclNameMap::ipv6ProtocolName(U32 protocol) const {
    return nameOf(ipv6ProtocolNames, protocol);
}
