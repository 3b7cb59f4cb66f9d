#include "Scene.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <new>

#include "orb/ActivityLock.h"

namespace {

// What this thread has on the heap. Negative where it frees what others allocated.
struct Heap {
    U64 allocations = 0;
    long bytes = 0;
    long peak = 0;
};
thread_local Heap heap;

void* allocate(std::size_t size) {
    void* const memory = std::malloc(size);
    if (memory == nullptr) throw std::bad_alloc();
    ++heap.allocations;
    heap.bytes += static_cast<long>(::malloc_usable_size(memory));
    heap.peak = std::max(heap.peak, heap.bytes);
    return memory;
}

void deallocate(void* memory) {
    heap.bytes -= static_cast<long>(::malloc_usable_size(memory));
    std::free(memory);
}

}  // namespace

// Every allocation of the process, those of the libraries included, comes through here.
void* operator new(std::size_t size) { return allocate(size); }
void* operator new[](std::size_t size) { return allocate(size); }
void operator delete(void* memory) noexcept { deallocate(memory); }
void operator delete[](void* memory) noexcept { deallocate(memory); }
void operator delete(void* memory, std::size_t) noexcept { deallocate(memory); }
void operator delete[](void* memory, std::size_t) noexcept { deallocate(memory); }

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

void emptyCaches() {
    constexpr std::size_t largerThanAnyCache = 256U << 20;
    static std::vector<char> memory(largerThanAnyCache);
    for (std::size_t at = 0; at < memory.size(); at += 64) ++memory[at];
}

PeakMemory::PeakMemory() : before_(heap.bytes) { heap.peak = heap.bytes; }

double PeakMemory::megabytesAbove() const { return static_cast<double>(heap.peak - before_) / 1e6; }

U64 allocations() { return heap.allocations; }

}  // namespace Bench
