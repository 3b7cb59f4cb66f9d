// The reader over the corpus that the schemas are held against too (tests/schema): documents that
// both accept, and documents that are refused with the message given. A case stands in the place of
// the "@" of its file's frame.
#include <gmock/gmock.h>
#include <simdjson.h>

#include <regex>

#include "TemporaryState.h"

namespace {

struct Case {
    std::string document;
    std::string text;
    std::string message;  // behind the document's name; empty: accepted
};

std::string textOf(simdjson::dom::element object, std::string_view key) {
    std::string_view text;
    return object.at_key(key).get(text) == simdjson::SUCCESS ? std::string(text) : "";
}

std::string messageOf(simdjson::dom::element file, simdjson::dom::element entry) {
    const std::string says = textOf(entry, "says");
    if (says.empty()) return "";
    simdjson::dom::element line;
    if (entry.at_key("line").get(line) != simdjson::SUCCESS) {
        return "at \"" + textOf(file, "at") + textOf(entry, "at") + "\": " + says;
    }
    const std::string column = simdjson::minify(entry["column"]);
    return "line " + simdjson::minify(line) + ", column " + column + ": " + says;
}

std::vector<Case> casesOf(const std::string& folder) {
    std::vector<Case> cases;
    for (const auto& path :
         std::filesystem::directory_iterator(SOURCE_DIR "/tests/state/corpus/" + folder)) {
        simdjson::dom::parser parser;
        const simdjson::dom::element file = parser.load(path.path().string());
        for (const simdjson::dom::element entry : file["cases"]) {
            std::string text = textOf(entry, "text");
            simdjson::dom::element value;
            if (entry.at_key("value").get(value) == simdjson::SUCCESS) {
                text = textOf(file, "within");
                text.replace(text.find('@'), 1, simdjson::minify(value));
            }
            cases.push_back({textOf(file, "document"), text, messageOf(file, entry)});
        }
    }
    return cases;
}

void check(const std::string& folder, std::size_t leastCases) {
    const auto cases = casesOf(folder);
    EXPECT_GE(cases.size(), leastCases);
    for (const Case& entry : cases) {
        const TemporaryState state;
        state.documentIs(entry.document, entry.text);
        const std::string expected =
            entry.message.empty() ? "" : state.document(entry.document) + ": " + entry.message;
        // A pointer comes with the line and the column, which have a test of their own.
        static const std::regex place("(: at \".*?\"), line [0-9]+, column [0-9]+:");
        EXPECT_EQ(std::regex_replace(state.refusal(), place, "$1:"), expected) << entry.text;
    }
}

TEST(StateCorpus, IsAccepted) { check("accept", 20); }
TEST(StateCorpus, IsRefusedWithPlaceAndReason) { check("refuse", 100); }

// Where the value or the key ends that begins there in a text without blanks.
std::size_t endOf(std::string_view text, std::size_t at) {
    if (text[at] == '"') {
        for (++at; text[at] != '"'; ++at) at += text[at] == '\\' ? 1 : 0;
        return at + 1;
    }
    if (text[at] != '{' && text[at] != '[')
        return std::min(text.find_first_of(",]}", at), text.size());
    for (++at; text[at] != '}' && text[at] != ']';) {
        at = text[at] == ',' || text[at] == ':' ? at + 1 : endOf(text, at);
    }
    return at + 1;
}

// The document with each of its values replaced by one that stands nowhere, and with each of its
// objects given one more member.
std::vector<std::string> mutations(const std::string& text) {
    std::vector<std::string> mutations;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = endOf(text, at);
        if (text[end] != ':') {
            mutations.push_back(text.substr(0, at) + "[[]]" + text.substr(end));
        }
        if (text[at] == '{') {
            const std::string behind = (text[at + 1] == '}' ? "" : ",") + text.substr(at + 1);
            mutations.push_back(text.substr(0, at) + "{\"unknown\":[[]]" + behind);
        }
        const bool isOpening = text[at] == '{' || text[at] == '[';
        at = text.find_first_not_of(",:]}", isOpening ? at + 1 : end);
    }
    return mutations;
}

TEST(StateCorpus, DocumentedExampleIsRefusedWithAnyValueReplacedOrMemberAdded) {
    const auto examples = documentedExamples();
    ASSERT_EQ(examples.size(), std::size(documentNames));
    for (std::size_t i = 0; i < examples.size(); ++i) {
        simdjson::dom::parser parser;
        const std::string example = simdjson::minify(parser.parse(examples[i]));
        const TemporaryState state;
        for (const std::string& text : mutations(example)) {
            ASSERT_EQ(parser.parse(text).error(), simdjson::SUCCESS) << text;
            state.documentIs(documentNames[i], text);
            EXPECT_NE(state.refusal(), "") << text;
        }
        EXPECT_GT(mutations(example).size(), std::count(example.begin(), example.end(), ':'));
    }
}

}  // namespace
