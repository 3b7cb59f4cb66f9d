#include "state/Shared.h"

namespace StateDirectory {

namespace {

// Values that are longer than this are not often the same.
constexpr std::size_t longestText = 256;
// Where a value is looked for: as many values may have one place before one goes.
constexpr std::size_t triedPlaces = 4;

void appendBytes(std::string& text, const void* bytes, std::size_t count) {
    text.append(static_cast<const char*>(bytes), count);
}

void appendString(std::string& text, std::string_view string) {
    const std::size_t size = string.size();
    appendBytes(text, &size, sizeof(size));
    text += string;
}

// Appends a text that only an equal value has.
void appendValue(std::string& text, simdjson::dom::element element) {
    using Type = simdjson::dom::element_type;
    if (text.size() > longestText) return;
    const Type type = element.type();
    text += static_cast<char>(type);
    switch (type) {
        case Type::ARRAY:
            for (const auto item : simdjson::dom::array(element)) appendValue(text, item);
            text += ']';
            break;
        case Type::OBJECT:
            for (const auto& [key, value] : simdjson::dom::object(element)) {
                appendString(text, key);
                appendValue(text, value);
            }
            text += '}';
            break;
        case Type::STRING:
            appendString(text, std::string_view(element));
            break;
        case Type::INT64:
        case Type::UINT64: {
            const U64 number =
                type == Type::UINT64 ? U64(element) : static_cast<U64>(std::int64_t(element));
            appendBytes(text, &number, sizeof(number));
            break;
        }
        case Type::DOUBLE: {
            const double number(element);
            appendBytes(text, &number, sizeof(number));
            break;
        }
        case Type::BOOL:
            text += bool(element) ? 't' : 'f';
            break;
        case Type::NULL_VALUE:
            break;
    }
}

}  // namespace

constinit thread_local Shared* Shared::current_ = nullptr;

Shared::Scope::Scope() {
    if (current_ != nullptr) return;
    shared_ = std::make_unique<Shared>();
    current_ = shared_.get();
}

Shared::Scope::~Scope() {
    if (shared_) current_ = nullptr;
}

Orb::Name Shared::name(std::string_view text) {
    if (current_ == nullptr) return text;
    Orb::Name& kept = current_->names_[std::hash<std::string_view>()(text) % names];
    if (kept != text) kept = text;
    return kept;
}

Shared::Reading::Reading(const void* place, const Node& node) {
    if (current_ == nullptr || current_->isInValue_ || node.pieces() != nullptr) return;
    kept_ = current_->valueOf(place, node);
    if (kept_ != nullptr) current_->isInValue_ = true;
}

Shared::Reading::~Reading() {
    if (kept_ != nullptr) current_->isInValue_ = false;
}

Shared::Value* Shared::valueOf(const void* place, const Node& node) {
    text_.clear();
    appendValue(text_, node.element());
    if (text_.size() > longestText) return nullptr;
    const std::size_t hash =
        std::hash<std::string_view>()(text_) + reinterpret_cast<std::uintptr_t>(place);
    Value* unused = nullptr;
    for (std::size_t i = 0; i < triedPlaces; ++i) {
        Value& kept = values_[(hash + i) % values];
        if (kept.place == place && kept.text == text_) return &kept;
        if (kept.place == nullptr && unused == nullptr) unused = &kept;
    }
    Value& kept = unused != nullptr ? *unused : values_[hash % values];
    kept = {place, text_, nullptr};
    return &kept;
}

}  // namespace StateDirectory
