#include "state/State.h"

#include "state/Config.h"
#include "state/Document.h"
#include "state/ImportedDirectory.h"
#include "state/Reading.h"
#include "state/SecondThread.h"
#include "state/Shared.h"
#include "state/Status.h"

namespace StateDirectory {

namespace {

State readFolder(const std::string& folder, const Wanted& wanted) {
    try {
        return readInPieces(folder, wanted);
    } catch (const NotInPieces&) {
        return readWhole(folder);
    }
}

std::string configIn(const std::string& folder) { return folder + "/config.json"; }
std::string statusIn(const std::string& folder) { return folder + "/status.json"; }

}  // namespace

// The documents fill different members, so that two threads may fill one state.

State readInPieces(const std::string& folder, const Wanted& wanted, std::size_t runSize) {
    const Orb::ArenaScope arena;
    const Shared::Scope shared;
    State state;
    std::optional<Pieces> status;
    SecondThread second([&] {
        status.emplace(statusIn(folder), second, runSize, wanted);
        readStatus(Node(*status), state);
        status->end();
        state.statusWritten = status->written();
    });
    Pieces config(configIn(folder), second, runSize, wanted);
    readConfig(Node(config), state);
    config.end();
    second.finishFirst();
    if (!wanted.passesOverPolicies()) return state;
    const auto isWanted = wantedPolicies(wanted, state);
    readPassedOver(config, isWanted);
    readPassedOver(*status, isWanted);
    checkDirections(Node(*status), state);
    return state;
}

State readWhole(const std::string& folder) {
    const Shared::Scope shared;
    State state;
    SecondThread second([&] {
        const Document status(statusIn(folder));
        readStatus(status.root(), state);
        state.statusWritten = status.written();
    });
    const Document config(configIn(folder));
    readConfig(config.root(), state);
    second.finishFirst();
    return state;
}

State readState(const std::string& directory, const Wanted& wanted) {
    for (;;) {
        const std::string folder = documentsFolder(directory);
        try {
            return readFolder(folder, wanted);
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
