// The counting side of a counter store: the one agent that holds it.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "hive/PolicyMapStatus.h"
#include "reef/UnusedIdentities.h"

namespace Reef {

class CounterDirectory;
class StoreFile;

// What create() says of the identities of the records: those of the status, for a store that is the
// first of its state; or unused ones, so that nothing kept of an earlier store applies to this one.
enum class Identities { ofStatus, unused };

struct Increment {
    U32 counter = 0;
    PolicyMap::PacketAndByte by;
};

// Holds the store for its own life by a lock on the file, which the system drops when the process
// ends, however it ends. Functions that cannot do what they say throw std::runtime_error with a
// text for the operator: another agent holds the store, a file cannot be written.
class ORB_EXPORT StoreWriter {
  public:
    // Writes a store with the counters of both statuses (null: none), their figures included, and
    // puts it in the place of any other in one step. used: identities that something was kept
    // of; a counter gets such a one from the status only when that counts no less than was kept.
    // The first store has mode 0640; one that takes the place of another, that one's mode, owner
    // and group.
    static StoreWriter create(const std::string& path,
                              const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& input,
                              const Orb::Ptr<const PolicyMap::PolicyMapTypeStatus>& output,
                              Identities identities, const UsedIdentities& used = {});
    // Goes on with a store that stands; identities and counts stay. What an agent that died left
    // unfinished is taken back, and a damaged record has its former counts again. When these are
    // damaged as well it counts from zero under an unused identity, in a store that takes the place
    // of this one. Throws Cairn::CorruptionDetectedException when the store is missing or damaged.
    static StoreWriter resume(const std::string& path, const UsedIdentities& used = {});

    StoreWriter(StoreWriter&&) noexcept;
    StoreWriter& operator=(StoreWriter&&) noexcept;
    ~StoreWriter();

    // What the store counts; valid for the life of the writer.
    const CounterDirectory& directory() const;
    // Adds to counts, modulo 2^64; never waits. Throws Cairn::CorruptionDetectedException when
    // the file was cut short. REQUIRES: each counter is a position in directory().
    void add(std::span<const Increment> increments);
    // How many damaged records resume() found that have their former counts again, and how many
    // that count from zero.
    U32 recordsRestored() const { return recordsRestored_; }
    U32 recordsReset() const { return recordsReset_; }

  private:
    explicit StoreWriter(std::unique_ptr<StoreFile> file);
    // Returns the counters whose records are lost.
    std::vector<U32> restoreRecords();
    void replaceLost(const std::string& path, std::span<const U32> lost,
                     const UsedIdentities& used);

    std::unique_ptr<StoreFile> file_;
    U32 recordsRestored_ = 0;
    U32 recordsReset_ = 0;
};

}  // namespace Reef
