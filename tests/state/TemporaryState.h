// A state directory that a test fills and that goes with it.
#pragma once

#include <string_view>
#include <vector>

#include "TemporaryFolder.h"
#include "state/Snapshots.h"
#include "state/State.h"

class TemporaryState : public TemporaryFolder {
  public:
    // Starts with empty required documents.
    TemporaryState() {
        documentIs("config", "{}");
        documentIs("status", "{}");
    }

    std::string document(std::string_view name) const { return file(std::string(name) + ".json"); }
    void documentIs(std::string_view name, std::string_view text) const {
        fileIs(document(name), text);
    }

    // Reads all that the directory holds; returns the message of the refusal, empty when there is
    // none.
    std::string refusal() const {
        try {
            StateDirectory::readState(path());
            StateDirectory::readSnapshots(path());
            return "";
        } catch (const StateDirectory::StateError& error) {
            return error.what();
        }
    }
};

// The example documents of docs/state.md: config, status and snapshots.
inline std::vector<std::string> documentedExamples() {
    const std::string page = contentsOf(SOURCE_DIR "/docs/state.md");
    static constexpr std::string_view begin = "```json\n";
    std::vector<std::string> examples;
    for (std::size_t at = 0; (at = page.find(begin, at)) != std::string::npos;) {
        at += begin.size();
        examples.push_back(page.substr(at, page.find("```", at) - at));
    }
    return examples;
}

inline constexpr std::string_view documentNames[] = {"config", "status", "snapshots"};

// A state directory with the documented examples.
class DocumentedState : public TemporaryState {
  public:
    DocumentedState() {
        const auto examples = documentedExamples();
        for (std::size_t i = 0; i < examples.size(); ++i) documentIs(documentNames[i], examples[i]);
    }
};
