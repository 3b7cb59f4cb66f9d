// A kind of field sets that is forgotten in one place of the commands.
#include "cli/FieldSetCommands.h"

#include <gmock/gmock.h>

#include "../state/TemporaryState.h"

namespace {

using testing::UnorderedElementsAreArray;

std::vector<std::string_view> wordsBehind(const Cli::Words& words) {
    return Cli::grammar().after(words).labels;
}

TEST(FieldSetCommands, knowTheNamesOfEveryKind) {
    std::string sets;
    std::vector<std::string> names{"mac"};
    for (const auto& attribute : Classification::FieldSetConfig::orbType().attributes()) {
        const std::string name(attribute.name);
        sets += (sets.empty() ? "\"" : ", \"") + name + "\": {\"of-" + name + "\": {}}";
        names.push_back("of-" + name);
    }
    const TemporaryState directory;
    directory.documentIs("config", "{\"fieldSetConfig\": {" + sets +
                                       "}, \"fieldSetMacAddr\": {\"cli\": {\"mac\": {}}}}");
    const auto state = StateDirectory::readState(directory.path());
    EXPECT_THAT(Cli::fieldSetNames(state), UnorderedElementsAreArray(names));
}

TEST(FieldSetCommands, areExplainedAndAskedForEveryKind) {
    const Cli::Words show{"show", "traffic-policy", "field-set"};
    Cli::Words holding = show;
    holding.push_back("holding");
    std::vector<std::string_view> asked{"ADDRESS"};
    for (const std::string_view word : wordsBehind(show)) {
        if (word == "holding") continue;
        EXPECT_NE(Cli::fieldSetHelp(word, "field-set"), "") << word;
        if (word == "ipv4" || word == "ipv6") continue;  // an address says which
        EXPECT_NE(Cli::fieldSetHelp(word, "holding"), "") << word;
        asked.push_back(word);
    }
    EXPECT_THAT(wordsBehind(holding), UnorderedElementsAreArray(asked));
}

}  // namespace
