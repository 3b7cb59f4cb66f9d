#include "cli/shell/History.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/File.h"

namespace Cli::Shell {

namespace {

constexpr std::size_t mostLines = 1000;

// The convention: https://specifications.freedesktop.org/basedir-spec. A path that is not absolute
// counts as none.
std::filesystem::path stateHome() {
    const char* const named = std::getenv("XDG_STATE_HOME");
    if (named != nullptr && *named == '/') return named;
    const char* const home = std::getenv("HOME");
    if (home == nullptr || *home != '/') return {};
    return std::filesystem::path(home) / ".local" / "state";
}

// A history that is lost is no failure.
void write(const std::string& path, int flags, const std::string& text) {
    const Base::FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW | flags, 0600));
    if (!file.isOpen()) return;
    ::fchmod(file.number(), 0600);
    // In one write, so that the lines of two sessions do not mix.
    Base::writeAll(file.number(), text);
}

}  // namespace

HistoryFile::HistoryFile() {
    const std::filesystem::path home = stateHome();
    if (home.empty()) return;
    std::error_code error;
    std::filesystem::create_directories(home / "tpcli", error);
    if (error) return;
    path_ = home / "tpcli" / "history";
    write(path_, O_APPEND, "");
}

std::vector<std::string> HistoryFile::read() const {
    std::vector<std::string> lines;
    std::ifstream file(path_);
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    if (lines.size() <= mostLines) return lines;
    lines.erase(lines.begin(), lines.end() - mostLines);
    // The file is cut when it has become twice as long: by then one that another session appends
    // to at this very moment loses no more than that line.
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    std::error_code ignored;
    if (std::filesystem::file_size(path_, ignored) > 2 * text.size()) {
        write(path_, O_TRUNC, text);
    }
    return lines;
}

void HistoryFile::append(const std::string& line) const {
    if (!path_.empty()) write(path_, O_APPEND, line + "\n");
}

}  // namespace Cli::Shell
