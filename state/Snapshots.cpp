// Entries are keyed by two names, which the document nests: policies, and in each its rules or its
// counters.
#include "state/Snapshots.h"

#include <sys/stat.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <vector>

#include "state/Counts.h"
#include "state/Document.h"

namespace StateDirectory {

using PolicyMap::IntfCountData;
using TrafficPolicy::Clear;
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

constexpr Key<Clear> clearKeys[] = {
    {"timestamp", [](const Node& node, Clear& to) { to.time = Orb::Seconds(node.seconds()); },
     Presence::required},
    {"user", [](const Node& node, Clear& to) { to.user = readName(node); }},
    {"terminal", [](const Node& node, Clear& to) { to.terminal = readName(node); }},
};

constexpr Key<Counter> counterKeys[] = {
    {"timestamp",
     [](const Node& node, Counter& to) { to.timestampIs(Orb::Seconds(node.seconds())); }},
    {"user", [](const Node& node, Counter& to) { to.userIs(readName(node)); }},
    {"terminal", [](const Node& node, Counter& to) { to.terminalIs(readName(node)); }},
    {"policyClear",
     [](const Node& node, Counter& to) {
         for (const auto& [name, element] : node.object()) {
             const Node member(node, name, element);
             Clear clear;
             readObject(member, clearKeys, clear);
             const Orb::String policy = nameKey(member, name);
             if (to.policyClear(policy) != nullptr) member.refuseRepeated();
             to.policyClearIs(policy, clear);
         }
     }},
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
        clear({counter.timestamp(), counter.user(), counter.terminal()});
        policyClears(counter);
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

    void clear(const Clear& clear) {
        key("timestamp");
        append(clear.time.count());
        value("user", clear.user);
        value("terminal", clear.terminal);
    }
    // In the order of the names, nothing without any.
    void policyClears(const Counter& counter) {
        if (counter.policyClear().empty()) return;
        std::map<std::string_view, const Clear*> sorted;
        for (const auto& [policy, clear] : counter.policyClear()) sorted[policy] = &clear;
        key("policyClear");
        open();
        for (const auto& [policy, own] : sorted) {
            name(policy);
            open();
            clear(*own);
            close();
        }
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
        checkName(name);
        key(name);
    }
    // A key with a name from outside; nothing when that is empty.
    void value(std::string_view name, std::string_view value) {
        if (value.empty()) return;
        checkName(value);
        key(name);
        string(value);
    }
    static void checkName(std::string_view name) {
        if (canBeName(name)) return;
        throw StateError("a snapshot of the name " + inQuotes(name) +
                         ", expected a name without control characters");
    }
    void key(std::string_view name) {
        if (text_.back() != '{') text_ += ',';
        string(name);
        text_ += ':';
    }
    void string(std::string_view text) {
        text_ += '"';
        for (const char character : text) {
            if (character == '"' || character == '\\') text_ += '\\';
            text_ += character;
        }
        text_ += '"';
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

bool canBeName(std::string_view text) { return isName(text) && simdjson::validate_utf8(text); }

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
