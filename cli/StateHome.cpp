#include "cli/StateHome.h"

#include <cstdlib>

namespace Cli {

namespace {

std::filesystem::path home() {
    const char* const named = std::getenv("XDG_STATE_HOME");
    if (named != nullptr && *named == '/') return named;
    const char* const user = std::getenv("HOME");
    if (user == nullptr || *user != '/') return {};
    return std::filesystem::path(user) / ".local" / "state";
}

}  // namespace

std::filesystem::path stateHome() {
    const std::filesystem::path parent = home();
    return parent.empty() ? parent : parent / "tpcli";
}

std::filesystem::path madeStateHome() {
    std::filesystem::path folder = stateHome();
    std::error_code error;
    if (!folder.empty()) std::filesystem::create_directories(folder, error);
    return error ? std::filesystem::path() : folder;
}

}  // namespace Cli
