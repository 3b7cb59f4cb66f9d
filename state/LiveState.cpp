#include "state/LiveState.h"

#include <poll.h>
#include <signal.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "orb/ActivityLock.h"
#include "textout/Exceptions.h"

namespace StateDirectory {

namespace {

constexpr const auto& documents = identifiedDocuments;

Base::FileDescriptor checked(int descriptor, const char* what) {
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), what);
    return Base::FileDescriptor(descriptor);
}

std::string timeOfDay(std::time_t time) {
    std::tm local{};
    ::localtime_r(&time, &local);
    char text[16];
    text[std::strftime(text, sizeof text, "%H:%M:%S", &local)] = 0;
    return text;
}

}  // namespace

LiveState::LiveState(std::string directory)
    : directory_(std::move(directory)),
      news_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      wake_(checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")),
      notify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
    // Signals go to the thread of the commands.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &before);
    thread_ = std::thread([this] { work(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

LiveState::~LiveState() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    wake();
    thread_.join();
    // What is left stays for as long as the process does: nobody needs its memory.
    // NOLINTNEXTLINE(bugprone-unhandled-exception-at-new): without memory the process ends
    static auto& kept = *new std::vector<StatePtr>;
    kept.push_back(std::move(version_));
    for (const auto* state : retired_) kept.emplace_back(state);
}

void LiveState::wake() const { ::eventfd_write(wake_.number(), 1); }

// What is not used any more goes back to the second thread, which takes it apart while the operator
// goes on.
StatePtr LiveState::owned(State state) {
    return {new State(std::move(state)), [this](const State* old) {
                {
                    const std::lock_guard lock(mutex_);
                    retired_.push_back(old);
                }
                wake();
            }};
}

void LiveState::work() {
    watch();
    for (bool isChanged = true;;) {
        if (isChanged) read();
        isChanged = waitForChange();
        std::vector<const State*> retired;
        {
            const std::lock_guard lock(mutex_);
            if (isEnding_) return;
            retired.swap(retired_);
            if (isChanged) isReading_ = true;
        }
        for (const auto* state : retired) delete state;
        watch();
    }
}

void LiveState::watch() {
    if (!notify_.isOpen() || watched_ >= 0) return;
    watched_ = ::inotify_add_watch(notify_.number(), directory_.c_str(),
                                   IN_CLOSE_WRITE | IN_MOVED_TO | IN_DELETE | IN_MOVE_SELF);
}

// Waits for a change, or for wake(). Says whether there are documents to read.
bool LiveState::waitForChange() {
    pollfd ready[] = {{wake_.number(), POLLIN, 0}, {notify_.number(), POLLIN, 0}};
    if (::poll(ready, 2, -1) < 0) return false;
    eventfd_t ignored = 0;
    ::eventfd_read(wake_.number(), &ignored);
    alignas(inotify_event) char buffer[4096];
    bool isChanged = false;
    for (ssize_t size = 0; (size = ::read(notify_.number(), buffer, sizeof buffer)) > 0;) {
        for (ssize_t at = 0; at < size;) {
            const auto* const event = reinterpret_cast<const inotify_event*>(buffer + at);
            at += static_cast<ssize_t>(sizeof *event + event->len);
            isChanged = isOfDocument(*event) || isChanged;
        }
    }
    const std::lock_guard lock(mutex_);
    return std::exchange(isWanted_, false) || isChanged || !(identities() == lastRead_);
}

// Says whether a document was written, and notes when the directory is not watched any more.
bool LiveState::isOfDocument(const inotify_event& event) {
    if ((event.mask & IN_MOVE_SELF) != 0) ::inotify_rm_watch(notify_.number(), watched_);
    if ((event.mask & (IN_IGNORED | IN_MOVE_SELF)) != 0) watched_ = -1;
    const std::string_view name = event.len > 0 ? event.name : "";
    return name == documents[0] || name == documents[1];
}

// Reads until the documents stand still.
void LiveState::read() {
    constexpr int attempts = 5;
    for (int attempt = 1;; ++attempt) {
        const Identities before = identities();
        StatePtr state;
        std::string mistake;
        try {
            state = owned(readState(directory_));
        } catch (const std::exception& error) {
            mistake = error.what();
        }
        if (attempt < attempts && !(identities() == before)) continue;
        if (state) {
            putInPlace(std::move(state), before);
            return;
        }
        const std::lock_guard lock(mutex_);
        lastRead_ = before;
        refusal_ = mistake;
        ++refusals_;
        if (version_) tell("a document changed, and is refused: " + mistake);
        isReading_ = false;
        changed_.notify_all();
        return;
    }
}

void LiveState::putInPlace(StatePtr state, const Identities& identities) {
    const Orb::ActivityLockGuard activity;
    const std::lock_guard lock(mutex_);
    if (version_) {
        std::string names;
        for (std::size_t i = 0; i < identities.size(); ++i) {
            if (identities[i] == versionOf_[i]) continue;
            names += (names.empty() ? "" : " and ") + std::string(documents[i]);
        }
        if (!names.empty()) tell(names + " changed; the new state is in force");
    }
    // The former version is dropped when the lock is free again: dropping takes it.
    std::swap(version_, state);
    versionOf_ = lastRead_ = identities;
    versionTime_ = std::time(nullptr);
    refusal_.clear();
    isReading_ = false;
    changed_.notify_all();
}

void LiveState::tell(std::string news) {
    newsText_ = timeOfDay(std::time(nullptr)) + " " + std::move(news);
    ::eventfd_write(news_.number(), 1);
}

void LiveState::look() { wake(); }

StatePtr LiveState::loaded() {
    const Orb::ActivityUnlockGuard unlocked;
    std::unique_lock lock(mutex_);
    if (version_ == nullptr && !isReading_) {
        isReading_ = isWanted_ = true;
        wake();
    }
    // A condition is no signal's business: the interrupt is looked at now and then.
    while (version_ == nullptr && isReading_) {
        textout::checkInterrupt();
        changed_.wait_for(lock, std::chrono::milliseconds(5));
    }
    if (version_ == nullptr) throw StateError(refusal_);
    return version_;
}

StatePtr LiveState::current() {
    {
        const std::lock_guard lock(mutex_);
        if (version_ && identities() == versionOf_) return version_;
    }
    return owned(readState(directory_));
}

StatePtr LiveState::loadedSoFar() const {
    const std::lock_guard lock(mutex_);
    return version_;
}

LiveState::Version LiveState::inForce() const {
    const std::lock_guard lock(mutex_);
    return {version_, {versionOf_[0].changed, versionOf_[1].changed}};
}

void LiveState::catchUp(std::chrono::milliseconds longest) {
    std::unique_lock lock(mutex_);
    if (!isReading_) {
        if (identities() == lastRead_) return;
        isReading_ = isWanted_ = true;
        wake();
    }
    changed_.wait_for(lock, longest, [this] { return !isReading_; });
}

bool LiveState::isReading() const {
    const std::lock_guard lock(mutex_);
    return isReading_;
}

std::optional<std::string> LiveState::takeNews() {
    const std::lock_guard lock(mutex_);
    eventfd_t ignored = 0;
    ::eventfd_read(news_.number(), &ignored);
    return std::exchange(newsText_, std::nullopt);
}

std::optional<LiveState::Refusal> LiveState::refusal() const {
    const std::lock_guard lock(mutex_);
    if (refusal_.empty()) return std::nullopt;
    return Refusal{refusal_, version_ ? timeOfDay(versionTime_) : ""};
}

U64 LiveState::refusals() const {
    const std::lock_guard lock(mutex_);
    return refusals_;
}

}  // namespace StateDirectory
