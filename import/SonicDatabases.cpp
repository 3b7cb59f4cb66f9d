#include "import/SonicDatabases.h"

#include <algorithm>

#include "import/JsonTree.h"
#include "state/Document.h"

namespace Import {

namespace {

using Element = simdjson::dom::element;

bool startsWithOneOf(std::string_view key, std::initializer_list<std::string_view> prefixes) {
    return std::ranges::any_of(prefixes, [&](auto prefix) { return key.starts_with(prefix); });
}

class FileReader {
  public:
    FileReader(const SonicDatabase& database, SonicTable& table, std::string file,
               Findings& findings)
        : database_(database), table_(table), file_(std::move(file)), findings_(findings) {}

    void read(Element root) {
        for (const auto& [key, value] : simdjson::dom::object(root)) {
            readKey(std::string(key), value, pointerTo(file_ + ":", key));
        }
    }

  private:
    void readKey(const std::string& key, Element value, const std::string& place) {
        simdjson::dom::object object;
        if (value.get(object) != simdjson::SUCCESS) {
            leftOut(place, key, "expected a hash");
            return;
        }
        Element wrapped;
        std::string_view type;
        if (object.at_key("value").get(wrapped) == simdjson::SUCCESS && wrapped.is_object() &&
            object.at_key("type").get(type) == simdjson::SUCCESS) {
            readKey(key, wrapped, place);
            return;
        }
        const std::string separator = database_.number == 2 ? ":" : "|";
        const bool isNested = key.find(separator) == key.npos && object.size() > 0 &&
                              std::ranges::all_of(object, [](const auto& member) {
                                  return member.value.is_object();
                              });
        if (!isNested) {
            readHash(key, object, place);
            return;
        }
        for (const auto& [below, hash] : object) {
            readHash(key + separator + std::string(below), simdjson::dom::object(hash),
                     pointerTo(place, below));
        }
    }

    void readHash(const std::string& key, simdjson::dom::object hash, const std::string& place) {
        if (!isOfAcls(database_, key)) {
            findings_.add(FindingKind::elsewhere, place, key.substr(0, key.find_first_of("|:")),
                          "");
            return;
        }
        SonicFields& fields = table_[key];
        for (const auto& [field, value] : hash) {
            if (value.is_object()) {
                fields.erase(std::string(field));
                leftOut(pointerTo(place, field), field, "expected a text");
            } else {
                readField(value, fields[std::string(field)]);
            }
        }
    }

    // The texts of a list stand one behind the other, with commas.
    static void readField(const Element& value, std::string& stored) {
        std::string_view text;
        if (value.get(text) == simdjson::SUCCESS) {
            stored = text;
        } else if (value.is_array()) {
            for (const Element item : simdjson::dom::array(value)) {
                if (item.get(text) != simdjson::SUCCESS) continue;
                stored += (stored.empty() ? "" : ",") + std::string(text);
            }
        } else {
            stored = simdjson::minify(value);
        }
    }

    void leftOut(const std::string& place, std::string_view statement, const std::string& text) {
        findings_.add(FindingKind::notUnderstood, place, statement, text);
    }

    const SonicDatabase& database_;
    SonicTable& table_;
    std::string file_;
    Findings& findings_;
};

}  // namespace

bool isOfAcls(const SonicDatabase& database, std::string_view key) {
    if (database.table == &SonicDatabases::config) {
        return startsWithOneOf(
            key, {"ACL_TABLE|", "ACL_RULE|", "ACL_TABLE_TYPE|", "PORTCHANNEL_MEMBER|"});
    }
    if (database.table == &SonicDatabases::state) {
        return startsWithOneOf(key, {"ACL_TABLE_TABLE|", "ACL_RULE_TABLE|"});
    }
    return key == counterMapKey || key.starts_with("COUNTERS:");
}

void readSonicFile(const std::string& path, const SonicDatabase& database,
                   SonicDatabases& databases, Findings& findings) {
    const StateDirectory::Document document(path);
    const Element root = document.root().element();
    if (!root.is_object()) {
        throw StateDirectory::StateError(document.name() +
                                         ": is no exported database, expected an object of keys");
    }
    FileReader(database, databases.*database.table, document.name(), findings).read(root);
}

}  // namespace Import
