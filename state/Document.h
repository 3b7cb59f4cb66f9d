// A JSON document, read and parsed whole.
#pragma once

#include <string>

#include "state/Node.h"

namespace StateDirectory {

class Document {
  public:
    // Reads a regular file of at most maxSize bytes. Throws UnreadableError when that fails, and
    // StateError when the text is no JSON.
    explicit Document(const std::string& path);

    // Valid as long as the document.
    const Node& root() const { return root_; }

    static constexpr std::size_t maxSize = std::size_t{1} << 30;

  private:
    std::string name_;  // the path, fit for a message
    simdjson::dom::document parsed_;
    Node root_;
};

}  // namespace StateDirectory
