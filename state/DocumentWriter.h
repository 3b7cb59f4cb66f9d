// A document that this program writes, on disk: replaced as a whole, by one writer at a time.
// Whatever instant a writer dies at, the document is the old one or the new one.
#pragma once

#include <string>
#include <string_view>

#include "base/File.h"

namespace StateDirectory {

// Writes the document STEM.json of a directory. Its life is the right to do so: other writers wait
// (on the lock of "STEM.lock") until it ends, and what goes into a document must be read within it,
// or a later writer could be undone by an earlier one.
//
// A document that is a symbolic link stands for the one that it leads to: lock and temporaries are
// beside that one, and the link stays.
class DocumentWriter {
  public:
    // Who may read it: as the document before, and of the first one as the process leaves it to new
    // files; or only its owner.
    enum class Access { asBefore, ownerOnly };

    // Waits for the lock, then removes temporaries that killed writers left. Throws StateError when
    // the lock cannot be had or a link leads nowhere, and textout::SigIntException when the
    // operator interrupts the wait.
    DocumentWriter(const std::string& directory, const std::string& stem, Access access);

    const std::string& path() const { return document_; }
    // Says whether the document is reached by a link.
    bool isLinked() const { return isLinked_; }

    // Gives a damaged document a second name, under which it is kept when save() replaces it.
    // Returns that name. Throws StateError.
    std::string keepDamaged() const;

    // Replaces the document: a temporary is written, synced and renamed, and the directory synced.
    // Where access stays as before, the new document has the mode, and where permitted the owner
    // and group, of the old one. Throws StateError, or textout::SigIntException, after which the
    // old document stands. Once the new one stands, nothing is thrown: what failed then is returned
    // as a text; empty: nothing.
    [[nodiscard]] std::string save(std::string_view text) const;

  private:
    std::string pathOf(const std::string& name) const { return directory_ + "/" + name; }
    std::string temporaryPrefix() const;
    void removeTemporaries() const;

    std::string stem_;
    Access access_;
    bool isLinked_ = false;
    std::string document_;
    std::string directory_;  // of the document
    Base::FileDescriptor lock_;
};

}  // namespace StateDirectory
