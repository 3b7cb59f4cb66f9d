#include "cli/shell/WordHelp.h"

#include <algorithm>

namespace Cli::Shell {

namespace {

struct Row {
    std::string_view label;
    std::string_view help;
    std::string_view before = {};  // the word it stands behind; empty: any that has no row
};

constexpr Row rows[] = {
    {"show", "print a report"},
    {"clear", "let counts begin anew"},
    {"traffic-policy", "traffic policies of this switch"},
    {"counters", "live counts since the last clear"},
    {"counters", "the counts of all policies", "traffic-policy"},
    {"interface", "policies on interfaces"},
    {"cpu", "policies on the CPU, per VRF"},
    {"vlan", "policies on VLANs"},
    {"input", "only what is applied to incoming packets"},
    {"output", "only what is applied to outgoing packets"},
    {"summary", "without criteria, actions and counts of the rules"},
    {"detail", "all names of lists, and the sizes of field sets"},
    {"errors", "where policies failed, and why"},
    {"NAME", "name of a policy; in double quotes if it reads as a keyword"},
    {"NAME", "name of a field set", "prefix"},
    {"NAME", "name of a field set", "l4-port"},
    {"NAME", "name of a field set", "mac"},
    {"field-set", "sets of values that rules refer to"},
    {"ipv4", "sets of IPv4 prefixes"},
    {"ipv6", "sets of IPv6 prefixes"},
    {"prefix", "the sets, or one of them"},
    {"l4-port", "sets of TCP and UDP ports"},
    {"vlan", "sets of VLANs", "field-set"},
    {"mac", "sets of MAC addresses, by source"},
    {"filter", "only the sets that have to do with a value"},
    {"exact", "only the very prefix"},
    {"PREFIX", "a prefix, as 10.1.0.0/16, or an address"},
    {"LOW[-HIGH]", "a number, or a range, as 1024-65535"},
    {"NAME", "name of a field set", "vlan"},
    {"attachments", "where policies are, and what the platform did there"},
    {"interface", "one interface", "attachments"},
    {"vlan", "one VLAN", "attachments"},
    {"vrf", "one VRF"},
    {"INTF", "name of an interface, as Ethernet1"},
    {"VRF", "name of a VRF"},
    {"VLAN", "number of a VLAN, as 20"},
    {"problems", "what is wrong with policies"},
    {"references", "the rules that name something, and where their policies are"},
    {"policy", "where a policy is attached"},
    {"field-set", "the rules that name a field set", "references"},
    {"counter", "the rules that count into a counter"},
    {"vrf", "the rules that name a VRF", "references"},
    {"nexthop-group", "the rules that redirect to a next-hop group"},
    {"NAME", "name of a field set", "field-set"},
    {"NAME", "name of a counter", "counter"},
    {"NAME", "name of a VRF", "vrf"},
    {"NAME", "name of a next-hop group", "nexthop-group"},
    {"holding", "the field sets that hold a value"},
    {"l4-port", "a port", "holding"},
    {"vlan", "a VLAN", "holding"},
    {"mac", "a MAC address", "holding"},
    {"ADDRESS", "an address, as 10.1.2.3"},
    {"PORT", "a port, as 443"},
    {"MAC", "a MAC address, as 00:00:5e:00:53:01"},
    {"state", "the state directory: documents, counts, last clear"},
    {"exit", "leave the shell"},
    {"help", "how to use the shell"},
    {"history", "the lines that were typed"},
    {"terminal", "how this terminal is used"},
    {"length", "after how many lines the pager begins"},
    {"LINES", "lines of the screen; 0 for no pager"},
    {"REGEX", "regular expression, as drop|police; to the next |"},
    {"FILE", "name of a file, which is replaced"},
};

}  // namespace

std::string_view helpOf(std::string_view label, std::string_view before) {
    std::string_view help;
    for (const Row& row : rows) {
        if (row.label != label) continue;
        if (!row.before.empty() && row.before == before) return row.help;
        if (row.before.empty()) help = row.help;
    }
    return help;
}

}  // namespace Cli::Shell
