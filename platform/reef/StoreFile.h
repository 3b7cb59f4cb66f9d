// An open counter store: the file, its checked directory, and its records in shared memory.
#pragma once

#include "base/File.h"
#include "reef/CounterDirectory.h"
#include "reef/Record.h"

namespace Reef {

using Base::FileDescriptor;

// The text of the last failed system call.
std::string systemError();
// Says that the file is an ordinary one; else throws Cairn::CorruptionDetectedException. Returns
// its size in bytes.
U64 sizeOfRegularFile(const FileDescriptor& file);

enum class StoreAccess { read, write };

class StoreFile {
  public:
    // Opens the store of that path and checks all of it but the records. Links are not followed
    // and nothing but a regular file is read. Throws Cairn::CorruptionDetectedException.
    StoreFile(const std::string& path, StoreAccess access);
    // The same over a file that is open already.
    StoreFile(FileDescriptor file, StoreAccess access);
    StoreFile(const StoreFile&) = delete;
    StoreFile& operator=(const StoreFile&) = delete;
    ~StoreFile();

    const CounterDirectory& directory() const { return directory_; }
    const FileDescriptor& descriptor() const { return file_; }
    // The mapping of the whole file, and the records in it: touched within guardedAccess() only.
    std::span<const std::byte> mapping() const { return {base_, size_}; }
    Record* records() const { return records_; }

    // Reads a record once. Throws Cairn::CorruptionDetectedException when the file has become too
    // short.
    RecordState read(CounterIndex counter, PolicyMap::PacketAndByte& counts) const;
    // Says whether an agent holds the store.
    bool hasWriter() const;

  private:
    void load();
    void map(StoreAccess access);

    FileDescriptor file_;
    Header header_;
    CounterDirectory directory_;
    std::byte* base_ = nullptr;
    std::size_t size_ = 0;
    Record* records_ = nullptr;
};

}  // namespace Reef
