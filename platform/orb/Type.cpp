#include "orb/Type.h"

#include <map>
#include <mutex>

namespace Orb {

namespace {

struct Registry {
    std::mutex mutex;
    std::map<String, const TypeInfo*, std::less<>> types;
};

Registry& registry() {
    static auto* const only = new Registry;
    return *only;
}

}  // namespace

constinit thread_local U32 SpreadCount::placeOfThread_ = SpreadCount::noPlace;

void SpreadCount::findPlace() {
    static std::atomic<U32> next{0};
    placeOfThread_ = next.fetch_add(1, std::memory_order_relaxed) % placeCount;
}

TypeInfo::TypeInfo(std::string_view name, const TypeInfo* base) : name_(name), base_(base) {
    const std::lock_guard guard(registry().mutex);
    registry().types.emplace(name_, this);
}

std::vector<Attribute> TypeInfo::attributes() const {
    std::vector<Attribute> all;
    if (base_ != nullptr) all = base_->attributes();
    all.insert(all.end(), attributes_.begin(), attributes_.end());
    return all;
}

const Attribute* TypeInfo::attribute(std::string_view name) const {
    for (const Attribute& attribute : attributes_) {
        if (attribute.name == name) return &attribute;
    }
    return base_ == nullptr ? nullptr : base_->attribute(name);
}

Ptr<PtrInterface> TypeInfo::create(Arguments arguments) const {
    if (constructor_ == nullptr) throw std::invalid_argument(name_ + " cannot be built by name");
    return constructor_(arguments);
}

void TypeInfo::attributeIs(const Attribute& attribute) { attributes_.push_back(attribute); }

bool TypeInfo::constructorIs(Constructor constructor) {
    constructor_ = constructor;
    return true;
}

const TypeInfo* typeByName(std::string_view name) {
    const std::lock_guard guard(registry().mutex);
    const auto found = registry().types.find(name);
    return found == registry().types.end() ? nullptr : found->second;
}

std::vector<const TypeInfo*> registeredTypes() {
    const std::lock_guard guard(registry().mutex);
    std::vector<const TypeInfo*> all;
    for (const auto& [name, type] : registry().types) all.push_back(type);
    return all;
}

bool sameRecords(const PtrInterface* a, const PtrInterface* b) {
    if (a == b) return true;
    if (a == nullptr || b == nullptr || &a->fwkType() != &b->fwkType()) return false;
    return a->fwkType().allAttributes(
        [&](const Attribute& attribute) { return attribute.isSame(*a, *b); });
}

std::vector<std::string_view> differences(const PtrInterface& a, const PtrInterface& b) {
    std::vector<std::string_view> names;
    a.fwkType().allAttributes([&](const Attribute& attribute) {
        if (!attribute.isSame(a, b)) names.push_back(attribute.name);
        return true;
    });
    return names;
}

namespace Detail {

void argumentMismatch(const TypeInfo& type, std::size_t position) {
    throw std::invalid_argument(type.name() + ": argument " + std::to_string(position + 1) +
                                " is of another type");
}

void argumentCountMismatch(const TypeInfo& type, std::size_t expected, std::size_t given) {
    throw std::invalid_argument(type.name() + " takes " + std::to_string(expected) +
                                " arguments, not " + std::to_string(given));
}

}  // namespace Detail
}  // namespace Orb
