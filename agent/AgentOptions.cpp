#include "agent/AgentOptions.h"

#include "base/Text.h"

namespace CounterAgent {

namespace {

using Base::inQuotes;

Rate parseRate(const std::string& value) {
    // Names may hold any character, so it is the last "=" that ends the name.
    const std::size_t equals = value.rfind('=');
    Rate rate;
    std::string number = value;
    if (equals != std::string::npos) {
        rate.counter = value.substr(0, equals);
        number = value.substr(equals + 1);
        if (rate.counter.find('/') == std::string::npos) {
            throw OptionError("--rate: " + inQuotes(rate.counter) +
                              " is not a counter, expected POLICY/RULE or POLICY/COUNTER");
        }
    }
    if (number == "max") {
        rate.packetsPerSecond = Rate::fastest;
        return rate;
    }
    rate.packetsPerSecond = Base::numberValue("--rate", number, {0, Rate::highest}, " or max");
    return rate;
}

const std::vector<Base::Option<Options>>& table() {
    static const std::vector<Base::Option<Options>> rows = {
        {{"--state", "DIR", "a directory", "the state directory; default: the current directory"},
         [](const std::string& value, Options& options) {
             if (value.empty()) Base::refuseValue("--state", value, "is empty", "a directory");
             options.stateDirectory = value;
         }},
        {{"--recreate", "", "",
          "create the store again from the state documents, with identities that no counter has "
          "had, so that earlier clears do not apply to it"},
         [](const std::string&, Options& options) { options.recreate = true; }},
        {{"--once", "", "", "create or repair the store and exit, without counting"},
         [](const std::string&, Options& options) { options.once = true; }},
        {{"--rate", "[POLICY/NAME=]N", "a rate",
          "count N packets a second, 0 to " + std::to_string(Rate::highest) +
              ", or \"max\": as fast as possible; for every rule and named counter, or for the "
              "rule and the named counter NAME of POLICY, in every direction that has them. May "
              "be repeated"},
         [](const std::string& value, Options& options) {
             options.rates.push_back(parseRate(value));
         }},
    };
    return rows;
}

}  // namespace

Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options) {
    return Base::parseOptions<Options>(arguments, table(), options, [](const std::string& word) {
        throw OptionError(inQuotes(word) + " is not an option; --help lists them");
    });
}

std::string helpText() {
    const std::vector<Base::OptionForm> forms = Base::formsOf<Options>(table());
    return "Does the work of a switch's counter agent: keeps the counter store of a state\n"
           "directory, the file counters.reef, and counts packets of 64 bytes into it until\n"
           "SIGTERM or SIGINT. Other programs may read the store meanwhile.\n"
           "\n" +
           Base::usageLine("counteragent", forms, "") +
           "       counteragent --help | --version\n"
           "\n" +
           Base::optionsHelp(forms) +
           R"(
If there is no store, the agent creates one: the counters of interface policies
in status.json, input and output, with the counts and identities given there. A
counter that was cleared at a higher count (snapshots.json) gets a new identity.
An existing store keeps its identities and counts, and the documents are not
read; use --recreate when counters were added or removed. Records that another
agent left unfinished when it died are restored. A damaged record gets its
previous counts again, or, when they are damaged too, counts from 0 under a new
identity. A named counter that counts per interface adds to one of its
interfaces after the other, and to its total. Without --rate nothing is counted.

Exit status:
  0  ended by SIGTERM or SIGINT, or --once: every record is finished
  1  wrong options, or a counter that the store does not have
  2  the state or the store is missing or damaged, another agent holds the
     store, or it cannot be written
  4  out of memory

Examples:
  counteragent --state examples/campus --rate 1000
  counteragent --state examples/campus --rate 10 --rate EDGE-IN/web=5000
)";
}

}  // namespace CounterAgent
