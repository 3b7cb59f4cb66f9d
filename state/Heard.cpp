#include "state/Heard.h"

#include <sys/stat.h>

#include "base/Time.h"
#include "state/Attributes.h"
#include "state/Document.h"
#include "state/Values.h"

namespace StateDirectory {

namespace {

constexpr Key<Heard> heardKeys[] = {
    {"time", [](const Node& node, Heard& to) { to.time = readTime(node); },
     [](Writer& writer, const Heard& from) { writer.text(Base::timeText(from.time)); },
     Presence::required},
    {"lost", [](const Node& node, Heard& to) { to.lost = readText(node); },
     [](Writer& writer, const Heard& from) { writeValue(writer, from.lost); }},
};

}  // namespace

std::optional<Heard> readHeard(const std::string& directory) {
    const std::string path = directory + "/" + heardName;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0) return std::nullopt;
    const Document document(path);
    Heard heard;
    readObject(document.root(), heardKeys, heard);
    return heard;
}

std::string heardText(const Heard& heard) {
    Writer writer;
    writeObject(writer, heardKeys, heard);
    return writer.take();
}

}  // namespace StateDirectory
