// Where the counter agent of a state directory keeps its store.
#pragma once

#include <string>

namespace StateDirectory {

inline std::string counterStorePath(const std::string& directory) {
    return directory + "/counters.reef";
}

}  // namespace StateDirectory
