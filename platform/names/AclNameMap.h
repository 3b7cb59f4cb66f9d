// Names of numeric match values, as operators know them:
//  - DSCP values after the IANA registry "Differentiated Services Field Codepoints (DSCP)", in
//    lower case (cs0 to cs7, af11 to af43, ef, voice-admit, le);
//  - IP protocols after the IANA registry "Assigned Internet Protocol Numbers", in lower case and
//    in the spelling of the usual protocols file (4 ipencap, 89 ospf). IPv4 and IPv6 have tables
//    of their own: 1 icmp is in the first only, 58 ipv6-icmp in the second only.
// One object per process, entered in the directory of singletons under its type name.
#pragma once

#include <string_view>

#include "orb/Type.h"

class ORB_EXPORT AclNameMap : public Orb::PtrInterface {
    ORB_TYPE(AclNameMap)
    ORB_CONSTRUCTIBLE(AclNameMap)

    AclNameMap() = default;

    // The process's object; made on first use. Safe in every thread.
    static Orb::Ptr<const AclNameMap> instance();

    // The name of a value, alive as long as the process; empty when it has none or is out of range
    // (DSCP 0 to 63, protocols 0 to 255). One step, whatever the value.
    std::string_view dscpName(U32 dscp) const;
    std::string_view ipv4ProtocolName(U32 protocol) const;
    std::string_view ipv6ProtocolName(U32 protocol) const;
};
