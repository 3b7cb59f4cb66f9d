#include "cli/TpcliOptions.h"

#include <algorithm>
#include <cstdlib>

#include "orb/Trace.h"

namespace Cli {

namespace {

constexpr std::string_view blip = "Blip";
constexpr Base::Bounds levels{0, Orb::TraceFacility::maxLevel};

std::string facilities() {
    std::string text;
    for (const Orb::String& name : Orb::traceFacilityNames()) {
        text += (text.empty() ? "" : ", ") + name;
    }
    return text;
}

void readTrace(const std::string& value, Options& options) {
    if (value == blip) {
        options.dumpsBlip = true;
        return;
    }
    const auto refuse = [&](std::string_view wrong) {
        Base::refuseValue("--trace", value, wrong,
                          facilities() + "/LEVEL with a level " + levels.stringValue() + ", or " +
                              std::string(blip));
    };
    const std::size_t slash = value.find('/');
    const std::string facility = value.substr(0, slash);
    const std::vector<Orb::String> known = Orb::traceFacilityNames();
    if (std::ranges::find(known, facility) == known.end()) {
        refuse(facility == blip ? "has no levels" : "is not a trace facility");
    }
    const auto level = slash == std::string::npos
                           ? std::nullopt
                           : Base::parseNumber(value.substr(slash + 1), levels);
    if (!level) refuse("has no trace level");
    options.traces.emplace_back(facility, static_cast<U32>(*level));
}

using Option = Base::Option<Options>;

const std::vector<Option>& table() {
    static const std::vector<Option> rows = {
        {{"--state", "DIR", "a directory",
          "directory of the state documents; if absent, that of the environment variable "
          "TPCLI_STATE, or else the current directory"},
         [](const std::string& value, Options& options) {
             if (value.empty()) Base::refuseValue("--state", value, "is empty", "a directory");
             options.stateDirectory = value;
         }},
        {{"-c", "COMMAND", "a command in one word",
          "run this command, given as one argument, and those that follow it. Without -c and "
          "WORDS, the commands come from standard input, one per line. The exit status is that "
          "of the first command that failed"},
         [](const std::string& value, Options& options) { options.commands.push_back(value); }},
        {{"--json", "", "", "print JSON instead of text"},
         [](const std::string&, Options& options) { options.json = true; }},
        {{"--color", "auto|always|never", "auto, always or never",
          "colours in text; auto, the default: on a terminal, unless the environment has NO_COLOR"},
         [](const std::string& value, Options& options) {
             constexpr std::string_view modes[] = {"auto", "always", "never"};
             const auto* const mode = std::ranges::find(modes, value);
             if (mode == std::end(modes)) {
                 Base::refuseValue("--color", value, "is not a choice", "auto, always or never");
             }
             options.colour = static_cast<ColourMode>(mode - std::begin(modes));
         }},
        {{"--exit-code", "", "", "of problems: end with 5 when there is one"},
         [](const std::string&, Options& options) { options.exitCode = true; }},
        {{"--watch", "", "",
          "show the report again and again, what changed marked; WORDS may begin with the seconds "
          "from one to the next, 0.1 to 3600; 2 if absent. Ctrl-C ends it"},
         [](const std::string&, Options& options) { options.watches = true; }},
        {{"--revision", "N", "a number 0 to 4294967295", "revision of the JSON model; default 2"},
         [](const std::string& value, Options& options) {
             options.revision =
                 static_cast<U32>(Base::numberValue("--revision", value, {0, ~U32{0}}));
         }},
        {{"--trace", "FACILITY/LEVEL[,...]", "FACILITY/LEVEL[,...]",
          "write trace messages of the levels 0 to LEVEL, at most " +
              std::to_string(levels.highest) + ", to standard error. Facility: " + facilities() +
              ". The word " + std::string(blip) +
              ", without a level, prints the ring buffer of recent messages when the command "
              "ends"},
         [](const std::string& value, Options& options) {
             for (std::size_t at = 0; at <= value.size();) {
                 const std::size_t comma = std::min(value.find(',', at), value.size());
                 readTrace(value.substr(at, comma - at), options);
                 at = comma + 1;
             }
         }},
    };
    return rows;
}

}  // namespace

std::string stateDirectoryOf(const Options& options) {
    if (!options.stateDirectory.empty()) return options.stateDirectory;
    const char* const named = std::getenv("TPCLI_STATE");
    return named != nullptr && *named != 0 ? named : ".";
}

std::vector<std::string> optionNames() {
    std::vector<std::string> names = {"--help", "--version"};
    for (const Option& option : table()) names.push_back(option.form.name);
    return names;
}

Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options) {
    const auto request =
        Base::parseOptions<Options>(arguments, table(), options, [&](const std::string& word) {
            (options.commands.empty() ? options.words : options.commands).push_back(word);
        });
    if (request == Base::Request::run && !options.commands.empty() && !options.words.empty()) {
        throw OptionError("-c: a command of one word each is expected, not " +
                          inQuotes(options.words.front()));
    }
    if (request == Base::Request::run && options.watches && options.words.empty()) {
        throw OptionError(
            "--watch: the words of a command are expected, as: --watch 5 show "
            "traffic-policy cpu counters");
    }
    return request;
}

std::string optionsUsage() {
    std::vector<Base::OptionForm> forms = Base::formsOf<Options>(table());
    std::erase_if(forms, [](const Base::OptionForm& form) { return form.name == "-c"; });
    return Base::usageLine("tpcli", forms, "WORDS...");
}

std::string optionsHelp() { return Base::optionsHelp(Base::formsOf<Options>(table())); }

}  // namespace Cli
