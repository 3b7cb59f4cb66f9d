#include "agent/Options.h"

#include "base/Number.h"
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
    constexpr Base::Bounds bounds{0, Rate::highest};
    const auto packetsPerSecond = Base::parseNumber(number, bounds);
    if (!packetsPerSecond) {
        const Base::NumberFault fault = Base::numberFault(number, bounds);
        throw OptionError(
            "--rate: " + inQuotes(number) + " " + std::string(fault.wrong) + ", expected " +
            (fault.right.empty() ? "a number " + bounds.stringValue() + " or max" : fault.right));
    }
    rate.packetsPerSecond = *packetsPerSecond;
    return rate;
}

}  // namespace

Options parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        // "--name value" or "--name=value".
        const std::size_t equals = argument->find('=');
        const std::string name = argument->substr(0, equals);
        const bool takesValue = name == "--state" || name == "--rate";
        std::string value;
        if (takesValue && equals != std::string::npos) {
            value = argument->substr(equals + 1);
        } else if (takesValue && ++argument != arguments.end()) {
            value = *argument;
        } else if (takesValue) {
            throw OptionError(name + " needs a value");
        } else if (equals != std::string::npos && name.starts_with("--")) {
            throw OptionError(inQuotes(name) + " takes no value");
        }

        if (name == "--state") {
            if (value.empty()) throw OptionError("--state: \"\" is empty, expected a directory");
            options.stateDirectory = value;
        } else if (name == "--rate") {
            options.rates.push_back(parseRate(value));
        } else if (name == "--recreate") {
            options.recreate = true;
        } else if (name == "--once") {
            options.once = true;
        } else if (name == "--help") {
            options.help = true;
        } else if (name == "--version") {
            options.version = true;
        } else {
            throw OptionError(
                "unknown option " + inQuotes(*argument) +
                ", expected --state, --recreate, --once, --rate, --help or --version");
        }
    }
    return options;
}

std::string helpText() {
    return R"(Plays the counter agent of a switch: keeps the counter store of a state directory, the
file counters.reef, and counts packets of 64 bytes into it until it gets SIGTERM or
SIGINT. Programs that show counters may read the store all the while.

Usage: counteragent [--state DIR] [--recreate] [--once] [--rate RATE]...
       counteragent --help

  --state DIR   the state directory; the current directory when absent
  --recreate    make the store anew from the state documents, with identities that no
                counter has had, so that what was cleared before does not apply to it
  --once        make or mend the store and end, without counting
  --rate N      count N packets a second, 0 to 1000000000000, for every rule and named
                counter; "max": one packet after the other, as fast as it goes
  --rate POLICY/NAME=N
                the rate of one rule or named counter, in every direction that has it;
                a policy's rule and counter of one name both have the rate
  --help        print this text
  --version     print the version

Without a store the agent makes one: the counters of interface policies in status.json,
input and output, with the figures and identities given there. A counter that was cleared
at a higher figure (snapshots.json) gets a new identity. A store that stands is continued
with its identities and figures; counters that came or went since then need --recreate.
What another agent left unfinished when it died is taken back. A damaged record has its
former counts again, or, when they are damaged too, counts from 0 under a new identity.

A named counter that counts per interface adds to one of its interfaces after the other,
and to its total. Without --rate nothing is counted.

Exit status:
  0  ended by SIGTERM or SIGINT, or --once: every record is finished
  1  wrong options, or a counter that the store does not have
  2  the state or the store is missing or damaged, another agent holds the store, or it
     cannot be written

Examples:
  counteragent --state examples/campus --rate 1000
  counteragent --state examples/campus --rate 10 --rate EDGE-IN/web=5000
)";
}

}  // namespace CounterAgent
