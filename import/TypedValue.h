// The value of a gNMI update. A message that is written as JSON holds it below the name of its
// type, and what is JSON itself as base64 (RFC 4648).
#pragma once

#include <simdjson.h>

#include <optional>
#include <string>
#include <string_view>

namespace Import {

// The bytes of a text in base64, with padding or without; nothing when it is none.
std::optional<std::string> decodedBase64(std::string_view text);

class TypedValue {
  public:
    // A value that bears no type stands for itself. Throws StateError when bytes are no
    // JSON.
    explicit TypedValue(simdjson::dom::element value);

    // Valid as long as this object, and the document of the value.
    simdjson::dom::element element() const { return element_; }

  private:
    bool parse(std::string_view json);

    simdjson::dom::parser parser_;
    simdjson::dom::element element_;
};

}  // namespace Import
