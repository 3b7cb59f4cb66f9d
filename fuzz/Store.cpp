// Fuzzes the counter store. An input is a list of changes to a small whole store, one per line:
//
//     at OFFSET BYTE...   other bytes from an offset on, in hexadecimal
//     cut SIZE            a file of that size; longer ones are filled with zeros
//     unsealed            leaves the checksums as they are; else they are made right again
//
// Offsets and sizes are decimal; other lines mean nothing. The store is shown, cleared, and taken
// up by an agent that counts into it.
#include <cstdint>
#include <cstring>

#include "Reports.h"
#include "TemporaryFolder.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/CounterDirectory.h"
#include "reef/StoreWriter.h"
#include "state/CounterStore.h"
#include "state/State.h"

namespace {

constexpr std::size_t maxSize = 4096;

constexpr auto config = R"({"policyMapConfig": {"P": {"currCfg": {"namedCounter": ["C"], "rules": [
    {"name": "r", "priority": 1, "action": {"count": {"counterName": "C"}}},
    {"name": "s", "priority": 2, "action": {"count": {}}}]}}},
    "intfConfigInput": {"Ethernet1": "P"}, "intfConfigOutput": {"Ethernet1": "P"}})";

// The counters of a policy stand in the store, where the agent put them.
std::string statusWith(const std::string& counters) {
    const std::string policies = R"({"policyMapStatus": {"P": {
        "classMapStatus": {"r": ["ipv4"], "s": ["ipv6"]})" +
                                 counters + "}}}";
    return R"({"hwStatus": {"countersInReef": true, "byteCountersSupported": true},
        "interfaceInput": )" +
           policies + R"(, "interfaceOutput": )" + policies + "}";
}

// A folder with a state, and the bytes of its whole store.
struct Scene {
    Scene() {
        fileIs(folder.file("config.json"), config);
        fileIs(folder.file("status.json"), statusWith(R"(,
            "namedCounter": {"C": {"uniqueId": 3, "packets": 1, "bytes": 64}},
            "classCounter": {"r": {"uniqueId": 1, "packets": 7, "bytes": 448},
                             "s": {"uniqueId": 2, "packets": 9, "bytes": 576}})"));
        const auto state = StateDirectory::readState(folder.path());
        Reef::StoreWriter::create(path, state.interfaceInput, state.interfaceOutput,
                                  Reef::Identities::ofStatus);
        store = contentsOf(path);
        fileIs(folder.file("status.json"), statusWith(""));
    }
    TemporaryFolder folder;
    std::string path = StateDirectory::counterStorePath(folder.path());
    std::string store;
};

template <class T>
void copyFrom(const std::string& store, std::size_t& offset, std::vector<T>& to, U64 count) {
    to.resize(count);
    if (count == 0) return;
    std::memcpy(to.data(), store.data() + offset, count * sizeof(T));
    offset += count * sizeof(T);
}

// Makes the checksums right, as far as there is what they are of.
void seal(std::string& store) {
    Reef::Header header;
    if (store.size() < sizeof header) return;
    std::memcpy(&header, store.data(), sizeof header);
    const bool isSmall =
        header.policyCount < maxSize && header.counterCount < maxSize && header.nameBytes < maxSize;
    if (isSmall && recordsOffset(header) <= store.size()) {
        std::size_t offset = sizeof header;
        Reef::CounterDirectory directory;
        copyFrom(store, offset, directory.policies, header.policyCount);
        copyFrom(store, offset, directory.counters, header.counterCount);
        directory.names = store.substr(offset, header.nameBytes);
        header.directoryChecksum = directory.checksum();
    }
    header.headerChecksum = headerChecksum(header);
    std::memcpy(store.data(), &header, sizeof header);
}

std::string changed(std::string store, std::istream&& changes) {
    bool isSealed = true;
    for (std::string line; std::getline(changes, line);) {
        std::istringstream words(line);
        std::string what;
        std::size_t number = 0;
        words >> what >> number;
        if (what == "unsealed") isSealed = false;
        if (!words || number > maxSize) continue;
        if (what == "cut") store.resize(number);
        unsigned byte = 0;
        while (what == "at" && words >> std::hex >> byte && number < store.size()) {
            store[number++] = static_cast<char>(byte);
        }
    }
    if (isSealed) seal(store);
    return store;
}

void countInto(const std::string& path) {
    try {
        auto writer = Reef::StoreWriter::resume(path);
        for (U32 counter = 0; counter < writer.directory().counters.size(); ++counter) {
            const Reef::Increment increment{counter, {1, 64}};
            writer.add(std::span(&increment, 1));
        }
    } catch (const Cairn::CorruptionDetectedException&) {
        // A store that no agent takes up.
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Scene scene;
    fileIs(scene.path, changed(scene.store, std::istringstream(std::string(
                                                reinterpret_cast<const char*>(data), size))));
    fileIs(scene.folder.file("snapshots.json"), "{}");
    Fuzz::runCommands(scene.folder.path(), Fuzz::Commands::ofCounters);
    countInto(scene.path);
    Fuzz::runCommands(scene.folder.path(), Fuzz::Commands::ofCounters);
    return 0;
}
