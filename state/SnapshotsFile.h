// snapshots.json on disk: replaced as a whole, by one writer at a time. Whatever instant a writer
// dies at, the document is the old one or the new one.
#pragma once

#include <string>

#include "state/Snapshots.h"

namespace StateDirectory {

// Writes the snapshots of one state directory. Its life is the right to do so: other writers wait
// (on the lock of "snapshots.lock") until it ends, and the live counts that go into a document must
// be read within it, or a later clear could be undone by an earlier one.
class SnapshotsWriter {
  public:
    // Waits for the lock, then removes temporaries that killed writers left. Throws StateError when
    // the lock cannot be had, and textout::SigIntException when the operator interrupts the wait.
    explicit SnapshotsWriter(std::string directory);
    ~SnapshotsWriter();
    SnapshotsWriter(const SnapshotsWriter&) = delete;
    SnapshotsWriter& operator=(const SnapshotsWriter&) = delete;

    // Gives a damaged document a second name, under which it is kept when save() replaces it.
    // Returns that name. Throws StateError.
    std::string keepDamaged() const;

    // Replaces the document: a temporary is written, synced and renamed, and the directory synced.
    // Throws StateError, after which the old document stands.
    void save(const Snapshots& snapshots) const;

  private:
    std::string pathOf(const std::string& name) const { return directory_ + "/" + name; }
    void removeTemporaries() const;

    std::string directory_;
    int lock_;
};

}  // namespace StateDirectory
