// Which names a state knows, and the line about one that it does not.
#include "cli/KnownNames.h"

#include <gmock/gmock.h>

#include "../state/TemporaryState.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(KnownNames, comeFromConfigurationStatusAndPoints) {
    const TemporaryState directory;
    const auto empty = StateDirectory::readState(directory.path());
    EXPECT_THAT(Cli::policyNames(empty), IsEmpty());
    EXPECT_THAT(Cli::prefixFieldSetNames(empty, true), IsEmpty());
    EXPECT_THAT(Cli::macFieldSetNames(empty), IsEmpty());
    directory.documentIs("config", R"({
        "policyMapConfig": {"A": {}},
        "intfConfigInput": {"Ethernet1": "B", "Ethernet2": "B"},
        "intfConfigOutput": {"Ethernet1": "C"},
        "intfConfigBridged": {"Vlan10": "D"},
        "vrfConfig": {"mgmt": "E"},
        "fieldSetConfig": {
            "fieldSetIpPrefix": {"P4": {}}, "fieldSetIpv6Prefix": {"P6": {}},
            "fieldSetL4Port": {"PORTS": {}}, "fieldSetVlan": {"VLANS": {}}
        },
        "fieldSetMacAddr": {"cli": {"M2": {}, "M1": {}}, "controller": {"M3": {}, "M1": {}}}
    })");
    directory.documentIs("status", R"({
        "interfaceInput": {"policyMapStatus": {"F": {}}},
        "interfaceOutput": {"policyMapStatus": {"G": {}}},
        "cpu": {"policyMapStatus": {"H": {}}},
        "cpuSoftware": {"policyMapStatus": {"I": {}}},
        "vlan": {"policyMapStatus": {"J": {}, "A": {}}}
    })");
    const auto state = StateDirectory::readState(directory.path());
    EXPECT_THAT(Cli::policyNames(state),
                ElementsAre("A", "B", "C", "D", "E", "F", "G", "H", "I", "J"));
    EXPECT_THAT(Cli::prefixFieldSetNames(state, true), ElementsAre("P4"));
    EXPECT_THAT(Cli::prefixFieldSetNames(state, false), ElementsAre("P6"));
    EXPECT_THAT(Cli::portFieldSetNames(state), ElementsAre("PORTS"));
    EXPECT_THAT(Cli::vlanFieldSetNames(state), ElementsAre("VLANS"));
    EXPECT_THAT(Cli::macFieldSetNames(state), ElementsAre("M1", "M2", "M3"));
}

TEST(KnownNames, anUnknownOneIsReportedWithTheNearest) {
    struct {
        std::string name;
        Cli::Names known;
        std::string report;
    } const rows[] = {
        {"", {"A"}, ""},
        {"A", {"A"}, ""},
        {"EDGE-NI",
         {"ACCESS-IN", "EDGE-IN", "EDGE-OUT"},
         "tpcli: no traffic policy \"EDGE-NI\" is known; the nearest name is \"EDGE-IN\"\n"},
        {"a\x1b]",
         {"a\x9b"},
         "tpcli: no traffic policy \"a\\x1b]\" is known; the nearest name is \"a\xef\xbf\xbd\"\n"},
        {"A", {}, "tpcli: no traffic policy \"A\" is known, nor any other\n"},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        Cli::reportUnknownName(row.name, "traffic policy", row.known);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.report);
    }
}

}  // namespace
