#include "reef/StoreWriter.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <stdexcept>

#include "orb/Escape.h"
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
    throw std::runtime_error("counter store " + Orb::escaped(path) + ": " + what);
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

// Opens the file of that path and locks it; not open when there is none and flags do not create
// it. Once it is locked, nobody else renames over the path or away from it.
FileDescriptor openLocked(const std::string& path, int flags) {
    for (;;) {
        FileDescriptor file(::open(path.c_str(), openFlags | flags, fileMode));
        if (!file.isOpen()) {
            if (errno == ENOENT && (flags & O_CREAT) == 0) return file;
            if (errno == ELOOP) failed(path, "it is a symbolic link");
            failedCall(path, "it cannot be opened");
        }
        sizeOfRegularFile(file);
        if (!takeLock(file)) failed(path, "another agent is counting into it");
        if (standsAt(path, file)) return file;
    }
}

void writeAll(const std::string& path, const FileDescriptor& file,
              std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::write(file.number(), bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failedCall(path, "it cannot be written");
        bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
}

void writeStore(const std::string& path, const FileDescriptor& file,
                const StoreContents& contents) {
    const Directory& directory = contents.directory;
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
    // Whatever the process masks: readers are of the group.
    if (::fchmod(file.number(), fileMode) != 0) failedCall(path, "its mode cannot be set");
    if (::ftruncate(file.number(), 0) != 0) failedCall(path, "it cannot be written");
    writeAll(path, file, std::as_bytes(std::span(&header, 1)));
    writeAll(path, file, std::as_bytes(std::span(directory.policies)));
    writeAll(path, file, std::as_bytes(std::span(directory.counters)));
    writeAll(path, file, std::as_bytes(std::span(directory.names)));
    const off_t written = ::lseek(file.number(), 0, SEEK_CUR);
    const std::vector<std::byte> gap(recordsOffset(header) - static_cast<U64>(written));
    writeAll(path, file, gap);
    writeAll(path, file, std::as_bytes(std::span(records)));
    if (::fsync(file.number()) != 0) failedCall(path, "it cannot be written");
}

void renameOver(const std::string& from, const std::string& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) failedCall(to, "it cannot be put in place");
    const std::filesystem::path parent = std::filesystem::path(to).parent_path();
    const FileDescriptor folder(
        ::open(parent.empty() ? "." : parent.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen() || ::fsync(folder.number()) != 0) {
        failedCall(to, "its directory cannot be synced");
    }
}

// Where identities begin that no record has had: beyond the clock and all of the former store.
// Those so high that no clock reaches them come from a status, and stay clear of the range.
U64 unusedIdentity(const std::string& path) {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    U64 first = static_cast<U64>(std::chrono::nanoseconds(now).count());
    try {
        const StoreFile former(path, StoreAccess::read);
        for (const CounterEntry& counter : former.directory().counters) {
            if (counter.identity < U64{1} << 62) first = std::max(first, counter.identity + 1);
        }
    } catch (const CorruptionDetectedException&) {
        // No store, or none that shows identities to anybody.
    }
    return first;
}

}  // namespace

StoreWriter::StoreWriter(std::unique_ptr<StoreFile> file) : file_(std::move(file)) {}

StoreWriter::StoreWriter(StoreWriter&&) noexcept = default;

StoreWriter& StoreWriter::operator=(StoreWriter&&) noexcept = default;

StoreWriter::~StoreWriter() = default;

StoreWriter StoreWriter::create(const std::string& path,
                                const Orb::Ptr<const PolicyMapTypeStatus>& input,
                                const Orb::Ptr<const PolicyMapTypeStatus>& output,
                                Identities identities) {
    const std::string temporary = path + ".new";
    FileDescriptor file = openLocked(temporary, O_CREAT);
    try {
        // Held until the new store stands, so that nobody takes up the former one meanwhile.
        const FileDescriptor former = openLocked(path, 0);
        std::optional<U64> firstIdentity;
        if (identities == Identities::unused) firstIdentity = unusedIdentity(path);
        writeStore(temporary, file, contentsOf(input, output, firstIdentity));
        renameOver(temporary, path);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
    return StoreWriter(std::make_unique<StoreFile>(std::move(file), StoreAccess::write));
}

StoreWriter StoreWriter::resume(const std::string& path) {
    FileDescriptor file = openLocked(path, 0);
    if (!file.isOpen()) throw CorruptionDetectedException("there is no such file");
    StoreWriter writer(std::make_unique<StoreFile>(std::move(file), StoreAccess::write));
    writer.restoreRecords();
    return writer;
}

const Directory& StoreWriter::directory() const { return file_->directory(); }

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

void StoreWriter::restoreRecords() {
    Record* const records = file_->records();
    const auto& counters = directory().counters;
    U32 reset = 0;
    const auto restoreAll = [&] {
        for (std::size_t i = 0; i < counters.size(); ++i) {
            records[i].restore();
            PolicyMap::PacketAndByte counts;
            if (records[i].read(counters[i].identity, counts) == RecordState::whole) continue;
            records[i].write(counters[i].identity, {});
            ++reset;
        }
    };
    if (!guardedAccess(file_->mapping(), restoreAll)) {
        throw CorruptionDetectedException("it was cut short while it was read");
    }
    recordsReset_ = reset;
}

}  // namespace Reef
