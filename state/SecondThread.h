// A thread beside the caller's, for work that can be cut into tasks: it does a task of its own
// first, and after that takes tasks that the caller offers.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>

namespace StateDirectory {

class SecondThread {
  public:
    using Task = std::function<void()>;

    // Where the system gives no thread, the first task is done at once and no other one is taken.
    explicit SecondThread(Task first);
    // Waits for the task that the thread is at; those that wait are dropped.
    ~SecondThread();
    SecondThread(const SecondThread&) = delete;
    SecondThread& operator=(const SecondThread&) = delete;

    // Offers a task, which does not throw: it is done by the thread, or here and now when enough
    // tasks wait already.
    void offer(Task task);
    // Does what is left of the offered tasks, together with the thread.
    void finish();
    // Does so at its end, whatever is thrown.
    class Finishing {
      public:
        explicit Finishing(SecondThread& second) : second_(second) {}
        ~Finishing() { second_.finish(); }
        Finishing(const Finishing&) = delete;
        Finishing& operator=(const Finishing&) = delete;

      private:
        SecondThread& second_;
    };
    // Waits for the first task; what it threw is thrown again.
    void finishFirst();

  private:
    static constexpr std::size_t maxWaiting = 3;

    void run();
    void runFirst();

    Task first_;
    std::exception_ptr fault_;  // of the first task
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Task> waiting_;
    bool isFirstDone_ = false;
    bool isBusy_ = false;
    bool isEnding_ = false;
    std::thread thread_;
};

}  // namespace StateDirectory
