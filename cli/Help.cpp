#include "cli/Help.h"

#include "cli/Commands.h"

namespace Cli {

std::string usageText() {
    std::string text =
        "Usage: tpcli [--state DIR] [--json] [--revision N] [--trace FACILITY/LEVEL[,...]]\n"
        "             WORDS...\n"
        "       tpcli --help\n"
        "\n"
        "Commands:\n";
    for (const Command& command : commands()) {
        text.append("  ").append(command.line).append("\n");
        text.append("      ").append(command.purpose).append("\n");
    }
    return text;
}

std::string helpText() {
    return "Shows the traffic policies of a switch: where they are configured, where hardware and\n"
           "kernel took them and where not, their rules, and the field sets they refer to.\n"
           "\n" +
           usageText() +
           R"(
Words of commands may be shortened while that is unambiguous: sh tr int err. A word
that reads as a keyword, whole or shortened, is one. A word in double quotes is always
a NAME; mind that the shell takes one pair of quotes away: '"cpu"'.

Options, which may stand anywhere:
  --state DIR     directory of the state documents; the current directory when absent
  --json          print JSON instead of text
  --revision N    revision of the JSON model, 2 when absent
  --trace FACILITY/LEVEL[,...]
                  write trace messages to standard error, those of the levels 0 to LEVEL
                  (at most 9). Facility: TrafficPolicyShowCliHelper. The word Blip, without
                  a level, dumps the ring of recent messages when the command ends
  --              what follows are words, whatever they look like
  --help          print this text

Exit status:
    0  the command ran; a NAME that nothing bears is told on standard error
    1  wrong words or options
    2  the state documents are missing or have a mistake; nothing is shown
    3  the output could not be written
  130  interrupted: what was printed stands, and JSON stays incomplete. A second
       interrupt ends the process at once
  141  the output went to a pipe that nobody reads any more

Examples:
  tpcli --state examples/campus show traffic-policy interface errors
  tpcli --state examples/campus --json show traffic-policy CAMPUS-IN cpu
  tpcli --state examples/campus show traffic-policy '"cpu"' interface input summary
  tpcli --state examples/campus show traffic-policy field-set ipv4 prefix filter 10.1.0.0/16
)";
}

}  // namespace Cli
