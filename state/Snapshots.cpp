// Entries are keyed by two names, which the document nests: policies, and in each its rules or its
// counters.
#include "state/Snapshots.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <vector>

#include "state/Counts.h"
#include "state/Document.h"

namespace StateDirectory {

using PolicyMap::IntfCountData;
using TrafficPolicy::Counter;
using TrafficPolicy::CounterKey;
using TrafficPolicy::CounterVersion;
using TrafficPolicy::NamedCounterKey;
using TrafficPolicy::NamedCounterVersion;

namespace {

constexpr Key<CounterVersion> ruleSnapshotKeys[] = {
    {"uniqueId", [](const Node& node, CounterVersion& to) { to.uniqueId = readUniqueId(node); },
     Presence::required},
    {"packets", [](const Node& node, CounterVersion& to) { to.packets = readCount(node); }},
};

Orb::Ptr<NamedCounterVersion> readNamedVersion(const Node& node) {
    auto parts = readRecord<IntfCountData>(node);
    auto version = Orb::make<NamedCounterVersion>(parts.counts.uniqueId);
    version->totalCountIs(parts.counts.count);
    version->perIntfCountIs(std::move(parts.perIntfCount));
    return version;
}

// Calls enter(policy, name, member) for each member of each policy's object.
template <class Enter>
void readByPolicy(const Node& node, Enter enter) {
    using Names = Orb::HashSet2018<std::string_view>;
    const auto walk = [](const Node& object, auto&& visit) {
        Names seen;
        for (const auto& [name, element] : object.object()) {
            const Node member(object, name, element);
            nameKey(member, name);
            if (seen.contains(name)) member.refuseRepeated();
            seen.insertNew(name);
            visit(Orb::String(name), member);
        }
    };
    walk(node, [&](const Orb::String& policy, const Node& entries) {
        walk(entries,
             [&](const Orb::String& name, const Node& member) { enter(policy, name, member); });
    });
}

constexpr Key<Counter> counterKeys[] = {
    {"timestamp",
     [](const Node& node, Counter& to) { to.timestampIs(Orb::Seconds(node.seconds())); }},
    {"snapshot",
     [](const Node& node, Counter& to) {
         readByPolicy(node,
                      [&](const Orb::String& policy, const Orb::String& rule, const Node& member) {
                          CounterVersion version;
                          readObject(member, ruleSnapshotKeys, version);
                          to.snapshotIs(CounterKey{policy, rule}, version);
                      });
     }},
    {"namedSnapshot",
     [](const Node& node, Counter& to) {
         readByPolicy(
             node, [&](const Orb::String& policy, const Orb::String& counter, const Node& member) {
                 to.namedSnapshotIs(NamedCounterKey{policy, counter}, readNamedVersion(member));
             });
     }},
};

constexpr Key<Snapshots> snapshotsKeys[] = {
    {"cpu", [](const Node& node, Snapshots& to) { readObject(node, counterKeys, *to.cpu); }},
    {"interfaceInput",
     [](const Node& node, Snapshots& to) { readObject(node, counterKeys, *to.interfaceInput); }},
    {"interfaceOutput",
     [](const Node& node, Snapshots& to) { readObject(node, counterKeys, *to.interfaceOutput); }},
};

class Writer {
  public:
    void snapshots(const Snapshots& snapshots) {
        open();
        target("cpu", *snapshots.cpu);
        target("interfaceInput", *snapshots.interfaceInput);
        target("interfaceOutput", *snapshots.interfaceOutput);
        close();
        text_ += '\n';
    }
    std::string take() { return std::move(text_); }

  private:
    void target(std::string_view name, const Counter& counter) {
        key(name);
        open();
        key("timestamp");
        append(counter.timestamp().count());
        key("snapshot");
        byPolicy(counter.snapshot(), &CounterKey::className, [&](const CounterVersion& version) {
            identity(version.uniqueId);
            number("packets", version.packets);
        });
        key("namedSnapshot");
        byPolicy(counter.namedSnapshot(), &NamedCounterKey::counterName,
                 [&](const Orb::Ptr<NamedCounterVersion>& version) { named(*version); });
        close();
    }

    void named(const NamedCounterVersion& version) {
        counts(version.uniqueId(), version.totalCount());
        if (version.perIntfCount().empty()) return;
        key("perIntfCount");
        open();
        for (const auto& [intfId, data] : version.perIntfCount()) {
            name(intfId.stringValue());
            open();
            counts(data->uniqueId(), data->countData());
            close();
        }
        close();
    }

    // An object of objects: the entries of the map by policy and, inside, by the other name.
    template <class Map, class Member, class Write>
    void byPolicy(const Map& map, Member other, Write write) {
        std::vector<typename Map::Iterator> sorted;
        sorted.reserve(map.size());
        for (auto entry = map.begin(); entry != map.end(); ++entry) sorted.push_back(entry);
        std::sort(sorted.begin(), sorted.end(), [](auto a, auto b) { return a->key < b->key; });
        const Orb::String* policy = nullptr;
        open();
        for (const auto entry : sorted) {
            if (policy == nullptr || *policy != entry->key.policyName) {
                if (policy != nullptr) close();
                policy = &entry->key.policyName;
                name(*policy);
                open();
            }
            name(entry->key.*other);
            open();
            write(entry->value);
            close();
        }
        if (policy != nullptr) close();
        close();
    }

    void counts(Keel::UniqueId uniqueId, const PolicyMap::PacketAndByte& count) {
        identity(uniqueId);
        number("packets", count.packets);
        number("bytes", count.bytes);
    }
    void identity(Keel::UniqueId uniqueId) {
        if (uniqueId.value == 0) throw StateError("a snapshot without an identity, expected one");
        number("uniqueId", uniqueId.value);
    }
    void number(std::string_view name, U64 value) {
        key(name);
        append(value);
    }

    // A key from outside.
    void name(std::string_view name) {
        if (!isName(name) || !simdjson::validate_utf8(name)) {
            throw StateError("a snapshot of the name " + inQuotes(name) +
                             ", expected a name without control characters");
        }
        key(name);
    }
    void key(std::string_view name) {
        if (text_.back() != '{') text_ += ',';
        text_ += '"';
        for (const char character : name) {
            if (character == '"' || character == '\\') text_ += '\\';
            text_ += character;
        }
        text_ += "\":";
    }
    void open() { text_ += '{'; }
    void close() { text_ += '}'; }
    template <class Number>
    void append(Number number) {
        char buffer[32];
        const auto result = std::to_chars(std::begin(buffer), std::end(buffer), number);
        text_.append(std::begin(buffer), result.ptr);
    }

    std::string text_;
};

}  // namespace

Snapshots readSnapshots(const std::string& directory) {
    return readSnapshotsDocument(snapshotsPath(directory));
}

Snapshots readSnapshotsDocument(const std::string& path) {
    Snapshots snapshots;
    struct stat status {};
    if (::lstat(path.c_str(), &status) != 0 && errno == ENOENT) return snapshots;
    const Document document(path);
    readObject(document.root(), snapshotsKeys, snapshots);
    return snapshots;
}

Reef::UsedIdentities identitiesOf(const Snapshots& snapshots) {
    Reef::UsedIdentities identities;
    const auto add = [&](Keel::UniqueId identity, const PolicyMap::PacketAndByte& kept) {
        auto& highest = identities[identity.value];
        highest = {std::max(highest.packets, kept.packets), std::max(highest.bytes, kept.bytes)};
    };
    for (const auto& target :
         {snapshots.cpu, snapshots.interfaceInput, snapshots.interfaceOutput}) {
        for (const auto& [key, version] : target->snapshot()) {
            add(version.uniqueId, {version.packets, 0});
        }
        for (const auto& [key, version] : target->namedSnapshot()) {
            add(version->uniqueId(), version->totalCount());
            for (const auto& [intfId, data] : version->perIntfCount()) {
                add(data->uniqueId(), data->countData());
            }
        }
    }
    return identities;
}

std::string snapshotsText(const Snapshots& snapshots) {
    Writer writer;
    writer.snapshots(snapshots);
    return writer.take();
}

}  // namespace StateDirectory
