// The state of a directory, kept loaded. A second thread reads the documents, and again whenever
// they change, and puts what it has read in place under the activity lock; sessions that run keep
// the version that they began with. Documents with a mistake are refused, and the former version
// stays in force.
#pragma once

#include <array>
#include <chrono>
#include <condition_variable>
#include <ctime>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/File.h"
#include "state/DocumentIdentity.h"
#include "state/StateSource.h"

struct inotify_event;

namespace StateDirectory {

class LiveState : public StateSource {
  public:
    // Begins to read. Throws std::system_error.
    explicit LiveState(std::string directory);
    // Waits for a reading that is under way.
    ~LiveState() override;
    LiveState(const LiveState&) = delete;
    LiveState& operator=(const LiveState&) = delete;

    // The version in force. The first call waits until there is one, without the activity lock,
    // which the calling thread holds; then throws what readState() threw, or
    // textout::SigIntException when the operator interrupts the wait.
    StatePtr loaded() override;
    // The version in force if it is of the documents as they stand, else one read now.
    StatePtr current() override;
    // The version in force; null while there is none.
    StatePtr loadedSoFar() const;

    // A version with the times at which its documents were written: config.json, status.json.
    struct Version {
        StatePtr state;  // null: none is in force
        std::array<timespec, 2> written{};
    };
    Version inForce() const;

    // Has the documents looked at, for changes that the system does not tell of (on network file
    // systems, behind links).
    void look();
    // The same, and waits until they are read as they stand, at most that long.
    void catchUp(std::chrono::milliseconds longest);
    bool isReading() const;

    // What happened since the last call, to tell the operator; nothing when nothing did.
    std::optional<std::string> takeNews();
    // Readable when there are news.
    int newsDescriptor() const { return news_.number(); }

    // The mistake for which the documents as they stand are refused.
    struct Refusal {
        std::string mistake;
        std::string inForceSince;  // the time of day of the version in force; empty: there is none
    };
    // Nothing when they are not refused.
    std::optional<Refusal> refusal() const;
    // How many times they were.
    U64 refusals() const;

  private:
    using Identities = DocumentIdentities;

    Identities identities() const { return documentIdentities(directory_); }
    void work();
    void read();
    bool waitForChange();
    bool isOfDocument(const inotify_event& event);
    void watch();
    void wake() const;
    void putInPlace(StatePtr state, const Identities& identities);
    void tell(std::string news);
    StatePtr owned(State state);

    const std::string directory_;
    Base::FileDescriptor news_;
    Base::FileDescriptor wake_;
    Base::FileDescriptor notify_;
    int watched_ = -1;

    mutable std::mutex mutex_;  // taken behind the activity lock
    std::condition_variable changed_;
    StatePtr version_;
    Identities versionOf_{};
    std::time_t versionTime_ = 0;
    Identities lastRead_{};
    bool isReading_ = true;
    bool isWanted_ = false;  // although nothing changed
    bool isEnding_ = false;
    std::string refusal_;
    U64 refusals_ = 0;
    std::optional<std::string> newsText_;
    std::vector<const State*> retired_;

    std::thread thread_;
};

}  // namespace StateDirectory
