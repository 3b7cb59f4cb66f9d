// A report on its way through filters: the command writes to a pipe, a second thread reads from it,
// line by line, while the command is still running.
//
// SIGALRM must have a handler when an interrupt can be requested.
#pragma once

#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>

#include "base/File.h"
#include "cli/shell/Sink.h"
#include "orb/Types.h"

namespace Cli::Shell {

class ReportStream {
  public:
    // Throws std::system_error.
    explicit ReportStream(std::unique_ptr<Sink> sink);
    // Waits for the second thread; the report counts as one that is not whole.
    ~ReportStream();
    ReportStream(const ReportStream&) = delete;
    ReportStream& operator=(const ReportStream&) = delete;

    // What the command writes to.
    U32 fd() const { return static_cast<U32>(pipe_.writer.number()); }

    // Waits until all that was written has arrived. Throws what the sink threw. Whoever writes
    // afterwards fails.
    void finish();

  private:
    void carry();
    void end();

    std::unique_ptr<Sink> sink_;
    Base::Pipe pipe_;
    std::atomic<bool> isWhole_{false};
    std::exception_ptr failure_;
    std::mutex mutex_;
    std::condition_variable hasEnded_;
    bool isEnded_ = false;
    std::thread thread_;
};

// What a sink throws when its reader wants no more and that is no failure, as a pager that was
// left. The command's writes fail with EPIPE.
class ReaderLeft : public std::exception {
  public:
    const char* what() const noexcept override { return "the reader left"; }
};

}  // namespace Cli::Shell
