// snapshots.json on disk, as a DocumentWriter writes it.
#pragma once

#include <string>

#include "state/DocumentWriter.h"
#include "state/Snapshots.h"

namespace StateDirectory {

class SnapshotsWriter : public DocumentWriter {
  public:
    explicit SnapshotsWriter(const std::string& directory)
        : DocumentWriter(directory, "snapshots", Access::asBefore) {}

    // The snapshots as they stand. Throws as readSnapshots() does.
    Snapshots read() const { return readSnapshotsDocument(path()); }
    [[nodiscard]] std::string save(const Snapshots& snapshots) const {
        return DocumentWriter::save(snapshotsText(snapshots));
    }
};

}  // namespace StateDirectory
