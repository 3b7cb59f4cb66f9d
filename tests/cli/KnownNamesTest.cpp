// Which names a state knows, and the line about one that it does not.
#include "cli/FieldSetCommands.h"

#include <gmock/gmock.h>

#include "../state/TemporaryState.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

TEST(KnownNames, comeFromConfigurationStatusAndPoints) {
    const TemporaryState directory;
    const auto empty = StateDirectory::readState(directory.path());
    EXPECT_THAT(Cli::policyNames(empty), IsEmpty());
    EXPECT_THAT(Cli::fieldSetNames(empty), IsEmpty());
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
    // Of one kind; and of each kind that there is.
    const auto namesFor = [&](const std::string& kind) {
        const Cli::Words words{"show", "traffic-policy", "field-set", kind};
        return Cli::fieldSetNames(Cli::grammar().after(words).before, state);
    };
    EXPECT_THAT(namesFor("ipv4"), ElementsAre("P4"));
    EXPECT_THAT(namesFor("ipv6"), ElementsAre("P6"));
    EXPECT_THAT(namesFor("l4-port"), ElementsAre("PORTS"));
    EXPECT_THAT(namesFor("vlan"), ElementsAre("VLANS"));
    EXPECT_THAT(namesFor("mac"), ElementsAre("M1", "M2", "M3"));
    EXPECT_THAT(Cli::fieldSetNames(state), SizeIs(7));
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
         "tpcli: there is no VLAN field set \"EDGE-NI\"; the nearest name is \"EDGE-IN\"\n"},
        {"ab\x1b]",
         {"ab\x9b]"},
         "tpcli: there is no VLAN field set \"ab\\x1b]\"; the nearest name is "
         "\"ab\xef\xbf\xbd]\"\n"},
        {"cpu", {"EDGE-IN", "OLD"}, "tpcli: there is no VLAN field set \"cpu\"\n"},
        {"A", {}, "tpcli: there is no VLAN field set \"A\", nor any other\n"},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        Cli::reportUnknownName(row.name, "VLAN field set", row.known);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.report);
    }
}

// A policy that is not on the kind of place asked for.
TEST(KnownNames, aPolicyElsewhereIsReportedWithWhereItIs) {
    const TemporaryState directory;
    directory.documentIs("config", R"({
        "policyMapConfig": {"LOOSE": {}, "BOTH": {}, "VLANS": {}, "MANY": {}},
        "intfConfigInput": {"Ethernet9": "BOTH", "Et4": "MANY", "Et3": "MANY", "Et2": "MANY",
                            "Et1": "MANY"},
        "intfConfigOutput": {"Ethernet2": "BOTH", "Ethernet1": "BOTH"},
        "intfConfigBridged": {"Vlan10": "VLANS"},
        "vrfConfig": {"mgmt": "BOTH"}
    })");
    directory.documentIs("status", R"({
        "interfaceInput": {"policyMapStatus": {"OLD": {}}},
        "cpuSoftware": {"policyMapStatus": {"SOFT": {}}}
    })");
    const auto state = StateDirectory::readState(directory.path());
    using Cli::PolicyKind;
    const struct {
        std::string name;
        PolicyKind kind;
        std::string report;
    } rows[] = {
        {"", PolicyKind::vlan, ""},
        {"BOTH", PolicyKind::cpu, ""},
        {"OLD", PolicyKind::interface, ""},
        {"BOTH", PolicyKind::vlan,
         "\"BOTH\" is not on VLANs; it is on interfaces on input (Ethernet9) and interfaces on "
         "output (Ethernet1, Ethernet2) and the CPU (mgmt)"},
        {"MANY", PolicyKind::cpu,
         "\"MANY\" is not on the CPU; it is on interfaces on input (Et1, Et2, Et3, ...)"},
        {"VLANS", PolicyKind::interface, "\"VLANS\" is not on interfaces; it is on VLANs (Vlan10)"},
        {"SOFT", PolicyKind::cpu,
         "\"SOFT\" is not on the CPU; it is on the kernel's filter (in the status only)"},
        {"LOOSE", PolicyKind::cpu, "\"LOOSE\" is configured, but not attached anywhere"},
    };
    for (const auto& row : rows) {
        testing::internal::CaptureStderr();
        Cli::reportMissingPolicy(row.name, row.kind, state);
        EXPECT_EQ(testing::internal::GetCapturedStderr(),
                  row.report.empty() ? "" : "tpcli: traffic policy " + row.report + "\n");
    }
}

}  // namespace
