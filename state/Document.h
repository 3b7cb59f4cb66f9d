// A JSON document, read and parsed whole.
#pragma once

#include <string>

#include "orb/Seconds.h"
#include "state/Node.h"

namespace StateDirectory {

class Document {
  public:
    // Reads a regular file of at most OpenDocument::maxSize bytes. Throws UnreadableError when that
    // fails, and StateError when the text is no JSON.
    explicit Document(const std::string& path);

    // Valid as long as the document.
    const Node& root() const { return root_; }
    // The path, fit for a message.
    const std::string& name() const { return name_; }
    // When the file was written.
    Orb::Seconds written() const { return written_; }
    // Where in the text a value or a key stands, for a message: ", line 3, column 7". The text is
    // read once more; empty when it is not what it was.
    std::string placeOf(std::span<const Step> way, Spot spot) const;

  private:
    std::string path_;
    std::string name_;
    Orb::Seconds written_{0};
    simdjson::dom::document parsed_;
    Node root_;
};

}  // namespace StateDirectory
