// The options of a program, told once: a table says how each is written, what it does, and what the
// help says of it. All programs read "--name value" and "--name=value", options and words in any
// order, "--" before words that look like options, and know -h, --help and --version.
#pragma once

#include <functional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/Number.h"

namespace Base {

// An option that is unknown or has a wrong value. The message says what would be right.
class ORB_EXPORT OptionError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// How an option is written.
struct OptionForm {
    std::string name;      // "--state"
    std::string value;     // its value in the help, "DIR"; empty: it takes none
    std::string expected;  // what the value must be, for messages: "a directory"
    std::string help;      // what it does; one paragraph
};

// read() stores the value in the target, and throws OptionError when it is wrong.
template <class Target>
struct Option {
    OptionForm form;
    std::function<void(const std::string& value, Target& target)> read;
};

template <class Target>
std::vector<OptionForm> formsOf(std::span<const Option<Target>> options) {
    std::vector<OptionForm> forms;
    for (const auto& option : options) forms.push_back(option.form);
    return forms;
}

// What a command line asks for: to run, or, whatever else it says, to print the help or the
// version.
enum class Request { run, help, version };

// Reads the arguments behind the program's name in their order: calls option(place, value) with the
// option's place among the forms, and word(text). Throws OptionError.
ORB_EXPORT Request
parseArguments(std::span<const std::string> arguments, std::span<const OptionForm> forms,
               const std::function<void(std::size_t place, const std::string& value)>& option,
               const std::function<void(const std::string& text)>& word);

template <class Target>
Request parseOptions(std::span<const std::string> arguments,
                     std::span<const Option<Target>> options, Target& target,
                     const std::function<void(const std::string& text)>& word) {
    return parseArguments(
        arguments, formsOf(options),
        [&](std::size_t place, const std::string& value) { options[place].read(value, target); },
        word);
}

// Throws the OptionError about a value: "--state: "" is empty, expected a directory".
[[noreturn]] ORB_EXPORT void refuseValue(const std::string& option, std::string_view value,
                                         std::string_view wrong, std::string_view expected);
// A value that is a number. orElse: what else is taken, for the message, as " or max".
ORB_EXPORT U64 numberValue(const std::string& option, std::string_view value, Bounds bounds,
                           const std::string& orElse = "");

// The lines of the help, at most 79 columns wide: how the program is called,
//     Usage: tpcli [--state DIR] [--json] WORDS...
// and one paragraph for each option, the common ones included.
ORB_EXPORT std::string usageLine(const std::string& program, std::span<const OptionForm> forms,
                                 const std::string& words);
ORB_EXPORT std::string optionsHelp(std::span<const OptionForm> forms);

// "tpcli 1.0.0" and a line end.
ORB_EXPORT std::string versionText(const std::string& program);

}  // namespace Base
