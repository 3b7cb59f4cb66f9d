// Fuzzes the data of switches. An input holds OpenConfig data; or, with lines "---" between them,
// the exported CONFIG_DB, STATE_DB and COUNTERS_DB. Whatever is imported has to be a state that the
// reader takes.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "TemporaryFolder.h"
#include "import/OpenConfig.h"
#include "import/OpenConfigInput.h"
#include "import/Sonic.h"
#include "state/State.h"

namespace {

constexpr std::string_view separator = "\n---\n";

Import::Gathered gather(const TemporaryFolder& folder, std::string_view text,
                        Import::Findings& findings) {
    const std::string file = folder.file("input.json");
    if (text.find(separator) == text.npos) {
        fileIs(file, text);
        Import::JsonTree tree;
        Import::readOpenConfig(file, tree, findings);
        return Import::gatherOpenConfig(tree, findings);
    }
    Import::SonicDatabases databases;
    for (const auto& database : Import::sonicDatabases) {
        const std::size_t end = text.find(separator);
        const std::string_view document = text.substr(0, end);
        fileIs(file, document.empty() ? "{}" : document);
        Import::readSonicFile(file, database, databases, findings);
        text.remove_prefix(end == text.npos ? text.size() : end + separator.size());
    }
    return Import::gatherSonic(databases, findings);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    Import::Findings findings;
    std::string config;
    std::string status;
    try {
        const auto state = stateOf(
            gather(folder, std::string_view(reinterpret_cast<const char*>(data), size), findings));
        config = configText(state);
        status = statusText(state);
    } catch (const StateDirectory::StateError&) {
        return 0;  // the input is refused
    }
    fileIs(folder.file("config.json"), config);
    fileIs(folder.file("status.json"), status);
    try {
        StateDirectory::readState(folder.path());
    } catch (const StateDirectory::StateError& error) {
        std::fprintf(stderr, "%s\n", error.what());
        std::abort();
    }
    return 0;
}
