#include "cli/CommandError.h"

namespace Cli {

namespace {

constexpr std::size_t wordBytes = 60;
constexpr std::size_t lineColumns = 200;

}  // namespace

std::string explain(const Words& words, const CommandError& error) {
    std::string command = "  ";
    std::string marks;
    for (std::size_t i = 0; i <= words.size(); ++i) {
        if (i == error.position()) {
            marks.assign(Base::terminalColumns(command), ' ');
            marks += '^';
        }
        if (i == words.size()) break;
        if (i > error.position() && command.size() > lineColumns) {
            command += "... ";
            break;
        }
        const std::string word = Base::shortened(words[i], wordBytes);
        const std::size_t width = Base::terminalColumns(word);
        if (i == error.position() && width > 1) marks.append(width - 1, '~');
        command += word + " ";
    }
    command.pop_back();
    return std::string(error.what()) + "\n" + command + "\n" + marks + " expected " +
           error.expected();
}

}  // namespace Cli
