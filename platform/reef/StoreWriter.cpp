#include "reef/StoreWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "base/Escape.h"
#include "reef/BusGuard.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/StoreContents.h"
#include "reef/StoreFile.h"

namespace Reef {

using Cairn::CorruptionDetectedException;
using PolicyMap::PolicyMapTypeStatus;

namespace {

constexpr mode_t fileMode = 0640;
constexpr int openFlags = O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;

[[noreturn]] void failed(const std::string& path, const std::string& what) {
    throw std::runtime_error("counter store " + Base::escaped(path) + ": " + what);
}

[[noreturn]] void failedCall(const std::string& path, const std::string& what) {
    failed(path, what + ": " + systemError());
}

// The lock of the agent, for the life of the open file. False: another agent has it.
bool takeLock(const FileDescriptor& file) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(file.number(), F_OFD_SETLK, &lock) == 0;
}

// Says whether the path still leads to the open file.
bool standsAt(const std::string& path, const FileDescriptor& file) {
    struct stat opened = {};
    struct stat standing = {};
    return ::fstat(file.number(), &opened) == 0 && ::lstat(path.c_str(), &standing) == 0 &&
           opened.st_dev == standing.st_dev && opened.st_ino == standing.st_ino;
}

FileDescriptor openFile(const std::string& path, int flags) {
    FileDescriptor file(::open(path.c_str(), openFlags | flags, fileMode));
    if (file.isOpen() || (errno == ENOENT && (flags & O_CREAT) == 0)) return file;
    if (errno == ELOOP) failed(path, "it is a symbolic link");
    failedCall(path, "it cannot be opened");
}

// Opens the file of that path and locks it; not open when there is none and flags do not create
// it. Once it is locked, nobody else renames over the path or away from it.
FileDescriptor openLocked(const std::string& path, int flags) {
    for (;;) {
        FileDescriptor file = openFile(path, flags);
        if (!file.isOpen()) return file;
        struct stat status = {};
        if (::fstat(file.number(), &status) != 0) failedCall(path, "it cannot be examined");
        if (!S_ISREG(status.st_mode)) failed(path, "it is not a regular file; move it away first");
        if (!takeLock(file)) {
            if (errno != EAGAIN && errno != EACCES) failedCall(path, "it cannot be locked");
            failed(path, "another agent is counting into it");
        }
        if (standsAt(path, file)) return file;
    }
}

void writeAll(const std::string& path, const FileDescriptor& file,
              std::span<const std::byte> bytes) {
    const auto* const text = static_cast<const char*>(static_cast<const void*>(bytes.data()));
    if (!Base::writeAll(file.number(), {text, bytes.size()})) {
        failedCall(path, "it cannot be written");
    }
}

void writeStore(const std::string& path, const FileDescriptor& file,
                const StoreContents& contents) {
    const CounterDirectory& directory = contents.directory;
    Header header;
    header.policyCount = directory.policies.size();
    header.counterCount = directory.counters.size();
    header.nameBytes = directory.names.size();
    header.fileSize = recordsOffset(header) + header.counterCount * recordSize;
    header.directoryChecksum = directory.checksum();
    header.headerChecksum = headerChecksum(header);

    std::vector<Record> records(contents.counts.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
        records[i].write(directory.counters[i].identity, contents.counts[i]);
    }
    if (::ftruncate(file.number(), 0) != 0) failedCall(path, "it cannot be written");
    writeAll(path, file, std::as_bytes(std::span(&header, 1)));
    writeAll(path, file, std::as_bytes(std::span(directory.policies)));
    writeAll(path, file, std::as_bytes(std::span(directory.counters)));
    writeAll(path, file, std::as_bytes(std::span(directory.names)));
    const off_t written = ::lseek(file.number(), 0, SEEK_CUR);
    if (written < 0) failedCall(path, "it cannot be written");
    const std::vector<std::byte> gap(recordsOffset(header) - static_cast<U64>(written));
    writeAll(path, file, gap);
    writeAll(path, file, std::as_bytes(std::span(records)));
    if (::fsync(file.number()) != 0) failedCall(path, "it cannot be written");
}

void addIdentities(UsedIdentities& used, const CounterDirectory& directory) {
    for (const CounterEntry& counter : directory.counters) used.try_emplace(counter.identity);
}

// Those, and those of the store at the path.
UsedIdentities withThoseOfStore(UsedIdentities used, const std::string& path) {
    try {
        addIdentities(used, StoreFile(path, StoreAccess::read).directory());
    } catch (const CorruptionDetectedException&) {
        // No store, or none that shows identities to anybody.
    }
    return used;
}

// A store that is written beside the path it is for, locked; gone at the end of its life unless it
// was put in place.
class NewStore {
  public:
    explicit NewStore(const std::string& path)
        : path_(path), temporary_(path + ".new"), file_(openLocked(temporary_, O_CREAT)) {}
    NewStore(const NewStore&) = delete;
    NewStore& operator=(const NewStore&) = delete;
    ~NewStore() {
        if (file_.isOpen()) ::unlink(temporary_.c_str());
    }

    // Writes it and puts it in the place of the former one (not open: none), which the caller has
    // locked, so that nobody takes that up meanwhile.
    FileDescriptor putInPlace(const FileDescriptor& former, const StoreContents& contents) {
        struct stat status = {};
        if (former.isOpen() && ::fstat(former.number(), &status) != 0) {
            failedCall(path_, "it cannot be examined");
        }
        // Whatever the process masks: readers of the first one are of the group.
        const bool isSet = former.isOpen() ? Base::accessIs(file_.number(), status)
                                           : ::fchmod(file_.number(), fileMode) == 0;
        if (!isSet) failedCall(temporary_, "its mode cannot be set");
        writeStore(temporary_, file_, contents);
        const auto folder = Base::openFolder(std::filesystem::path(path_).parent_path());
        if (!folder.isOpen()) failedCall(path_, "its directory cannot be opened");
        const auto outcome = Base::replaceFile(temporary_, path_, folder);
        if (outcome == Base::Replacement::failed) failedCall(path_, "it cannot be put in place");
        FileDescriptor placed = std::move(file_);
        if (outcome != Base::Replacement::done) failedCall(path_, "its directory cannot be synced");
        return placed;
    }

  private:
    std::string path_;
    std::string temporary_;
    FileDescriptor file_;
};

}  // namespace

StoreWriter::StoreWriter(std::unique_ptr<StoreFile> file) : file_(std::move(file)) {}

StoreWriter::StoreWriter(StoreWriter&&) noexcept = default;

StoreWriter& StoreWriter::operator=(StoreWriter&&) noexcept = default;

StoreWriter::~StoreWriter() = default;

StoreWriter StoreWriter::create(const std::string& path,
                                const Orb::Ptr<const PolicyMapTypeStatus>& input,
                                const Orb::Ptr<const PolicyMapTypeStatus>& output,
                                Identities identities, const UsedIdentities& used) {
    NewStore store(path);
    const FileDescriptor former = openLocked(path, 0);
    UnusedIdentities unused(withThoseOfStore(used, path));
    const StoreContents contents =
        contentsOf(input, output, unused, identities == Identities::ofStatus);
    return StoreWriter(
        std::make_unique<StoreFile>(store.putInPlace(former, contents), StoreAccess::write));
}

StoreWriter StoreWriter::resume(const std::string& path, const UsedIdentities& used) {
    FileDescriptor file = openLocked(path, 0);
    if (!file.isOpen()) throw CorruptionDetectedException("there is no such file");
    StoreWriter writer(std::make_unique<StoreFile>(std::move(file), StoreAccess::write));
    const std::vector<U32> lost = writer.restoreRecords();
    if (!lost.empty()) writer.replaceLost(path, lost, used);
    return writer;
}

const CounterDirectory& StoreWriter::directory() const { return file_->directory(); }

void StoreWriter::add(std::span<const Increment> increments) {
    Record* const records = file_->records();
    const CounterEntry* const counters = directory().counters.data();
    const auto addAll = [&] {
        for (const auto& [counter, by] : increments) {
            Record& record = records[counter];
            PolicyMap::PacketAndByte counts = record.lastWritten();
            counts.packets += by.packets;
            counts.bytes += by.bytes;
            record.write(counters[counter].identity, counts);
        }
    };
    if (!guardedAccess(file_->mapping(), addAll)) {
        throw CorruptionDetectedException("it was cut short while it was counted into");
    }
}

std::vector<U32> StoreWriter::restoreRecords() {
    Record* const records = file_->records();
    const auto& counters = directory().counters;
    std::vector<U32> lost;
    U32 restored = 0;
    const auto restoreAll = [&] {
        for (U32 i = 0; i < counters.size(); ++i) {
            PolicyMap::PacketAndByte counts;
            const U64 identity = counters[i].identity;
            const bool isDamaged = records[i].read(identity, counts) == RecordState::damaged;
            if (!records[i].restore(identity)) {
                lost.push_back(i);
            } else if (isDamaged) {
                ++restored;
            }
        }
    };
    if (!guardedAccess(file_->mapping(), restoreAll)) {
        throw CorruptionDetectedException("it was cut short while it was read");
    }
    recordsRestored_ = restored;
    recordsReset_ = static_cast<U32>(lost.size());
    return lost;
}

void StoreWriter::replaceLost(const std::string& path, std::span<const U32> lost,
                              const UsedIdentities& used) {
    StoreContents contents{directory(), {}};
    auto& counters = contents.directory.counters;
    contents.counts.resize(counters.size());
    for (U32 i = 0; i < counters.size(); ++i) file_->read(i, contents.counts[i]);
    UsedIdentities all = used;
    addIdentities(all, directory());
    UnusedIdentities unused(std::move(all));
    for (const U32 counter : lost) {
        counters[counter].identity = unused.next();
        contents.counts[counter] = {};
    }
    file_ = std::make_unique<StoreFile>(NewStore(path).putInPlace(file_->descriptor(), contents),
                                        StoreAccess::write);
}

}  // namespace Reef
