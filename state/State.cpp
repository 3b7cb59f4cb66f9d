#include "state/State.h"

#include <future>

#include "state/Config.h"
#include "state/Document.h"
#include "state/ImportedDirectory.h"
#include "state/Status.h"

namespace StateDirectory {

namespace {

// Returns when the document was written.
Orb::Seconds readDocument(const std::string& path, State& state,
                          void (*read)(const Node& root, State& state)) {
    const Document document(path);
    read(document.root(), state);
    return document.written();
}

}  // namespace

namespace {

State readFolder(const std::string& folder) {
    // The documents fill different members, so that two threads may fill one state.
    State state;
    auto status =
        std::async([&] { return readDocument(folder + "/status.json", state, readStatus); });
    readDocument(folder + "/config.json", state, readConfig);
    state.statusWritten = status.get();
    return state;
}

}  // namespace

State readState(const std::string& directory) {
    for (;;) {
        const std::string folder = documentsFolder(directory);
        try {
            return readFolder(folder);
        } catch (const UnreadableError&) {
            // Imports that came meanwhile have removed what was in force at first.
            if (documentsFolder(directory) == folder) throw;
        }
    }
}

namespace {

// Of objects nested less deep each member has a line: a rule in config.json, a record of a policy
// in status.json.
constexpr U32 linesToDepth = 6;

std::string textOf(const State& state, void (*write)(Writer& writer, const State& state)) {
    Writer writer(linesToDepth);
    write(writer, state);
    return writer.take();
}

}  // namespace

std::string configText(const State& state) { return textOf(state, writeConfig); }
std::string statusText(const State& state) { return textOf(state, writeStatus); }

}  // namespace StateDirectory
