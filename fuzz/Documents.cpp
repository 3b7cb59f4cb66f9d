// Fuzzes the documents of a state directory. An input holds config.json, status.json and
// snapshots.json, one after the other, with a line "---" before the second and the third; what is
// not there is empty.
#include <cstdint>

#include "Reports.h"
#include "TemporaryFolder.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const TemporaryFolder folder;
    constexpr std::string_view separator = "\n---\n";
    // A clear keeps damaged snapshots.
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        std::filesystem::remove(entry.path());
    }
    std::string_view rest(reinterpret_cast<const char*>(data), size);
    for (const char* const name : {"config.json", "status.json", "snapshots.json"}) {
        const std::size_t end = rest.find(separator);
        const std::string_view document = rest.substr(0, end);
        fileIs(folder.file(name), document.empty() ? "{}" : document);
        rest.remove_prefix(end == rest.npos ? rest.size() : end + separator.size());
    }
    Fuzz::runCommands(folder.path(), Fuzz::Commands::all);
    return 0;
}
