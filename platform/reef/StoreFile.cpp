#include "reef/StoreFile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "reef/BusGuard.h"
#include "reef/CorruptionDetectedException.h"

namespace Reef {

using Cairn::CorruptionDetectedException;
using Cairn::UnreadableException;

namespace {

constexpr const char* tooShort = "it is shorter than its header says";

// Opening a FIFO or a device must not block or steal a terminal before we know what it is.
FileDescriptor openStore(const std::string& path, StoreAccess access) {
    const int mode = access == StoreAccess::read ? O_RDONLY : O_RDWR;
    FileDescriptor file(
        ::open(path.c_str(), mode | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.isOpen()) return file;
    if (errno == ELOOP) throw CorruptionDetectedException("it is a symbolic link");
    if (errno == ENOENT) throw CorruptionDetectedException("there is no such file");
    throw UnreadableException("it cannot be opened: " + systemError());
}

// Fills the memory with the file from an offset on, which moves behind it.
template <class T>
void readAt(const FileDescriptor& file, U64& offset, std::span<T> memory) {
    auto rest = std::as_writable_bytes(memory);
    while (!rest.empty()) {
        const ssize_t count =
            ::pread(file.number(), rest.data(), rest.size(), static_cast<off_t>(offset));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw UnreadableException("it cannot be read: " + systemError());
        if (count == 0) throw CorruptionDetectedException(tooShort);
        offset += static_cast<U64>(count);
        rest = rest.subspan(static_cast<std::size_t>(count));
    }
}

void checkHeader(const Header& header, U64 fileSize) {
    if (header.magic != Header::storeMagic) {
        throw CorruptionDetectedException("it is not a counter store");
    }
    if (header.version != Header::storeVersion) {
        throw CorruptionDetectedException("it has version " + std::to_string(header.version) +
                                          ", but this program knows version " +
                                          std::to_string(Header::storeVersion));
    }
    if (header.headerChecksum != headerChecksum(header)) {
        throw CorruptionDetectedException("its header is damaged");
    }
    const bool isWithinLimits = header.policyCount <= maxCounters &&
                                header.counterCount <= maxCounters &&
                                header.nameBytes <= maxNameBytes;
    if (!isWithinLimits ||
        header.fileSize != recordsOffset(header) + header.counterCount * recordSize) {
        throw CorruptionDetectedException("its header is damaged: the sizes disagree");
    }
    if (fileSize < header.fileSize) throw CorruptionDetectedException(tooShort);
    if (fileSize > header.fileSize) {
        throw CorruptionDetectedException("it is longer than its header says");
    }
}

}  // namespace

std::string systemError() { return std::strerror(errno); }

U64 sizeOfRegularFile(const FileDescriptor& file) {
    struct stat status = {};
    if (::fstat(file.number(), &status) != 0) {
        throw UnreadableException("it cannot be examined: " + systemError());
    }
    if (!S_ISREG(status.st_mode)) throw CorruptionDetectedException("it is not a regular file");
    return static_cast<U64>(status.st_size);
}

StoreFile::StoreFile(const std::string& path, StoreAccess access)
    : StoreFile(openStore(path, access), access) {}

StoreFile::StoreFile(FileDescriptor file, StoreAccess access) : file_(std::move(file)) {
    load();
    map(access);
}

StoreFile::~StoreFile() {
    if (base_ != nullptr) ::munmap(base_, size_);
}

void StoreFile::load() {
    const U64 fileSize = sizeOfRegularFile(file_);
    if (fileSize == 0) throw CorruptionDetectedException("it is empty");
    U64 offset = 0;
    readAt(file_, offset, std::span(&header_, 1));
    checkHeader(header_, fileSize);
    size_ = fileSize;

    directory_.policies.resize(header_.policyCount);
    directory_.counters.resize(header_.counterCount);
    directory_.names.resize(header_.nameBytes);
    readAt(file_, offset, std::span(directory_.policies));
    readAt(file_, offset, std::span(directory_.counters));
    readAt(file_, offset, std::span(directory_.names));
    if (directory_.checksum() != header_.directoryChecksum) {
        throw CorruptionDetectedException("its directory is damaged: the checksum differs");
    }
    directory_.check();
}

void StoreFile::map(StoreAccess access) {
    busGuardInstall();
    const int protection = access == StoreAccess::read ? PROT_READ : PROT_READ | PROT_WRITE;
    void* const memory = ::mmap(nullptr, size_, protection, MAP_SHARED, file_.number(), 0);
    if (memory == MAP_FAILED) {
        throw UnreadableException("it cannot be mapped: " + systemError());
    }
    base_ = static_cast<std::byte*>(memory);
    records_ = static_cast<Record*>(static_cast<void*>(base_ + recordsOffset(header_)));
}

RecordState StoreFile::read(CounterIndex counter, PolicyMap::PacketAndByte& counts) const {
    const Record& record = records_[counter];
    const U64 identity = directory_.counters[counter].identity;
    RecordState state = RecordState::damaged;
    if (!guardedAccess(mapping(), [&] { state = record.read(identity, counts); })) {
        throw CorruptionDetectedException("it was cut short while it was read");
    }
    return state;
}

bool StoreFile::hasWriter() const {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return ::fcntl(file_.number(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace Reef
