#include "state/ImportedDirectory.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "base/Escape.h"
#include "base/File.h"
#include "base/Number.h"

namespace StateDirectory {

namespace {

constexpr const char* currentName = "current";
constexpr const char* nextName = "current.new";
constexpr const char* lockName = "import.lock";
constexpr const char* documentNames[] = {"config.json", "status.json"};
constexpr std::string_view generationPrefix = "generation-";

[[noreturn]] void fail(const std::string& path, const char* doing) {
    throw StateError(Base::escaped(path) + ": " + doing + ": " + std::strerror(errno));
}

// Where a link leads; empty when the path is no link.
std::string targetOf(const std::string& path) {
    char target[PATH_MAX];
    const ssize_t size = ::readlink(path.c_str(), target, sizeof target);
    return size < 0 ? "" : std::string(target, static_cast<std::size_t>(size));
}

void sync(const std::string& folder) {
    const Base::FileDescriptor file = Base::openFolder(folder);
    if (!file.isOpen() || ::fsync(file.number()) != 0) fail(folder, "cannot sync the directory");
}

void writeSynced(const std::string& path, std::string_view text) {
    const Base::FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.isOpen()) fail(path, "cannot be made");
    if (!Base::writeAll(file.number(), text) || ::fsync(file.number()) != 0) {
        fail(path, "cannot write");
    }
}

void linkIs(const std::string& path, const std::string& target) {
    if (targetOf(path) == target) return;
    if (::symlink(target.c_str(), path.c_str()) != 0) fail(path, "cannot make the link");
}

// The number of a generation's folder; 0: it is none.
U64 numberOf(std::string_view name) {
    if (!name.starts_with(generationPrefix)) return 0;
    return Base::parseNumber(name.substr(generationPrefix.size()), {1, ~U64{0} - 1}).value_or(0);
}

std::vector<std::string> generationsIn(const std::string& directory) {
    std::vector<std::string> names;
    std::error_code error;  // what cannot be listed has none
    std::filesystem::directory_iterator entry(directory, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::string name = entry->path().filename().string();
        if (numberOf(name) != 0) names.push_back(std::move(name));
    }
    return names;
}

}  // namespace

std::string documentsFolder(const std::string& directory) {
    const std::string generation = targetOf(directory + "/" + currentName);
    return generation.empty() ? directory : directory + "/" + generation;
}

ImportedDirectory::ImportedDirectory(std::string directory) : directory_(std::move(directory)) {
    std::error_code error;
    std::filesystem::create_directories(directory_, error);
    if (error) {
        throw StateError(Base::escaped(directory_) + ": cannot be made: " + error.message());
    }
    for (const char* const name : documentNames) {
        struct stat status {};
        if (::lstat(pathOf(name).c_str(), &status) != 0) continue;
        if (targetOf(pathOf(name)) == std::string(currentName) + "/" + name) continue;
        throw StateError(Base::escaped(pathOf(name)) +
                         ": was not written by an import, expected a new directory or an imported "
                         "one");
    }
    const std::string path = pathOf(lockName);
    lock_ = Base::FileDescriptor(
        ::open(path.c_str(), O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0644));
    if (!lock_.isOpen()) fail(path, "cannot open the lock");
    if (::flock(lock_.number(), LOCK_EX | LOCK_NB) == 0) return;
    if (errno != EWOULDBLOCK) fail(path, "cannot lock");
    throw StateError(Base::escaped(directory_) +
                     ": another import is writing it, expected one at a time");
}

void ImportedDirectory::documentsAre(const std::string& config, const std::string& status) {
    const std::string generation = newGeneration();
    const std::string former = targetOf(pathOf(currentName));
    try {
        writeSynced(pathOf(generation) + "/" + documentNames[0], config);
        writeSynced(pathOf(generation) + "/" + documentNames[1], status);
        sync(pathOf(generation));
        putInForce(generation);
    } catch (const StateError&) {
        std::error_code ignored;
        std::filesystem::remove_all(pathOf(generation), ignored);
        throw;
    }
    sync(directory_);
    removeAllBut(generation, former);
}

void ImportedDirectory::heardIs(const std::optional<Heard>& heard) {
    const std::string path = pathOf(heardName);
    if (!heard) {
        if (::unlink(path.c_str()) != 0 && errno != ENOENT) fail(path, "cannot be removed");
        return;
    }
    // What is lost when the machine fails is out of date anyway, so nothing is synced.
    const std::string next = path + ".new";
    const Base::FileDescriptor file(
        ::open(next.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.isOpen()) fail(next, "cannot be made");
    if (!Base::writeAll(file.number(), heardText(*heard))) fail(next, "cannot write");
    if (::rename(next.c_str(), path.c_str()) != 0) fail(next, "cannot rename");
}

// Numbers ascend, also behind those of imports that died.
std::string ImportedDirectory::newGeneration() const {
    U64 last = 0;
    for (const std::string& name : generationsIn(directory_)) last = std::max(last, numberOf(name));
    std::string generation = std::string(generationPrefix) + std::to_string(last + 1);
    if (::mkdir(pathOf(generation).c_str(), 0777) != 0) fail(pathOf(generation), "cannot be made");
    return generation;
}

void ImportedDirectory::putInForce(const std::string& generation) const {
    for (const std::string name : documentNames) {
        linkIs(pathOf(name), std::string(currentName) + "/" + name);
    }
    const std::string next = pathOf(nextName);
    if (::unlink(next.c_str()) != 0 && errno != ENOENT) fail(next, "cannot be removed");
    linkIs(next, generation);
    if (::rename(next.c_str(), pathOf(currentName).c_str()) != 0) fail(next, "cannot rename");
}

// The former generation stays for who found it in force a moment ago. What cannot be removed now is
// removed by a later import.
void ImportedDirectory::removeAllBut(const std::string& generation,
                                     const std::string& former) const {
    for (const std::string& name : generationsIn(directory_)) {
        std::error_code ignored;
        if (name != generation && name != former) {
            std::filesystem::remove_all(pathOf(name), ignored);
        }
    }
}

}  // namespace StateDirectory
