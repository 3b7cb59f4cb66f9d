#include "orb/Singleton.h"

#include <map>
#include <mutex>

#include "orb/Type.h"

namespace Orb {

namespace {

struct Directory {
    std::mutex mutex;
    std::map<String, Ptr<PtrInterface>, std::less<>> objects;
};

// Never destroyed: objects that die at exit may still ask.
Directory& directory() {
    static auto* const only = new Directory;
    return *only;
}

}  // namespace

Ptr<PtrInterface> singleton(std::string_view typeName) {
    const std::lock_guard guard(directory().mutex);
    auto& objects = directory().objects;
    const auto found = objects.find(typeName);
    if (found != objects.end()) return found->second;
    const TypeInfo* const type = typeByName(typeName);
    if (type == nullptr) {
        throw std::invalid_argument("no type " + String(typeName) + " is registered");
    }
    return objects.emplace(type->name(), type->create({})).first->second;
}

}  // namespace Orb
