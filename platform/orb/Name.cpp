#include "orb/Name.h"

#include <functional>
#include <memory>

namespace Orb {

Name::Body* Name::newBody(std::string_view text) {
    if (text.empty()) return nullptr;
    void* const block = allocateBlock(sizeof(Body));
    try {
        return new (block) Body{1, std::hash<std::string_view>()(text), String(text)};
    } catch (...) {
        freeBlock(block);
        throw;
    }
}

void Name::free(Body* body) noexcept {
    std::destroy_at(body);
    freeBlock(body);
}

const String& Name::emptyText() {
    static const String empty;
    return empty;
}

U64 Name::hashOfNothing() { return std::hash<std::string_view>()({}); }

}  // namespace Orb
