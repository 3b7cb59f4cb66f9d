#include "cli/Options.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>

#include "base/Number.h"
#include "orb/Trace.h"

namespace Cli {

namespace {

constexpr std::string_view facilities[] = {"TrafficPolicyShowCliHelper"};
constexpr std::string_view expectedTrace =
    "TrafficPolicyShowCliHelper/LEVEL with a level 0 to 9, or Blip";

[[noreturn]] void refuse(const std::string& option, const std::string& value,
                         std::string_view problem, std::string_view expected) {
    throw OptionError(option + ": " + inQuotes(value) + " " + std::string(problem) + ", expected " +
                      std::string(expected));
}

void readTrace(const std::string& value, Options& options) {
    const std::size_t slash = value.find('/');
    const std::string facility = value.substr(0, slash);
    if (value == "Blip") {
        options.dumpsBlip = true;
        return;
    }
    if (std::ranges::find(facilities, facility) == std::end(facilities)) {
        refuse("--trace", value, facility == "Blip" ? "has no levels" : "is not a trace facility",
               expectedTrace);
    }
    const auto level =
        slash == std::string::npos
            ? std::nullopt
            : Base::parseNumber(value.substr(slash + 1), {0, Orb::TraceFacility::maxLevel});
    if (!level) refuse("--trace", value, "has no trace level", expectedTrace);
    options.traces.emplace_back(facility, static_cast<U32>(*level));
}

struct Option {
    std::string_view name;
    std::string_view value;  // what it expects, for messages; empty: it takes none
    void (*read)(const std::string& value, Options& options);
};

constexpr Option table[] = {
    {"--help", "", [](const std::string&, Options& options) { options.help = true; }},
    {"--version", "", [](const std::string&, Options& options) { options.version = true; }},
    {"-c", "a command in one word",
     [](const std::string& value, Options& options) { options.commands.push_back(value); }},
    {"--color", "auto, always or never",
     [](const std::string& value, Options& options) {
         constexpr std::string_view modes[] = {"auto", "always", "never"};
         const auto* const mode = std::ranges::find(modes, value);
         if (mode == std::end(modes)) {
             refuse("--color", value, "is no choice", "auto, always or never");
         }
         options.colour = static_cast<ColourMode>(mode - std::begin(modes));
     }},
    {"--json", "", [](const std::string&, Options& options) { options.json = true; }},
    {"--state", "a directory",
     [](const std::string& value, Options& options) {
         if (value.empty()) refuse("--state", value, "is empty", "a directory");
         options.stateDirectory = value;
     }},
    {"--revision", "a number 0 to 4294967295",
     [](const std::string& value, Options& options) {
         constexpr Base::Bounds bounds{0, ~U32{0}};
         const auto number = Base::parseNumber(value, bounds);
         if (!number) {
             const Base::NumberFault fault = Base::numberFault(value, bounds);
             refuse("--revision", value, fault.wrong,
                    fault.right.empty() ? "a number 0 to 4294967295" : fault.right);
         }
         options.revision = static_cast<U32>(*number);
     }},
    {"--trace", "FACILITY/LEVEL[,...]",
     [](const std::string& value, Options& options) {
         for (std::size_t at = 0; at <= value.size();) {
             const std::size_t comma = std::min(value.find(',', at), value.size());
             readTrace(value.substr(at, comma - at), options);
             at = comma + 1;
         }
     }},
};

const Option& optionOf(const std::string& name) {
    const auto* const option = std::ranges::find(table, name, &Option::name);
    if (option != std::end(table)) return *option;
    std::string known;
    for (const Option& row : table) {
        if (!known.empty()) known += &row == &std::end(table)[-1] ? " or " : ", ";
        known += row.name;
    }
    throw OptionError("unknown option " + inQuotes(name) + ", expected " + known);
}

}  // namespace

std::string stateDirectoryOf(const Options& options) {
    if (!options.stateDirectory.empty()) return options.stateDirectory;
    const char* const named = std::getenv("TPCLI_STATE");
    return named != nullptr && *named != 0 ? named : ".";
}

std::vector<std::string_view> optionNames() {
    std::vector<std::string_view> names;
    for (const Option& option : table) names.push_back(option.name);
    return names;
}

Options parseOptions(const std::vector<std::string>& arguments) {
    Options options;
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--") {
            Words& words = options.commands.empty() ? options.words : options.commands;
            words.insert(words.end(), argument + 1, arguments.end());
            break;
        }
        if (argument->size() < 2 || argument->front() != '-') {
            (options.commands.empty() ? options.words : options.commands).push_back(*argument);
            continue;
        }
        // "--name value" or "--name=value".
        const std::size_t equals = argument->find('=');
        const Option& option = optionOf(argument->substr(0, equals));
        const std::string name(option.name);
        std::string value;
        if (equals != std::string::npos) {
            if (option.value.empty()) throw OptionError(name + " takes no value");
            value = argument->substr(equals + 1);
        } else if (!option.value.empty()) {
            if (++argument == arguments.end()) {
                throw OptionError(name + " needs a value, expected " + std::string(option.value));
            }
            value = *argument;
        }
        option.read(value, options);
    }
    if (!options.commands.empty() && !options.words.empty()) {
        throw OptionError("-c: a command of one word each is expected, not " +
                          inQuotes(options.words.front()));
    }
    return options;
}

}  // namespace Cli
