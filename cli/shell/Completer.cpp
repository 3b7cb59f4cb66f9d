#include "cli/shell/Completer.h"

#include <algorithm>
#include <set>

#include "base/Escape.h"
#include "cli/Commands.h"
#include "cli/FieldSetCommands.h"
#include "cli/KnownNames.h"
#include "cli/shell/CommandLine.h"
#include "cli/shell/Pipes.h"
#include "cli/shell/WordHelp.h"

namespace Cli::Shell {

namespace {

using StateDirectory::State;

// Names in the order in which they are offered.
using NameSet = std::set<std::string>;

NameSet vlanNumbers(const State& state) {
    NameSet numbers;
    if (!state.intfConfigBridged) return numbers;
    for (const auto& entry : state.intfConfigBridged->intf()) {
        const std::string& name = entry.key.stringValue();
        numbers.insert(name.starts_with("Vlan") ? name.substr(4) : name);
    }
    return numbers;
}

std::string_view lastLabel(const Match& before) {
    return before.tokens.empty() ? "" : before.tokens.back().label;
}

Names namesAfter(std::string_view last, const Match& before, const State& state) {
    if (last == "vrf") return vrfNames(state);
    if (last == "counter") return counterNames(state);
    if (last == "nexthop-group") return nexthopGroupNames(state);
    if (before.has("field-set")) return fieldSetNames(before, state);
    return policyNames(state);
}

// The names that an argument can be, given the words before it.
NameSet namesFor(std::string_view label, const Match& before, const NameSources& sources) {
    // A mark that is made has a new name.
    if (label == "MARK" && before.tokens.size() > 1) {
        const std::vector<std::string> marks = sources.marks();
        return {marks.begin(), marks.end()};
    }
    if (sources.state == nullptr) return {};
    const State& state = *sources.state;
    if (label == "VLAN") return vlanNumbers(state);
    const Names names = label == "INTF"   ? interfaceNames(state)
                        : label == "VRF"  ? vrfNames(state)
                        : label == "NAME" ? namesAfter(lastLabel(before), before, state)
                                          : Names();
    return {names.begin(), names.end()};
}

// Whether a keyword asks for a policy on a kind of place that it is not on, while it is on others.
bool isElsewhere(std::string_view keyword, const Match& before, const State& state) {
    if (before.tokens.size() != 3 || lastLabel(before) != "NAME") return false;
    const std::vector<std::string_view> words = placeWordsOf(before.name(), state);
    return !words.empty() && std::ranges::find(words, keyword) == words.end();
}

// Whether a name reads as a keyword, whole or shortened.
bool isKeyword(std::string_view name, const std::vector<std::string_view>& labels) {
    return std::ranges::any_of(labels,
                               [&](std::string_view label) { return label.starts_with(name); });
}

// A name as it is typed: in double quotes when it would not be one word, or when it would be read
// as a keyword.
std::string typed(std::string_view name, bool needsQuotes,
                  const std::vector<std::string_view>& labels) {
    if (!needsQuotes && !isKeyword(name, labels) && name.find_first_of(" \t\"|") == name.npos &&
        !name.starts_with('#')) {
        return std::string(name);
    }
    std::string text = "\"";
    for (const char character : name) {
        if (character == '"') text += '\\';
        text += character;
    }
    return text + '"';
}

bool isArgument(std::string_view label) { return label.front() >= 'A' && label.front() <= 'Z'; }

void completeName(std::string_view label, const Grammar::Position& position, std::string_view begun,
                  const NameSources& sources, Completion& result) {
    for (const std::string& name : namesFor(label, position.before, sources)) {
        const std::string text = typed(name, begun.starts_with('"'), position.labels);
        if (text.starts_with(begun)) result.choices.push_back({text, ""});
    }
}

void completeCommand(const Words& before, std::string_view begun, const Grammar& commands,
                     const NameSources& sources, Completion& result) {
    const State* const state = sources.state;
    const Grammar::Position position = commands.after(before);
    for (const std::string_view label : position.labels) {
        const std::string_view help = helpOf(label, lastLabel(position.before));
        if (isArgument(label)) {
            if (begun.empty()) result.choices.push_back({std::string(label), help, false});
            completeName(label, position, begun, sources, result);
        } else if (label.starts_with(begun)) {
            const bool isOffered =
                !begun.empty() || state == nullptr || !isElsewhere(label, position.before, *state);
            result.choices.push_back({std::string(label), help, isOffered});
        }
    }
    result.isComplete = begun.empty() && position.isComplete;
}

void completeFilter(std::span<const CommandLine::Stage> before, const Words& words,
                    std::string_view begun, Completion& result) {
    for (const FilterCommand* const filter : filtersAfter(before)) {
        const std::size_t blank = std::min(filter->line.find(' '), filter->line.size());
        const std::string_view keyword = filter->line.substr(0, blank);
        if (words.empty()) {
            if (keyword.starts_with(begun)) {
                result.choices.push_back({std::string(keyword), filter->purpose});
            }
        } else if (begun.empty() && words.size() == 1 && keyword.starts_with(words.front())) {
            result.isComplete = blank == filter->line.size();
            if (result.isComplete) continue;
            const std::string_view argument = filter->line.substr(blank + 1);
            result.choices.push_back({std::string(argument), helpOf(argument, ""), false});
        }
    }
    result.isComplete = result.isComplete || words.size() == 2;
}

}  // namespace

Completion complete(std::string_view text, const Grammar& commands, const NameSources& names) {
    Completion result;
    const CommandLine line = splitLine(text);
    result.wordBegin = line.lastWordBegin;
    result.isInQuotes = line.isInQuotes;
    const std::string_view begun = text.substr(line.lastWordBegin);
    Words words = line.stages.back().words;
    if (!begun.empty() && !words.empty()) words.pop_back();
    // Behind "watch [SECONDS]" stands a command like any other.
    if (line.stages.size() == 1 && !words.empty() && words.front() == "watch") {
        words.erase(words.begin());
        const bool hasSeconds =
            !words.empty() && words.front().front() >= '0' && words.front().front() <= '9';
        if (hasSeconds) words.erase(words.begin());
    }
    try {
        if (line.stages.size() == 1) {
            completeCommand(words, begun, commands, names, result);
            if (result.isComplete) result.choices.push_back({"|", "filter the report", false});
        } else {
            const auto filters = std::span(line.stages).subspan(1);
            completeFilter(filters.first(filters.size() - 1), words, begun, result);
        }
    } catch (const CommandError& error) {
        result.problem = std::string(error.what()) + ", expected " + error.expected();
    }
    return result;
}

std::vector<std::string> argumentsAfter(const Words& words, const NameSources& names) {
    std::vector<std::string> found;
    try {
        const Grammar::Position position = grammar().after(words);
        for (const std::string_view label : position.labels) {
            if (!isArgument(label)) {
                found.emplace_back(label);
                continue;
            }
            for (const std::string& name : namesFor(label, position.before, names)) {
                found.push_back(isKeyword(name, position.labels) ? '"' + name + '"' : name);
            }
        }
    } catch (const CommandError&) {
        found.clear();
    }
    return found;
}

namespace {

// As many columns as fit.
std::string inColumns(const std::vector<Completion::Choice>& choices, std::size_t columns) {
    std::size_t width = 0;
    for (const auto& choice : choices) width = std::max(width, choice.text.size() + 2);
    const std::size_t perLine = std::max<std::size_t>(1, columns / width);
    const std::size_t lines = (choices.size() + perLine - 1) / perLine;
    std::string text;
    for (std::size_t line = 0; line < lines; ++line) {
        for (std::size_t at = line; at < choices.size(); at += lines) {
            const std::string escaped = Base::escaped(choices[at].text);
            text += escaped;
            if (at + lines < choices.size()) text.append(width - choices[at].text.size(), ' ');
        }
        text += '\n';
    }
    return text;
}

constexpr std::size_t mostNames = 200;

}  // namespace

TabAnswer answerTab(std::string_view line, const Completion& completion, std::size_t columns) {
    std::vector<Completion::Choice> typedOnes;
    for (const auto& choice : completion.choices) {
        if (choice.isTyped) typedOnes.push_back(choice);
    }
    if (typedOnes.empty()) return {"", helpText(completion)};
    std::string_view common = typedOnes.front().text;
    for (const auto& choice : typedOnes) {
        std::size_t length = 0;
        while (length < std::min(common.size(), choice.text.size()) &&
               common[length] == choice.text[length]) {
            ++length;
        }
        common = common.substr(0, length);
    }
    const std::size_t begun = line.size() - completion.wordBegin;
    // Nothing but whole characters.
    while (common.size() > begun && typedOnes.size() > 1 &&
           common.size() < typedOnes[0].text.size() &&
           (typedOnes[0].text[common.size()] & 0xC0) == 0x80) {
        common.remove_suffix(1);
    }
    if (typedOnes.size() == 1 && completion.choices.size() == 1) {
        return {std::string(common.substr(begun)) + " ", ""};
    }
    if (common.size() > begun) return {std::string(common.substr(begun)), ""};
    if (typedOnes.size() > mostNames) {
        const std::size_t more = typedOnes.size() - mostNames;
        typedOnes.resize(mostNames);
        return {"", inColumns(typedOnes, columns) + "... and " + std::to_string(more) + " more\n"};
    }
    return {"", inColumns(typedOnes, columns)};
}

std::string helpText(const Completion& completion) {
    if (!completion.problem.empty()) return completion.problem + "\n";
    std::size_t width = 8;
    for (const auto& choice : completion.choices) {
        if (!choice.help.empty()) width = std::max(width, choice.text.size());
    }
    std::string text;
    std::size_t names = 0;
    for (const auto& choice : completion.choices) {
        if (choice.help.empty() && ++names > mostNames) continue;
        text += (choice.help.empty() ? "    " : "  ") + Base::escaped(choice.text);
        if (!choice.help.empty()) {
            text.append(width - choice.text.size() + 2, ' ').append(choice.help);
        }
        text += '\n';
    }
    if (names > mostNames) text += "    ... and " + std::to_string(names - mostNames) + " more\n";
    if (completion.isComplete) text.append("  <Enter>").append(width - 5, ' ').append("run it\n");
    return text.empty() ? "nothing begins like that here\n" : text;
}

}  // namespace Cli::Shell
