#include "state/State.h"

#include "state/Config.h"
#include "state/Document.h"
#include "state/ImportedDirectory.h"
#include "state/Reading.h"
#include "state/SecondThread.h"
#include "state/Status.h"

namespace StateDirectory {

namespace {

using Read = void (*)(const Node& root, State& state);

// readDocument(path, read, state, second) returns when the document was written. The documents fill
// different members, so that two threads may fill one state.
template <class ReadDocument>
State readDocuments(const std::string& folder, const ReadDocument& readDocument) {
    State state;
    SecondThread second([&] {
        state.statusWritten = readDocument(folder + "/status.json", readStatus, state, second);
    });
    readDocument(folder + "/config.json", readConfig, state, second);
    second.finishFirst();
    return state;
}

State readFolder(const std::string& folder) {
    try {
        return readInPieces(folder);
    } catch (const NotInPieces&) {
        return readWhole(folder);
    }
}

}  // namespace

State readInPieces(const std::string& folder, std::size_t runSize) {
    const auto readDocument = [&](const std::string& path, Read read, State& state,
                                  SecondThread& second) {
        const Orb::ArenaScope arena;
        Pieces pieces(path, second, runSize);
        read(Node(pieces), state);
        pieces.end();
        return pieces.written();
    };
    return readDocuments(folder, readDocument);
}

State readWhole(const std::string& folder) {
    const auto readDocument = [](const std::string& path, Read read, State& state, SecondThread&) {
        const Document document(path);
        read(document.root(), state);
        return document.written();
    };
    return readDocuments(folder, readDocument);
}

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
