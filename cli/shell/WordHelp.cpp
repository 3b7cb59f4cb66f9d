#include "cli/shell/WordHelp.h"

#include "cli/FieldSetCommands.h"

namespace Cli::Shell {

namespace {

struct HelpRow {
    std::string_view label;
    std::string_view help;
    std::string_view before = {};  // the word it stands behind; empty: any that has no row
};

constexpr HelpRow helpRows[] = {
    {"show", "print a report"},
    {"check", "read every document, and say whether it has a mistake"},
    {"clear", "let counts begin anew"},
    {"compare", "what differs between two state directories"},
    {"DIR_BEFORE", "the state directory of before"},
    {"DIR_AFTER", "the state directory of after"},
    {"detail", "list what came into field sets and what went", "compare"},
    {"traffic-policy", "traffic policies of this switch"},
    {"counters", "live counts since the last clear"},
    {"counters", "the counts of all policies", "traffic-policy"},
    {"nonzero", "only what counted something"},
    {"rate", "how fast they count, now"},
    {"SECONDS", "how long to count, 0.1 to 3600; 1 if absent", "rate"},
    {"N", "how many counters"},
    {"since", "the counts since a mark of yours"},
    {"mark", "remember the counts of now, for you alone"},
    {"mark", "one of your marks", "delete"},
    {"marks", "your marks on this state directory"},
    {"delete", "forget a mark"},
    {"MARK", "name of a mark of yours, as before-work"},
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
    {"field-set", "sets of values that rules refer to"},
    {"prefix", "the sets, or one of them"},
    {"filter", "only the sets that have to do with a value"},
    {"exact", "only the very prefix"},
    {"PREFIX", "a prefix, as 10.1.0.0/16, or an address"},
    {"LOW[-HIGH]", "a number, or a range, as 1024-65535"},
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
    {"policy", "only the counters of one policy", "counters"},
    {"interface", "only the counters of interfaces", "counters"},
    {"cpu", "only the counters of the CPU", "counters"},
    {"field-set", "the rules that name a field set", "references"},
    {"counter", "the rules that count into a counter"},
    {"vrf", "the rules that name a VRF", "references"},
    {"nexthop-group", "the rules that redirect to a next-hop group"},
    {"NAME", "name of a field set", "field-set"},
    {"NAME", "name of a counter", "counter"},
    {"NAME", "name of a VRF", "vrf"},
    {"NAME", "name of a next-hop group", "nexthop-group"},
    {"holding", "the field sets that hold a value"},
    {"ADDRESS", "an address, as 10.1.2.3"},
    {"PORT", "a port, as 443"},
    {"MAC", "a MAC address, as 00:00:5e:00:53:01"},
    {"state", "the state directory: documents, counts, last clear"},
    {"packet", "which rules take a packet, as configured and as installed"},
    {"capture", "the packets of a capture file, by the rules that would take them"},
    {"interface", "on one interface", "packet"},
    {"cpu", "on the CPU, in one VRF", "packet"},
    {"vlan", "in one VLAN", "packet"},
    {"policy", "a policy wherever it is, as configured"},
    {"FILE", "a capture file, pcap or pcapng; - for standard input", "capture"},
    {"source", "source address"},
    {"destination", "destination address"},
    {"ADDRESS", "an address, as 10.1.2.3 or 2001:db8::1"},
    {"family", "what kind of packet it is, where no address tells it"},
    {"ipv4", "an IPv4 packet", "family"},
    {"ipv6", "an IPv6 packet", "family"},
    {"mac", "any other frame", "family"},
    {"mpls", "an MPLS packet"},
    {"protocol", "IP protocol"},
    {"PROTOCOL", "a number 0 to 255, or a name, as tcp"},
    {"source-port", "source port"},
    {"destination-port", "destination port"},
    {"PORT", "a port 0 to 65535"},
    {"tcp-flags", "the TCP flags that are set"},
    {"FLAGS", "flags, as syn,ack; or none"},
    {"icmp-type", "type of ICMP or ICMPv6"},
    {"icmp-code", "code of ICMP or ICMPv6"},
    {"dscp", "differentiated services code point"},
    {"DSCP", "a number 0 to 63, or a name, as ef"},
    {"ecn", "explicit congestion notification, 0 to 3"},
    {"ttl", "time to live, or hop limit"},
    {"length", "bytes of the IP packet", "input"},
    {"NUMBER", "a number"},
    {"fragment", "whether it is a fragment, and which"},
    {"OFFSET", "no, or the offset in units of 8 bytes, 0 for the first"},
    {"TAGS", "VLAN tags, as 10, or 10,20 for two; or none"},
    {"ip-options", "whether the IP header has options"},
    {"tracked", "whether the connection is tracked"},
    {"bgp-neighbor", "whether it comes from a BGP neighbor"},
    {"yes", "it does"},
    {"no", "it does not"},
    {"inner", "what follows is told of the packet inside a GTP-U tunnel"},
    {"exit", "leave the shell"},
    {"watch", "show a report again and again"},
    {"SECONDS", "how long between two reports, 0.1 to 3600; 2 if absent", "watch"},
    {"WORDS", "the words of a show command"},
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
    std::string_view help = fieldSetHelp(label, before);
    if (!help.empty()) return help;
    for (const HelpRow& row : helpRows) {
        if (row.label != label) continue;
        if (!row.before.empty() && row.before == before) return row.help;
        if (row.before.empty()) help = row.help;
    }
    return help;
}

}  // namespace Cli::Shell
