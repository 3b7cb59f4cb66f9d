#include "exporter/Textfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "base/File.h"
#include "exporter/Exposition.h"

namespace Exporter {

namespace {

constexpr mode_t everybodyReads = 0644;

void check(bool isGood, const std::string& path) {
    if (!isGood) throw std::system_error(errno, std::generic_category(), path);
}

// The name of a file that is removed at the end; after it was put in the place of another, there is
// none.
class TemporaryName {
  public:
    explicit TemporaryName(std::string name) : name_(std::move(name)) { remove(); }
    ~TemporaryName() { remove(); }
    TemporaryName(const TemporaryName&) = delete;
    TemporaryName& operator=(const TemporaryName&) = delete;
    const std::string& text() const { return name_; }

  private:
    void remove() const { ::unlink(name_.c_str()); }
    std::string name_;
};

}  // namespace

void writeTextfile(const std::string& path, const Switches& switches) {
    Exposition exposition(readAll(switches), Format::text);
    const std::string folderName = std::filesystem::path(path).parent_path().string();
    const Base::FileDescriptor folder = Base::openFolder(folderName.empty() ? "." : folderName);
    check(folder.isOpen(), path);
    const TemporaryName name(path + ".new-" + std::to_string(::getpid()));
    Base::FileDescriptor file(::open(
        name.text().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, everybodyReads));
    check(file.isOpen(), name.text());
    // Whatever the process leaves to new files: the collector is another user.
    check(::fchmod(file.number(), everybodyReads) == 0, name.text());
    constexpr std::size_t pieceSize = 65536;
    for (std::string piece; exposition.next(piece, pieceSize); piece.clear()) {
        check(Base::writeAll(file.number(), piece), name.text());
    }
    check(::fsync(file.number()) == 0 && file.close(), name.text());
    check(Base::replaceFile(name.text(), path, folder) != Base::Replacement::failed, path);
}

}  // namespace Exporter
