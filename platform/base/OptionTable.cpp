#include "base/OptionTable.h"

#include <algorithm>
#include <sstream>

#include "base/Text.h"
#include "base/Version.h"

namespace Base {

namespace {

constexpr std::size_t lineWidth = 79;
constexpr std::size_t helpColumn = 18;

[[noreturn]] void refuseOption(const std::string& name, std::span<const OptionForm> forms) {
    std::vector<std::string_view> known;
    for (const OptionForm& form : forms) known.push_back(form.name);
    known.insert(known.end(), {"--help", "--version"});
    throw OptionError("unknown option " + inQuotes(name) + ", expected " + choiceText(known));
}

// Appends words to a text of lines, each begun with an indentation.
class Paragraph {
  public:
    Paragraph(std::string& text, std::size_t indent) : text_(text), indent_(indent) {}

    void add(std::string_view word) {
        const std::size_t column = text_.size() - (text_.rfind('\n') + 1);
        if (column > indent_ && column + 1 + word.size() > lineWidth) {
            text_ += '\n' + std::string(indent_, ' ');
        } else if (column > indent_) {
            text_ += ' ';
        } else {
            text_.append(indent_ - column, ' ');
        }
        text_ += word;
    }

  private:
    std::string& text_;
    std::size_t indent_;
};

void appendHelp(std::string& text, const std::string& option, const std::string& help) {
    text += "  " + option;
    if (option.size() + 4 > helpColumn) text += '\n';
    Paragraph paragraph(text, helpColumn);
    std::istringstream words(help);
    for (std::string word; words >> word;) paragraph.add(word);
    text += '\n';
}

using Argument = std::span<const std::string>::iterator;

// The value of an option, behind "=" or in the argument that follows, to which it steps.
std::string valueOf(const OptionForm& form, Argument& argument, Argument end) {
    const std::size_t equals = argument->find('=');
    if (equals != std::string::npos) {
        if (form.value.empty()) throw OptionError(form.name + " takes no value");
        return argument->substr(equals + 1);
    }
    if (form.value.empty()) return "";
    if (++argument == end) {
        throw OptionError(form.name + " needs a value, expected " + form.expected);
    }
    return *argument;
}

std::string withValue(const OptionForm& form) {
    return form.value.empty() ? form.name : form.name + " " + form.value;
}

}  // namespace

Request parseArguments(
    std::span<const std::string> arguments, std::span<const OptionForm> forms,
    const std::function<void(std::size_t place, const std::string& value)>& option,
    const std::function<void(const std::string& text)>& word) {
    for (auto argument = arguments.begin(); argument != arguments.end(); ++argument) {
        if (*argument == "--") {
            std::for_each(argument + 1, arguments.end(), word);
            break;
        }
        if (argument->size() < 2 || argument->front() != '-') {
            word(*argument);
            continue;
        }
        if (*argument == "-h" || *argument == "--help") return Request::help;
        if (*argument == "--version") return Request::version;
        const std::string name = argument->substr(0, argument->find('='));
        const auto form = std::ranges::find(forms, name, &OptionForm::name);
        if (form == forms.end()) refuseOption(name, forms);
        const std::string value = valueOf(*form, argument, arguments.end());
        option(static_cast<std::size_t>(form - forms.begin()), value);
    }
    return Request::run;
}

void refuseValue(const std::string& option, std::string_view value, std::string_view wrong,
                 std::string_view expected) {
    throw OptionError(option + ": " + inQuotes(value) + " " + std::string(wrong) + ", expected " +
                      std::string(expected));
}

U64 numberValue(const std::string& option, std::string_view value, Bounds bounds,
                const std::string& orElse) {
    if (const auto number = parseNumber(value, bounds)) return *number;
    const NumberFault fault = numberFault(value, bounds);
    refuseValue(option, value, fault.wrong,
                fault.right.empty() ? "a number " + bounds.stringValue() + orElse : fault.right);
}

std::string usageLine(const std::string& program, std::span<const OptionForm> forms,
                      const std::string& words) {
    std::string text = "Usage: " + program;
    Paragraph paragraph(text, text.size() + 1);
    for (const OptionForm& form : forms) paragraph.add("[" + withValue(form) + "]");
    if (!words.empty()) paragraph.add(words);
    return text + '\n';
}

std::string optionsHelp(std::span<const OptionForm> forms) {
    std::string text;
    for (const OptionForm& form : forms) appendHelp(text, withValue(form), form.help);
    appendHelp(text, "--", "what follows are words, even if they look like options");
    appendHelp(text, "-h, --help", "print this text");
    appendHelp(text, "--version", "print the version");
    return text;
}

std::string versionText(const std::string& program) {
    return program + " " + std::string(version) + "\n";
}

}  // namespace Base
