// Who may use a file that is written to take the place of another.
#pragma once

#include <sys/stat.h>
#include <unistd.h>

namespace Orb {

// Gives an open file the mode of a former one, and its owner and group as far as the system
// permits: few may give a file away, and a group only to one of their own. False: the mode cannot
// be set.
inline bool accessIs(int file, const struct stat& former) {
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    if (::fchmod(file, former.st_mode & 0777) != 0) return false;
    [[maybe_unused]] const bool isGiven = ::fchown(file, former.st_uid, former.st_gid) == 0 ||
                                          ::fchown(file, sameOwner, former.st_gid) == 0;
    return true;
}

}  // namespace Orb
