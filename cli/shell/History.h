// The lines that were typed, kept across sessions: a file of lines that each session appends to, in
// the state directory of the XDG base directory convention.
#pragma once

#include <string>
#include <vector>

namespace Cli::Shell {

class HistoryFile {
  public:
    // Makes the folders and the file (mode 0600) if need be. Without a place to keep it, a history
    // lasts as long as its session; so it does, and standard error says so, where the file is a
    // link, or another user's.
    HistoryFile();

    // The lines of the file, the newest last; at most some thousand.
    std::vector<std::string> read() const;
    void append(const std::string& line) const;

  private:
    std::string path_;
};

}  // namespace Cli::Shell
