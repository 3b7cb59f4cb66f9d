#include "state/State.h"

#include <future>

#include "state/Config.h"
#include "state/Document.h"
#include "state/Status.h"

namespace StateDirectory {

namespace {

void readDocument(const std::string& path, State& state,
                  void (*read)(const Node& root, State& state)) {
    const Document document(path);
    read(document.root(), state);
}

}  // namespace

State readState(const std::string& directory) {
    // The documents fill different members, so that two threads may fill one state.
    State state;
    auto status = std::async([&] { readDocument(directory + "/status.json", state, readStatus); });
    readDocument(directory + "/config.json", state, readConfig);
    status.get();
    return state;
}

}  // namespace StateDirectory
