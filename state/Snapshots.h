// The counter snapshots of a state directory, as snapshots.json holds them.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "hive/PolicyMapStatus.h"
#include "reef/UnusedIdentities.h"
#include "state/StateError.h"

namespace StateDirectory {

// One store per target of a clear; none is null.
struct Snapshots {
    Orb::Ptr<TrafficPolicy::Counter> cpu = Orb::make<TrafficPolicy::Counter>();
    Orb::Ptr<TrafficPolicy::Counter> interfaceInput = Orb::make<TrafficPolicy::Counter>();
    Orb::Ptr<TrafficPolicy::Counter> interfaceOutput = Orb::make<TrafficPolicy::Counter>();
};

inline std::string snapshotsPath(const std::string& directory) {
    return directory + "/snapshots.json";
}

// Reads snapshots.json of the directory. Without such a file the stores are empty: nothing was ever
// cleared. Throws UnreadableError when it cannot be read, and StateError when it has a mistake.
Snapshots readSnapshots(const std::string& directory);
// The same of the document's own path.
Snapshots readSnapshotsDocument(const std::string& path);

// Says whether a document can bear the text, as a name, a user or a terminal.
bool canBeName(std::string_view text);

// The counts that a user remembers of one state directory, by the names of the marks.
struct Marks {
    std::string stateDirectory;
    std::map<std::string, Snapshots> marks;
};
// Reads a document of marks; without a file there are none. Throws like readSnapshots().
Marks readMarks(const std::string& path);
std::string marksText(const Marks& marks);

// The identities of all records that a snapshot was taken of, with the highest snapshot of each.
Reef::UsedIdentities identitiesOf(const Snapshots& snapshots);

// The document that readSnapshots() reads back as the same snapshots; entries ascend by name.
// Throws StateError when a snapshot bears a name or an identity that the reader would refuse.
std::string snapshotsText(const Snapshots& snapshots);

}  // namespace StateDirectory
