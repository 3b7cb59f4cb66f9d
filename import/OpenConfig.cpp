#include "import/OpenConfig.h"

#include <algorithm>
#include <set>

#include "import/OpenConfigEntry.h"
#include "import/OpenConfigSets.h"

namespace Import {

using PolicyMap::Installation;
using PolicyMap::InstallState;
using PolicyMap::PacketAndByte;
using TrafficPolicy::CounterGranularity;

namespace {

constexpr std::size_t longestDescription = 64;

const JsonTree* below(const JsonTree* tree, std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
        if (tree != nullptr) tree = tree->child(name);
    }
    return tree;
}

template <class Visit>
void forEachEntry(const JsonTree* list, const Visit& visit) {
    if (list == nullptr) return;
    for (const auto& entry : list->entries()) visit(*entry);
}

using SetKey = std::pair<std::string, std::string>;  // name and type

// An entry of a set, before and while it becomes a rule.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the compiler's own name of an index
struct Entry {
    const JsonTree* tree;
    std::string sequence;
    std::optional<U64> number;  // the sequence id
    std::string description;
    std::optional<PacketAndByte> counts;
    bool isReported = false;  // by the set itself
    // By direction: the interfaces that report it, with their counts.
    std::map<std::string, std::optional<PacketAndByte>> interfaces[2];
};

struct Set {
    SetKey key;
    std::string policy;
    std::vector<Entry> entries;
    std::map<std::string, std::size_t> placeOf;  // among the entries, by sequence id
    // By direction.
    bool isAttached[2] = {false, false};
    bool hasReporters[2] = {false, false};  // interfaces that tell their entries
};

class Gathering {
  public:
    Gathering(const JsonTree& tree, Findings& findings) : tree_(tree), findings_(findings) {}

    Gathered gather() {
        const JsonTree* const acl = tree_.child("acl");
        partlyRead_ = readFieldSets(tree_.child("defined-sets"), *gathered_.fieldSets, findings_);
        hasConfig_ = false;
        if (acl != nullptr)
            acl->forEachLeaf([&](const std::string& way, const Leaf&) {
                hasConfig_ = hasConfig_ || way.find("config/") != way.npos;
            });
        readSets(below(acl, {"acl-sets", "acl-set"}));
        readInterfaces(below(acl, {"interfaces", "interface"}));
        for (Set& set : sets_) addPolicy(set);
        for (Attachment& attachment : gathered_.attachments) addInstallations(attachment);
        readCapability(acl);
        tree_.forEachLeaf([&](const std::string& way, const Leaf& leaf) {
            if (leaf.isUsed) return;
            findings_.add(FindingKind::notUnderstood, leaf.place, way.substr(way.rfind('/') + 1),
                          leaf.written());
        });
        return std::move(gathered_);
    }

  private:
    void readSets(const JsonTree* list) {
        std::map<std::string, int> sameName;
        forEachEntry(list, [&](const JsonTree& tree) {
            const ModelLeaves leaves(&tree);
            Set& set = sets_.emplace_back();
            set.key = {keyOf(tree, leaves, "name"), keyOf(tree, leaves, "type")};
            ++sameName[set.key.first];
            if (!isKnownType(set.key.second)) {
                findings_.add(FindingKind::carried, tree.place(), "type", set.key.second);
            }
            readEntries(set, below(&tree, {"acl-entries", "acl-entry"}));
        });
        std::set<std::string> used;
        for (Set& set : sets_) {
            set.policy = nameOf(set.key.first);
            if (sameName[set.key.first] > 1) set.policy += " " + familyWord(set.key.second);
            while (!used.insert(set.policy).second) set.policy += "'";
        }
    }

    // The key of a list entry, by which it was found, whatever its containers say.
    std::string keyOf(const JsonTree& entry, const ModelLeaves& leaves, std::string_view name) {
        const Leaf* const key = entry.leaf(name);
        const Leaf* const told = leaves.find(name);
        if (key == nullptr) return leaves.text(name);
        if (told->text() != key->text()) {
            findings_.add(FindingKind::contradiction, told->place, name,
                          told->written() + ", and its key is " + key->text());
        }
        return key->text();
    }

    // "ipv4" of "ACL_IPV4".
    static std::string familyWord(const std::string& type) {
        std::string word = nameOf(type.starts_with("ACL_") ? type.substr(4) : type);
        for (char& character : word) {
            if (character >= 'A' && character <= 'Z') character += 'a' - 'A';
        }
        return word;
    }

    void readEntries(Set& set, const JsonTree* list) {
        std::map<std::string, int> descriptions;
        forEachEntry(list, [&](const JsonTree& tree) {
            const ModelLeaves leaves(&tree);
            Entry& entry = set.entries.emplace_back();
            entry.tree = &tree;
            entry.sequence = keyOf(tree, leaves, "sequence-id");
            entry.number = Base::parseNumber(entry.sequence, {0, ~U32{0}});
            entry.description = leaves.text("description");
            entry.counts = countsOf(leaves);
            const JsonTree* const state = tree.child("state");
            entry.isReported = state != nullptr && !state->isEmpty();
            ++descriptions[entry.description];
            if (!entry.number) {
                findings_.add(FindingKind::notUnderstood, tree.place(), "sequence-id",
                              entry.sequence + ": no number; the rule stands behind the others");
            }
        });
        for (Entry& entry : set.entries) {
            const bool isPart = descriptions[entry.description] == 1 &&
                                entry.description.size() <= longestDescription;
            if (!isPart) entry.description.clear();
        }
        std::ranges::stable_sort(set.entries, [](const Entry& a, const Entry& b) {
            return a.number.value_or(~U64{0}) < b.number.value_or(~U64{0});
        });
        for (std::size_t i = 0; i < set.entries.size(); ++i) {
            set.placeOf[set.entries[i].sequence] = i;
        }
    }

    std::optional<PacketAndByte> countsOf(const ModelLeaves& leaves) {
        const Leaf* const packets = leaves.find("matched-packets");
        const Leaf* const octets = leaves.find("matched-octets");
        if (packets == nullptr && octets == nullptr) return std::nullopt;
        return PacketAndByte{countOf(packets), countOf(octets)};
    }
    U64 countOf(const Leaf* leaf) {
        if (leaf == nullptr) return 0;
        if (const auto count = Base::parseNumber(leaf->text(), {})) return *count;
        findings_.add(FindingKind::notUnderstood, leaf->place, "count", leaf->text());
        return 0;
    }

    void readInterfaces(const JsonTree* list) {
        constexpr struct {
            Place place;
            const char* sets;
            const char* set;
        } directions[] = {{Place::input, "ingress-acl-sets", "ingress-acl-set"},
                          {Place::output, "egress-acl-sets", "egress-acl-set"}};
        forEachEntry(list, [&](const JsonTree& tree) {
            const std::string name = interfaceName(tree);
            for (const auto& direction : directions) {
                forEachEntry(below(&tree, {direction.sets, direction.set}),
                             [&](const JsonTree& set) { attach(name, direction.place, set); });
            }
        });
    }

    // The interface that an id stands for, and the id where nothing is said of it.
    static std::string interfaceName(const JsonTree& tree) {
        const ModelLeaves leaves(&tree);
        const ModelLeaves reference(tree.child("interface-ref"));
        const std::string interface = reference.text("interface");
        const std::string subinterface = reference.text("subinterface");
        if (interface.empty()) return leaves.text("id");
        const bool isPart = !subinterface.empty() && subinterface != "0";
        return interface + (isPart ? "." + subinterface : "");
    }

    Set* setOf(const SetKey& key) {
        const auto found = std::ranges::find(sets_, key, &Set::key);
        return found == sets_.end() ? nullptr : &*found;
    }

    void attach(const std::string& interface, Place place, const JsonTree& tree) {
        const ModelLeaves leaves(&tree);
        const SetKey key{keyOf(tree, leaves, "set-name"), keyOf(tree, leaves, "type")};
        Set* const set = setOf(key);
        Attachment attachment{
            place, interface, set == nullptr ? nameOf(key.first) : set->policy, true, {}};
        const JsonTree* const config = tree.child("config");
        const JsonTree* const state = tree.child("state");
        const JsonTree* const entries = below(&tree, {"acl-entries", "acl-entry"});
        const bool tellsEntries = entries != nullptr && !entries->entries().empty();
        const bool isReported = (state != nullptr && !state->isEmpty()) || tellsEntries;
        attachment.isConfigured =
            !hasConfig_ || (config != nullptr && !config->isEmpty()) || !isReported;
        if (isReported) reported_.insert({place, interface, attachment.policy});
        gathered_.attachments.push_back(std::move(attachment));
        if (set == nullptr) {
            findings_.add(FindingKind::notUnderstood, tree.place(), "set-name",
                          key.first + ": there is no such ACL set");
            return;
        }
        const auto direction = static_cast<std::size_t>(place);
        set->isAttached[direction] = true;
        set->hasReporters[direction] |= tellsEntries;
        forEachEntry(entries, [&](const JsonTree& entry) {
            const ModelLeaves entryLeaves(&entry);
            const std::string sequence = keyOf(entry, entryLeaves, "sequence-id");
            const auto found = set->placeOf.find(sequence);
            if (found == set->placeOf.end()) {
                findings_.add(FindingKind::notUnderstood, entry.place(), "sequence-id",
                              sequence + ": the ACL set has no such entry");
                return;
            }
            set->entries[found->second].interfaces[direction][interface] = countsOf(entryLeaves);
        });
    }

    void addPolicy(const Set& set) {
        Policy policy{set.policy, {}, {}};
        for (const Entry& entry : set.entries) {
            Rule rule = ruleOfEntry(*entry.tree, set.key.second, partlyRead_, findings_);
            rule.name = entry.sequence;
            if (!entry.description.empty()) rule.name += " " + entry.description;
            for (const Place place : {Place::input, Place::output}) {
                if (set.isAttached[static_cast<std::size_t>(place)]) {
                    addReport(set, entry, place, rule);
                }
            }
            policy.rules.push_back(std::move(rule));
        }
        gathered_.policies.push_back(std::move(policy));
    }

    void addReport(const Set& set, const Entry& entry, Place place, Rule& rule) {
        const auto direction = static_cast<std::size_t>(place);
        RuleReport& report = rule.reportAt(place);
        const bool isTaken =
            set.hasReporters[direction] ? !entry.interfaces[direction].empty() : entry.isReported;
        if (isTaken) report.taken = Taken::taken;
        addCounts(set, entry, direction, report);
        rule.counts = rule.counts || report.counts.has_value();
    }

    void addCounts(const Set& set, const Entry& entry, std::size_t direction, RuleReport& report) {
        const auto identity = [&](const std::string& interface) {
            return identityOf({"openconfig", set.key.first, set.key.second, entry.sequence,
                               direction == 0 ? "input" : "output", interface});
        };
        PacketAndByte sum;
        for (const auto& [interface, counts] : entry.interfaces[direction]) {
            if (!counts) continue;
            report.perInterface[interface] = {identity(interface), *counts};
            sum.packets += counts->packets;
            sum.bytes += counts->bytes;
        }
        const bool isInBoth = set.isAttached[0] && set.isAttached[1];
        if (entry.counts && !isInBoth) {
            report.counts = Counts{identity(""), *entry.counts};
        } else if (!report.perInterface.empty()) {
            report.counts = Counts{identity(""), sum};
        } else if (entry.counts) {
            findings_.add(FindingKind::notUnderstood, entry.tree->place(), "matched-packets",
                          "counts input and output together, and the set is applied on both");
        }
    }

    // A platform that reports a set on an interface has it there.
    void addInstallations(Attachment& attachment) {
        if (!reported_.contains({attachment.place, attachment.point, attachment.policy})) return;
        std::set<ClassMapMatchOption> families;
        for (const Set& set : sets_) {
            if (set.policy != attachment.policy) continue;
            const auto policy = std::ranges::find(gathered_.policies, set.policy, &Policy::name);
            for (const Rule& rule : policy->rules) {
                for (const RuleMatch& match : rule.matches) families.insert(match.option);
            }
            if (families.empty()) {
                for (const auto option : familiesOfType(set.key.second)) families.insert(option);
            }
        }
        for (const ClassMapMatchOption family : families) {
            attachment.installed[family] = Installation{InstallState::programmed, ""};
        }
    }

    void readCapability(const JsonTree* acl) {
        const ModelLeaves leaves(acl);
        const Leaf* const leaf = leaves.find("counter-capability");
        const auto all = [&](CounterGranularity granularity) {
            gathered_.granularity[0] = gathered_.granularity[1] = granularity;
        };
        for (const auto& [name, other] : leaves) {
            if (other == leaf) continue;
            findings_.add(FindingKind::notUnderstood, other->place, name, other->written());
        }
        if (leaf == nullptr) {
            const auto has = [&](auto&& test) {
                return std::ranges::any_of(gathered_.policies, [&](const Policy& policy) {
                    return std::ranges::any_of(policy.rules, [&](const Rule& rule) {
                        return std::ranges::any_of(rule.reports, test);
                    });
                });
            };
            if (has([](const RuleReport& report) { return !report.perInterface.empty(); })) {
                all(CounterGranularity::perInterface);
            } else if (has([](const RuleReport& report) { return report.counts.has_value(); })) {
                all(CounterGranularity::perPolicy);
            }
        } else if (leaf->text() == "AGGREGATE_ONLY") {
            all(CounterGranularity::perPolicy);
        } else if (leaf->text() == "INTERFACE_ONLY" || leaf->text() == "INTERFACE_AGGREGATE") {
            all(CounterGranularity::perInterface);
        } else {
            findings_.add(FindingKind::notUnderstood, leaf->place, "counter-capability",
                          leaf->written());
        }
    }

    const JsonTree& tree_;
    Findings& findings_;
    PartlyReadSets partlyRead_;
    bool hasConfig_ = true;  // the data are not only those of the operational state
    std::vector<Set> sets_;
    std::set<std::tuple<Place, std::string, std::string>> reported_;
    Gathered gathered_;
};

}  // namespace

Gathered gatherOpenConfig(const JsonTree& tree, Findings& findings) {
    if (tree.child("acl") == nullptr && tree.child("defined-sets") == nullptr) {
        throw StateDirectory::StateError(
            "there is nothing about ACLs in it, expected \"openconfig-acl:acl\" or "
            "\"openconfig-defined-sets:defined-sets\"");
    }
    return Gathering(tree, findings).gather();
}

}  // namespace Import
