#include "exporter/Textfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "exporter/Exposition.h"

namespace Exporter {

namespace {

constexpr mode_t everybodyReads = 0644;

// A file beside the one that it is to replace; removed unless it did.
class Replacement {
  public:
    explicit Replacement(const std::string& path)
        : path_(path), temporary_(path + ".new-" + std::to_string(::getpid())) {
        ::unlink(temporary_.c_str());  // of a process with our number that was killed
        descriptor_ = ::open(temporary_.c_str(),
                             O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, everybodyReads);
        check(descriptor_ >= 0, temporary_);
    }
    ~Replacement() {
        if (descriptor_ >= 0) ::close(descriptor_);
        if (!isDone_) ::unlink(temporary_.c_str());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    void append(std::string_view text) {
        while (!text.empty()) {
            const ssize_t count = ::write(descriptor_, text.data(), text.size());
            if (count < 0 && errno == EINTR) continue;
            check(count >= 0, temporary_);
            text.remove_prefix(static_cast<std::size_t>(count));
        }
    }
    void putInPlace() {
        // Whatever the process leaves to new files, the collector is another user.
        check(::fchmod(descriptor_, everybodyReads) == 0, temporary_);
        check(::fsync(descriptor_) == 0, temporary_);
        check(::rename(temporary_.c_str(), path_.c_str()) == 0, path_);
        isDone_ = true;
    }

  private:
    static void check(bool isGood, const std::string& path) {
        if (!isGood) throw std::system_error(errno, std::generic_category(), path);
    }

    const std::string path_;
    const std::string temporary_;
    int descriptor_ = -1;
    bool isDone_ = false;
};

}  // namespace

void writeTextfile(const std::string& path, const Switches& switches) {
    Exposition exposition(readAll(switches), Format::text);
    Replacement file(path);
    constexpr std::size_t pieceSize = 65536;
    for (std::string piece; exposition.next(piece, pieceSize); piece.clear()) file.append(piece);
    file.putInPlace();
}

}  // namespace Exporter
