// Entries are keyed by two names, which the document nests: policies, and in each its rules or its
// counters.
#include "state/Snapshots.h"

#include <sys/stat.h>

#include <algorithm>
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
     [](Writer& writer, const CounterVersion& from) { writeUniqueId(writer, from.uniqueId); },
     Presence::required},
    {"packets", [](const Node& node, CounterVersion& to) { to.packets = readCount(node); },
     [](Writer& writer, const CounterVersion& from) { writer.number(from.packets); }},
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
        for (Members members(object); members.next();) {
            const std::string_view name = members.name();
            const Node member = members.node();
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

// Writes an object of objects: the entries of the map by policy and, inside, by the other name.
template <class Map, class Member, class Write>
void writeByPolicy(Writer& writer, const Map& map, Member other, Write write) {
    using Entries = std::vector<typename Map::Iterator>;
    std::map<std::string_view, Entries> policies;
    auto last = policies.end();  // entries of a policy mostly stand side by side
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        const std::string_view policy = entry->key.policyName;
        if (last == policies.end() || last->first != policy) {
            last = policies.try_emplace(policy).first;
        }
        last->second.push_back(entry);
    }
    writer.object([&] {
        for (auto& policy : policies) {
            auto& entries = policy.second;
            std::ranges::sort(
                entries, {}, [&](auto entry) -> auto& { return entry->key.*other; });
            writer.namedMember(policy.first);
            writer.object([&] {
                for (const auto entry : entries) {
                    writer.namedMember(entry->key.*other);
                    write(entry->value);
                }
            });
        }
    });
}

// The reader refuses an empty name; what is not told has none.
void writeName(Writer& writer, const Orb::String& name) {
    if (!name.empty()) writer.name(name);
}

constexpr Key<Clear> clearKeys[] = {
    {"timestamp", [](const Node& node, Clear& to) { to.time = Orb::Seconds(node.seconds()); },
     [](Writer& writer, const Clear& from) { writer.number(from.time.count()); },
     Presence::required},
    {"user", [](const Node& node, Clear& to) { to.user = readName(node); },
     [](Writer& writer, const Clear& from) { writeName(writer, from.user); }},
    {"terminal", [](const Node& node, Clear& to) { to.terminal = readName(node); },
     [](Writer& writer, const Clear& from) { writeName(writer, from.terminal); }},
};

// In the order of the names, nothing without any.
void writePolicyClears(Writer& writer, const Counter& counter) {
    if (counter.policyClear().empty()) return;
    std::map<std::string_view, const Clear*> sorted;
    for (const auto& [policy, clear] : counter.policyClear()) sorted[policy] = &clear;
    writer.object([&] {
        for (const auto& [policy, clear] : sorted) {
            writer.namedMember(policy);
            writeObject(writer, clearKeys, *clear);
        }
    });
}

constexpr Key<Counter> counterKeys[] = {
    {"timestamp",
     [](const Node& node, Counter& to) { to.timestampIs(Orb::Seconds(node.seconds())); },
     [](Writer& writer, const Counter& from) { writer.number(from.timestamp().count()); }},
    {"user", [](const Node& node, Counter& to) { to.userIs(readName(node)); },
     [](Writer& writer, const Counter& from) { writeName(writer, from.user()); }},
    {"terminal", [](const Node& node, Counter& to) { to.terminalIs(readName(node)); },
     [](Writer& writer, const Counter& from) { writeName(writer, from.terminal()); }},
    {"policyClear",
     [](const Node& node, Counter& to) {
         for (Members members(node); members.next();) {
             const Node member = members.node();
             Clear clear;
             readObject(member, clearKeys, clear);
             const Orb::String policy = nameKey(member, members.name());
             if (to.policyClear(policy) != nullptr) member.refuseRepeated();
             to.policyClearIs(policy, clear);
         }
     },
     writePolicyClears},
    {"snapshot",
     [](const Node& node, Counter& to) {
         readByPolicy(node,
                      [&](const Orb::String& policy, const Orb::String& rule, const Node& member) {
                          CounterVersion version;
                          readObject(member, ruleSnapshotKeys, version);
                          to.snapshotIs(CounterKey{policy, rule}, version);
                      });
     },
     [](Writer& writer, const Counter& from) {
         writeByPolicy(writer, from.snapshot(), &CounterKey::className,
                       [&](const CounterVersion& version) {
                           writeObject(writer, ruleSnapshotKeys, version);
                       });
     }},
    {"namedSnapshot",
     [](const Node& node, Counter& to) {
         readByPolicy(
             node, [&](const Orb::String& policy, const Orb::String& counter, const Node& member) {
                 to.namedSnapshotIs(NamedCounterKey{policy, counter}, readNamedVersion(member));
             });
     },
     [](Writer& writer, const Counter& from) {
         writeByPolicy(writer, from.namedSnapshot(), &NamedCounterKey::counterName,
                       [&](const Orb::Ptr<NamedCounterVersion>& version) {
                           writeObject(writer, recordKeys<IntfCountData>,
                                       {{version->uniqueId(), version->totalCount()},
                                        version->perIntfCount()});
                       });
     }},
};

// A row of one target.
#define TARGET_KEY(target)                                                                    \
    Key<Snapshots> {                                                                          \
#target,                                                                                    \
            [](const Node& node, Snapshots& to) { readObject(node, counterKeys, *to.target); }, \
            [](Writer& writer, const Snapshots& from) {                                       \
                writeObject(writer, counterKeys, *from.target);                               \
            } \
    }

constexpr Key<Snapshots> snapshotsKeys[] = {
    TARGET_KEY(cpu),
    TARGET_KEY(interfaceInput),
    TARGET_KEY(interfaceOutput),
};

constexpr Key<Marks> marksKeys[] = {
    {"stateDirectory",
     [](const Node& node, Marks& to) { to.stateDirectory = std::string(node.text()); },
     [](Writer& writer, const Marks& from) { writer.text(from.stateDirectory); },
     Presence::required},
    {"marks",
     [](const Node& node, Marks& to) {
         for (Members members(node); members.next();) {
             const Node member = members.node();
             const auto [mark, isNew] = to.marks.try_emplace(nameKey(member, members.name()));
             if (!isNew) member.refuseRepeated();
             readObject(member, snapshotsKeys, mark->second);
         }
     },
     [](Writer& writer, const Marks& from) {
         writer.object([&] {
             for (const auto& [mark, counts] : from.marks) {
                 writer.namedMember(mark);
                 writeObject(writer, snapshotsKeys, counts);
             }
         });
     }},
};

bool isThere(const std::string& path) {
    struct stat status {};
    return ::lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

}  // namespace

Snapshots readSnapshots(const std::string& directory) {
    return readSnapshotsDocument(snapshotsPath(directory));
}

Snapshots readSnapshotsDocument(const std::string& path) {
    Snapshots snapshots;
    if (!isThere(path)) return snapshots;
    const Document document(path);
    readObject(document.root(), snapshotsKeys, snapshots);
    return snapshots;
}

Marks readMarks(const std::string& path) {
    Marks marks;
    if (!isThere(path)) return marks;
    const Document document(path);
    readObject(document.root(), marksKeys, marks);
    return marks;
}

std::string marksText(const Marks& marks) {
    Writer writer;
    writeObject(writer, marksKeys, marks);
    return writer.take();
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
    writeObject(writer, snapshotsKeys, snapshots);
    return writer.take();
}

}  // namespace StateDirectory
