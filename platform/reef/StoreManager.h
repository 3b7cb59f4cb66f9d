// The reading side of a counter store: one object per store file and command, shared by both
// directions. Used under the activity lock.
#pragma once

#include <memory>
#include <optional>
#include <set>

#include "hive/PolicyMapStatus.h"

namespace Reef {

class CounterDirectory;
class StoreFile;

class ORB_EXPORT StoreManager : public Orb::PtrInterface {
    ORB_TYPE(StoreManager)
    ORB_CONSTRUCTIBLE(StoreManager, Orb::String)
    ORB_KEY(path, Orb::String)
    // What is wrong with the store, as the corruption handler learned it; empty: nothing known.
    ORB_KEY(damage, Orb::String)

    // Nothing is opened before the first read, so a command that needs no counters of the store
    // does not notice a damaged one.
    explicit StoreManager(Orb::String path);
    ~StoreManager() override;

    // What the store counts. Throws Cairn::CorruptionDetectedException when the store is missing
    // or damaged, or was said to be by damageIs().
    const CounterDirectory& directory();
    // The counts of a counter, read together. Waits for a writer that is at work on this very
    // record, at most a second and not at all for a dead one. Nothing when the record is not
    // available, which is said once in a line on standard error. Throws like directory().
    // REQUIRES: counter is a position in directory().
    std::optional<PolicyMap::PacketAndByte> counts(U32 counter);
    // How many records were found not available.
    U32 recordsNotAvailable() const { return static_cast<U32>(notAvailable_.size()); }

    // Used by ReefValueMapBase::handleCorruptionDetected.
    void damageIs(const Orb::String& damage);

  private:
    const StoreFile& file();
    void notAvailableIs(U32 counter, std::string_view why);

    std::unique_ptr<const StoreFile> file_;
    std::set<U32> notAvailable_;
    bool writerIsStuck_ = false;  // a record stayed unfinished for the full time once
};

}  // namespace Reef
