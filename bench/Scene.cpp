#include "Scene.h"

#include <fcntl.h>
#include <mimalloc.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>

#include "orb/ActivityLock.h"

namespace {

thread_local U64 allocationCount = 0;

void* allocate(std::size_t size) {
    ++allocationCount;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}

}  // namespace

// Every allocation of the process, those of the libraries included, comes through here.
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }

namespace Bench {

namespace {

class TemporaryDirectory {
  public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "tp-bench-XXXXXX").string();
        path_ = ::mkdtemp(name.data()) != nullptr ? name : std::string();
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory() {
        if (!path_.empty()) std::filesystem::remove_all(path_);
    }
    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

std::string keyOf(const StateShape& shape) {
    std::string key = "s";
    for (const U32 number : {shape.seed, shape.policies, shape.rules, shape.points,
                             shape.ipv6Percent, shape.fieldSets, shape.prefixes}) {
        key += "-" + std::to_string(number);
    }
    return key;
}

// A figure of /proc/self/status, in megabytes.
double memoryFigure(std::string_view name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(name)) return std::stod(line.substr(name.size() + 1)) / 1024;
    }
    return 0;
}

}  // namespace

const std::string& stateDirectory(const StateShape& shape) {
    static const TemporaryDirectory root;
    static std::map<std::string, std::string> made;
    std::string& path = made[keyOf(shape)];
    if (path.empty()) {
        path = root.path() + "/" + keyOf(shape);
        generateState(shape, path);
    }
    return path;
}

const StateDirectory::State& loadedState(const StateShape& shape) {
    static std::map<std::string, StateDirectory::State> loaded;
    const auto found = loaded.find(keyOf(shape));
    if (found != loaded.end()) return found->second;
    return loaded[keyOf(shape)] = StateDirectory::readState(stateDirectory(shape));
}

U32 nullDevice() {
    static const int fd = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    return static_cast<U32>(fd);
}

void Show::run(const StateDirectory::State& state) const {
    const Orb::ActivityLockGuard lock;
    TrafficPolicyCli::showTrafficPolicyInterfaceFactory(
        "trafficPolicies", "Traffic policy ", state.config, state.interfaceInput, nullptr, "",
        summary, false, detail, counters, true, state.fieldSetConfig,
        hwStatus ? hwStatus : state.hwStatus, reefInput, state.interfaceOutput, nullptr,
        state.intfConfigInput, state.intfConfigOutput, state.intfParamStatus, reefOutput, false,
        false)
        ->render(nullDevice(), static_cast<U32>(format), 2);
}

PeakMemory::PeakMemory() {
    ::mi_collect(true);                           // so that nothing freed before is used again
    std::ofstream("/proc/self/clear_refs") << 5;  // the peak starts anew from here
    before_ = memoryFigure("VmRSS:");
}

double PeakMemory::megabytesAbove() const { return memoryFigure("VmHWM:") - before_; }

U64 allocations() { return allocationCount; }

}  // namespace Bench
