#include "state/SecondThread.h"

#include <system_error>

#include "orb/Arena.h"
#include "state/Shared.h"

namespace StateDirectory {

SecondThread::SecondThread(Task first) : first_(std::move(first)) {
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error&) {
        runFirst();
    }
}

SecondThread::~SecondThread() {
    if (!thread_.joinable()) return;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        waiting_.clear();
    }
    changed_.notify_all();
    thread_.join();
}

void SecondThread::runFirst() {
    try {
        first_();
    } catch (...) {
        fault_ = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    isFirstDone_ = true;
    changed_.notify_all();
}

void SecondThread::run() {
    const Orb::ArenaScope arena;
    const Shared::Scope shared;
    runFirst();
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return isEnding_ || !waiting_.empty(); });
        if (isEnding_) return;
        const Task task = std::move(waiting_.front());
        waiting_.pop_front();
        isBusy_ = true;
        lock.unlock();
        task();
        lock.lock();
        isBusy_ = false;
        changed_.notify_all();
    }
}

void SecondThread::offer(Task task) {
    {
        const std::lock_guard lock(mutex_);
        if (thread_.joinable() && waiting_.size() < maxWaiting) {
            waiting_.push_back(std::move(task));
            task = nullptr;
        }
    }
    if (task) {
        task();
    } else {
        changed_.notify_all();
    }
}

void SecondThread::finish() {
    std::unique_lock lock(mutex_);
    while (!waiting_.empty()) {
        const Task task = std::move(waiting_.back());
        waiting_.pop_back();
        lock.unlock();
        task();
        lock.lock();
    }
    changed_.wait(lock, [&] { return !isBusy_; });
}

void SecondThread::finishFirst() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isFirstDone_; });
    if (fault_) std::rethrow_exception(fault_);
}

}  // namespace StateDirectory
