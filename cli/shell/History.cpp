#include "cli/shell/History.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>

#include "base/Escape.h"
#include "base/File.h"
#include "cli/Failures.h"
#include "cli/StateHome.h"

namespace Cli::Shell {

namespace {

constexpr std::size_t mostLines = 1000;

// None unless it is a regular file of this user, and no link to one.
Base::FileDescriptor openOwn(const std::string& path, int flags) {
    flags |= O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    Base::FileDescriptor file(::open(path.c_str(), flags, 0600));
    struct stat status {};
    const bool isOwn = file.isOpen() && ::fstat(file.number(), &status) == 0 &&
                       S_ISREG(status.st_mode) && status.st_uid == ::geteuid();
    return isOwn ? std::move(file) : Base::FileDescriptor();
}

// A history that is lost is no failure.
void write(const std::string& path, int flags, const std::string& text) {
    const Base::FileDescriptor file = openOwn(path, O_WRONLY | flags);
    if (!file.isOpen()) return;
    ::fchmod(file.number(), 0600);
    // In one write, so that the lines of two sessions do not mix.
    Base::writeAll(file.number(), text);
}

std::string contentsOf(const std::string& path) {
    std::string text;
    const Base::FileDescriptor file = openOwn(path, O_RDONLY);
    if (!file.isOpen()) return text;
    char chunk[1 << 16];
    for (ssize_t size = 0; (size = ::read(file.number(), chunk, sizeof chunk)) > 0;) {
        text.append(chunk, static_cast<std::size_t>(size));
    }
    return text;
}

}  // namespace

HistoryFile::HistoryFile() {
    const std::filesystem::path home = madeStateHome();
    if (home.empty()) return;
    const std::string path = home / "history";
    struct stat status {};
    if (openOwn(path, O_WRONLY | O_APPEND).isOpen()) {
        path_ = path;
    } else if (::lstat(path.c_str(), &status) == 0) {
        complain(Base::escaped(path) +
                 ": is no regular file of this user; the history is not kept");
    }
}

std::vector<std::string> HistoryFile::read() const {
    std::vector<std::string> lines;
    if (path_.empty()) return lines;
    std::istringstream file(contentsOf(path_));
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
