// Whether the documents of a state directory are still the ones that were read.
#pragma once

#include <sys/stat.h>

#include <array>
#include <ctime>
#include <string>

namespace StateDirectory {

struct DocumentIdentity {
    dev_t device = 0;
    ino_t file = 0;
    off_t size = 0;
    timespec changed{};
    bool operator==(const DocumentIdentity& other) const {
        return device == other.device && file == other.file && size == other.size &&
               changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
    }
};

// Of config.json and status.json; all zero of one that is not there.
using DocumentIdentities = std::array<DocumentIdentity, 2>;

inline constexpr const char* identifiedDocuments[] = {"config.json", "status.json"};

inline DocumentIdentities documentIdentities(const std::string& directory) {
    DocumentIdentities result;
    for (std::size_t i = 0; i < result.size(); ++i) {
        struct stat status {};
        const std::string path = directory + "/" + identifiedDocuments[i];
        if (::stat(path.c_str(), &status) != 0) continue;
        result[i] = {status.st_dev, status.st_ino, status.st_size, status.st_mtim};
    }
    return result;
}

}  // namespace StateDirectory
