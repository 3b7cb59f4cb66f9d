// What a test lets the system write, as text: output to a file in memory, the process's standard
// output, and trace lines.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "orb/Trace.h"

namespace Captured {

class MemoryFile {
  public:
    MemoryFile() : fd_(::memfd_create("captured", 0)) {}
    ~MemoryFile() { ::close(fd_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int fd() const { return fd_; }
    std::string text() const {
        std::string text(static_cast<std::size_t>(::lseek(fd_, 0, SEEK_END)), '\0');
        const ssize_t size = ::pread(fd_, text.data(), text.size(), 0);
        EXPECT_EQ(size, static_cast<ssize_t>(text.size()));
        return text;
    }

  private:
    int fd_;
};

// Standard output, while the object lives.
class StandardOutput {
  public:
    StandardOutput() : saved_(::dup(STDOUT_FILENO)) {
        std::fflush(stdout);
        ::dup2(file_.fd(), STDOUT_FILENO);
    }
    ~StandardOutput() {
        ::dup2(saved_, STDOUT_FILENO);
        ::close(saved_);
    }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    std::string text() const { return file_.text(); }

  private:
    MemoryFile file_;
    int saved_;
};

// The trace lines of one facility up to a level, while the object lives.
class Traces {
  public:
    Traces(std::string_view facility, U32 level) : facility_(Orb::traceFacility(facility)) {
        Orb::traceOutputIs(file_.fd());
        facility_.levelIs(level);
    }
    ~Traces() {
        facility_.levelDel();
        Orb::traceOutputIs(STDERR_FILENO);
    }
    Traces(const Traces&) = delete;
    Traces& operator=(const Traces&) = delete;

    // The lines without the name of the facility: "level text".
    std::vector<std::string> lines() const {
        std::vector<std::string> lines;
        std::istringstream text(file_.text());
        const std::size_t prefix = facility_.name().size() + 1;
        for (std::string line; std::getline(text, line);) lines.push_back(line.substr(prefix));
        return lines;
    }

  private:
    MemoryFile file_;
    Orb::TraceFacility& facility_;
};

}  // namespace Captured
