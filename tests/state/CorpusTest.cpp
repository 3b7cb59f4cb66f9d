// The reader over the corpus that the schemas are held against too (tests/schema): documents that
// both accept, and documents that are refused with the message given. A case stands in the place of
// the "@" of its file's frame.
#include <gmock/gmock.h>
#include <simdjson.h>

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
    simdjson::dom::element unused;
    if (entry.at_key("says").get(unused) != simdjson::SUCCESS) return "";
    const std::string says = textOf(entry, "says");
    if (entry.at_key("line").get(unused) == simdjson::SUCCESS) {
        return "line " + simdjson::minify(entry["line"]) + ", column " +
               simdjson::minify(entry["column"]) + ": " + says;
    }
    return "at \"" + textOf(file, "at") + textOf(entry, "at") + "\": " + says;
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
        EXPECT_EQ(state.refusal(), expected) << entry.text;
    }
}

TEST(StateCorpus, IsAccepted) { check("accept", 20); }
TEST(StateCorpus, IsRefusedWithPlaceAndReason) { check("refuse", 100); }

// The document with the value at a position (in the order of a walk) replaced by one that stands
// nowhere, or with an object at that position given one more member.
class Mutation {
  public:
    Mutation(std::size_t position, bool addsMember)
        : position_(position), addsMember_(addsMember) {}

    std::string text(simdjson::dom::element element) {
        const bool isHere = next_++ == position_;
        if (isHere && !addsMember_) return "[[]]";
        std::string out;
        if (simdjson::dom::object object; element.get(object) == simdjson::SUCCESS) {
            if (isHere) out = "\"unknown\": [[]]";
            for (const auto& [key, value] : object) {
                if (!out.empty()) out += ",";
                out += "\"" + std::string(key) + "\":" + text(value);
            }
            isMutated_ |= isHere;
            return "{" + out + "}";
        }
        if (simdjson::dom::array list; element.get(list) == simdjson::SUCCESS) {
            for (const simdjson::dom::element value : list) {
                if (!out.empty()) out += ",";
                out += text(value);
            }
            return "[" + out + "]";
        }
        return simdjson::minify(element);
    }
    std::size_t positions() const { return next_; }
    bool isMutated() const { return !addsMember_ || isMutated_; }

  private:
    std::size_t position_;
    bool addsMember_;
    std::size_t next_ = 0;
    bool isMutated_ = false;
};

TEST(StateCorpus, DocumentedExampleIsRefusedWithAnyValueReplacedOrMemberAdded) {
    const auto examples = documentedExamples();
    ASSERT_EQ(examples.size(), std::size(documentNames));
    for (std::size_t i = 0; i < examples.size(); ++i) {
        simdjson::dom::parser parser;
        const simdjson::dom::element example = parser.parse(examples[i]);
        Mutation none(~std::size_t{0}, false);
        none.text(example);
        const TemporaryState state;
        for (std::size_t position = 0; position < 2 * none.positions(); ++position) {
            Mutation mutation(position / 2, position % 2 != 0);
            const std::string text = mutation.text(example);
            if (!mutation.isMutated()) continue;
            state.documentIs(documentNames[i], text);
            EXPECT_NE(state.refusal(), "") << text;
        }
    }
}

}  // namespace
