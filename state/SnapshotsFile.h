// snapshots.json on disk: replaced as a whole, by one writer at a time. Whatever instant a writer
// dies at, the document is the old one or the new one.
#pragma once

#include <string>

#include "base/File.h"
#include "state/Snapshots.h"

namespace StateDirectory {

// Writes the snapshots of one state directory. Its life is the right to do so: other writers wait
// (on the lock of "snapshots.lock") until it ends, and the live counts that go into a document must
// be read within it, or a later clear could be undone by an earlier one.
//
// A snapshots.json that is a symbolic link stands for the document that it leads to: lock and
// temporaries are beside that document, and the link stays.
class SnapshotsWriter {
  public:
    // Waits for the lock, then removes temporaries that killed writers left. Throws StateError when
    // the lock cannot be had or a link leads nowhere, and textout::SigIntException when the
    // operator interrupts the wait.
    explicit SnapshotsWriter(const std::string& directory);

    // The snapshots as they stand. Throws as readSnapshots() does.
    Snapshots read() const { return readSnapshotsDocument(document_); }
    // Says whether the document is reached by a link.
    bool isLinked() const { return isLinked_; }

    // Gives a damaged document a second name, under which it is kept when save() replaces it.
    // Returns that name. Throws StateError.
    std::string keepDamaged() const;

    // Replaces the document: a temporary is written, synced and renamed, and the directory synced.
    // The new document has the mode, and where permitted the owner and group, of the old one; the
    // first one has the mode that the process leaves to new files. Throws StateError, or
    // textout::SigIntException, after which the old document stands. Once the new one stands,
    // nothing is thrown: what failed then is returned as a text; empty: nothing.
    [[nodiscard]] std::string save(const Snapshots& snapshots) const;

  private:
    std::string pathOf(const std::string& name) const { return directory_ + "/" + name; }
    void removeTemporaries() const;

    bool isLinked_;
    std::string document_;
    std::string directory_;  // of the document
    Base::FileDescriptor lock_;
};

}  // namespace StateDirectory
