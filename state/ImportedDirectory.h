// A state directory that a program writes, again and again, while others read it. Its documents
// change together, in one step:
//
//     DIR/config.json   -> current/config.json
//     DIR/status.json   -> current/status.json
//     DIR/current       -> generation-7            renamed over: the one step
//     DIR/generation-7/    config.json  status.json
//     DIR/generation-6/    what was in force before, for who is reading it
//     DIR/snapshots.json, DIR/counters.reef        stay what they are
//     DIR/heard.json                               of a switch that is followed
//
// Readers follow "current" once and read both documents of the generation that it leads to.
#pragma once

#include <string>

#include "base/File.h"
#include "state/Heard.h"
#include "state/StateError.h"

namespace StateDirectory {

// Where the documents of a state directory are now: the generation that is in force, or the
// directory itself when nobody imports into it.
std::string documentsFolder(const std::string& directory);

// Writes one imported directory. Its life is the right to do so: another writer is refused.
class ImportedDirectory {
  public:
    // Makes the directory when there is none. Throws StateError when it holds documents that
    // somebody wrote by hand, when another import holds it, or when it cannot be written.
    explicit ImportedDirectory(std::string directory);

    // Puts new documents in the place of the former ones. Whatever instant the program dies at, the
    // former ones or the new ones are in force, whole. Throws StateError, after which the former
    // ones are.
    void documentsAre(const std::string& config, const std::string& status);

    // Tells when the switch was last heard; nothing: nobody follows it. Throws StateError.
    void heardIs(const std::optional<Heard>& heard);

  private:
    std::string pathOf(const std::string& name) const { return directory_ + "/" + name; }
    std::string newGeneration() const;
    void putInForce(const std::string& generation) const;
    void removeAllBut(const std::string& generation, const std::string& former) const;

    std::string directory_;
    Base::FileDescriptor lock_;
};

}  // namespace StateDirectory
