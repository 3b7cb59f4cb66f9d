#include "cli/Help.h"

#include <string_view>

#include "cli/Commands.h"
#include "cli/TpcliOptions.h"

namespace Cli {

namespace {

constexpr std::size_t lineWidth = 79;

// Where a part begins, the last that is not behind the limit: brackets or parentheses that are not
// within others, or, in those that are alone too long for a line, an alternative. npos when there
// is none.
std::size_t lastPart(std::string_view words, std::size_t limit) {
    std::size_t found = std::string_view::npos;
    int depth = 0;
    for (std::size_t at = 0; at <= limit; ++at) {
        if ((words[at] == '[' || words[at] == '(') && depth++ == 0) found = at;
        if (words[at] == ']' || words[at] == ')') --depth;
        if (words[at] == '|' && depth == 1 && found == 0) found = at + 2;
    }
    return found;
}

// Appends the words of a command; the parts that do not fit on its line go on, further in, on the
// next.
void appendWords(std::string& text, std::string_view words) {
    std::string_view indent = "  ";
    while (indent.size() + words.size() > lineWidth) {
        const std::size_t part = lastPart(words, lineWidth - indent.size());
        if (part == 0 || part == std::string_view::npos) break;
        text.append(indent).append(words.substr(0, part - 1)).append("\n");
        words.remove_prefix(part);
        indent = "          ";
    }
    text.append(indent).append(words).append("\n");
}

}  // namespace

std::string usageText() {
    std::string text = optionsUsage() +
                       "       tpcli [OPTIONS] -c COMMAND [COMMAND...]\n"
                       "       tpcli [OPTIONS] <FILE\n"
                       "       tpcli --help | --version\n"
                       "\n"
                       "Commands:\n";
    for (const Command& command : commands()) {
        appendWords(text, command.line);
        text.append("      ").append(command.purpose).append("\n");
    }
    return text;
}

std::string helpText() {
    return "Shows the traffic policies of a switch: where they are configured, where\n"
           "hardware and kernel installed them and where not, their rules and counts,\n"
           "and the field sets they refer to.\n"
           "\n" +
           usageText() +
           R"(
Words of commands may be shortened as long as they are unambiguous: sh tr int
err. A word that can be a keyword, whole or shortened, is one. A word in double
quotes is always a NAME; the shell removes one pair of quotes: '"cpu"'.

Options, anywhere on the command line:
)" + optionsHelp() +
           R"(
Exit status:
    0  the command ran; if the NAME is unknown, or is elsewhere, standard
       error says so
    1  wrong words or options
    2  the state directory is missing or has a mistake, and nothing is shown;
       or not everything could be cleared
    3  the output could not be written
    4  a fault of the program or the machine, such as too little memory
    5  problems were found, with --exit-code
       compare: 0 same, 1 different, 2 wrong words or a faulty state
  130  interrupted: the output is incomplete, also JSON. A second interrupt
       ends the process at once
  141  the output went to a pipe that was closed

Environment:
  TPCLI_STATE     the state directory, where --state names none
  NO_COLOR        if not empty: no colours, unless --color says otherwise
  PAGER           shows longer reports of the shell; if absent: less -FRX, if
                  empty: none
  XDG_STATE_HOME  holds the shell's history, tpcli/history; if absent:
                  ~/.local/state

A report of -c or of standard input can go through filters:
  | include REGEX, | exclude REGEX    lines that match, or that do not
  | begin REGEX       from the first line that matches
  | section REGEX     whole policies and rules with a line that matches
  | count             how many lines there are
  | json              JSON instead of text
  | save FILE         into a file

Examples:
  tpcli --state examples/campus show traffic-policy interface errors
  tpcli --state examples/campus --json show traffic-policy COPP-MGMT cpu
  tpcli --state examples/campus show traffic-policy '"cpu"' interface summary
  tpcli --state examples/campus show traffic-policy field-set ipv4 prefix
        BLOCKLIST filter 10.97.0.0/16
  tpcli -c 'show traffic-policy interface | section Drop | save dropped.txt'
)";
}

}  // namespace Cli
