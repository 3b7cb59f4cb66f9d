#include "import/Sonic.h"

#include <algorithm>

#include "base/Number.h"
#include "import/SonicRule.h"

namespace Import {

using PolicyMap::Installation;
using PolicyMap::InstallState;
using PolicyMap::PacketAndByte;
using TrafficPolicy::CounterGranularity;
using Option = ClassMapMatchOption;

namespace {

// Any number beyond those with a meaning: neither programmed nor failed.
constexpr auto pending = static_cast<InstallState>(3);

constexpr std::string_view tableKey = "ACL_TABLE|";
constexpr std::string_view ruleKey = "ACL_RULE|";
constexpr std::string_view typeKey = "ACL_TABLE_TYPE|";
constexpr std::string_view memberKey = "PORTCHANNEL_MEMBER|";
constexpr std::string_view tableStatusKey = "ACL_TABLE_TABLE|";
constexpr std::string_view ruleStatusKey = "ACL_RULE_TABLE|";

// Calls visit(rest of the key, fields) for the keys that begin like this.
template <class Visit>
void forEachKey(const SonicTable& table, std::string_view begin, const Visit& visit) {
    for (auto entry = table.lower_bound(begin);
         entry != table.end() && entry->first.starts_with(begin); ++entry) {
        visit(entry->first.substr(begin.size()), entry->second);
    }
}

const std::string* fieldOf(const SonicFields& fields, std::string_view field) {
    const auto found = fields.find(field);
    return found == fields.end() ? nullptr : &found->second;
}

// The texts of a list, whose name ends in "@" in Redis.
std::vector<std::string> listOf(const SonicFields& fields, const std::string& field) {
    const std::string* text = fieldOf(fields, field + "@");
    if (text == nullptr) text = fieldOf(fields, field);
    return text == nullptr ? std::vector<std::string>() : commaSeparated(*text);
}

std::string lowerCase(std::string text) {
    for (char& character : text) {
        if (character >= 'A' && character <= 'Z') character += 'a' - 'A';
    }
    return text;
}

struct RuleHash {
    std::string name;
    const SonicFields* fields;
    U64 priority;
};

struct TableHash {
    std::string name;
    const SonicFields* fields = nullptr;  // null: only its rules are there
    std::vector<RuleHash> rules;
};

const SonicFields* hashOf(const SonicTable& table, std::string_view key) {
    const auto found = table.find(key);
    return found == table.end() ? nullptr : &found->second;
}

// The counters of rules.
class CounterReader {
  public:
    CounterReader(const SonicDatabases& databases, Findings& findings)
        : databases_(databases),
          findings_(findings),
          map_(hashOf(databases.counters, counterMapKey)) {}

    std::optional<Counts> countsOf(const std::string& table, const std::string& rule) {
        const std::string name = table + ":" + rule;
        if (map_ != nullptr) {
            if (const std::string* const object = fieldOf(*map_, name)) {
                ++found_;
                return countsAt("COUNTERS:" + *object, identityOfObject(*object),
                                "SAI_ACL_COUNTER_ATTR_PACKETS", "SAI_ACL_COUNTER_ATTR_BYTES");
            }
        }
        // As very old versions write it.
        return countsAt("COUNTERS:" + name, identityOf({"sonic", table, rule}), "Packets", "Bytes");
    }

    // Says whether the map names nothing but the rules that were asked for, each once.
    bool hasFoundAll() const { return map_ == nullptr || found_ == map_->size(); }

  private:
    // A rule that is made anew gets another object.
    static U64 identityOfObject(const std::string& object) {
        constexpr std::string_view begin = "oid:";
        const auto number =
            object.starts_with(begin)
                ? parseAnyNumber(std::string_view(object).substr(begin.size()), {1, ~U64{0}})
                : std::nullopt;
        return number.value_or(identityOf({"sonic", object}));
    }

    std::optional<Counts> countsAt(const std::string& key, U64 identity, const char* packets,
                                   const char* bytes) {
        const SonicFields* const fields = hashOf(databases_.counters, key);
        if (fields == nullptr) return std::nullopt;
        Counts counts{identity, {}};
        for (const auto& [field, target] :
             {std::pair(packets, &counts.counts.packets), std::pair(bytes, &counts.counts.bytes)}) {
            const std::string* const text = fieldOf(*fields, field);
            const auto number = text == nullptr ? std::nullopt : Base::parseNumber(*text, {});
            if (number) {
                *target = *number;
            } else if (text != nullptr) {
                findings_.add(FindingKind::notUnderstood, "COUNTERS_DB " + key + " " + field, field,
                              *text);
            }
        }
        return counts;
    }

    const SonicDatabases& databases_;
    Findings& findings_;
    const SonicFields* map_;  // from rules to objects; null: there is none
    std::size_t found_ = 0;
};

class DatabaseGathering {
  public:
    DatabaseGathering(const SonicDatabases& databases, Findings& findings)
        : databases_(databases), findings_(findings), counters_(databases, findings) {
        for (const auto& entry : databases.state) {
            hasStatus_ = hasStatus_ || entry.first.starts_with(ruleStatusKey);
        }
    }

    Gathered gather() {
        readTables();
        for (auto& [name, table] : tables_) addTable(table);
        reportStrangers();
        gathered_.granularity[0] = gathered_.granularity[1] = CounterGranularity::perPolicy;
        return std::move(gathered_);
    }

  private:
    void leftOut(const std::string& place, std::string_view statement, const std::string& text) {
        findings_.add(FindingKind::notUnderstood, place, statement, text);
    }

    void readTables() {
        forEachKey(databases_.config, tableKey,
                   [&](const std::string& name, const SonicFields& fields) {
                       tables_[name].name = name;
                       tables_[name].fields = &fields;
                   });
        forEachKey(
            databases_.config, ruleKey, [&](const std::string& key, const SonicFields& fields) {
                const std::size_t bar = key.find('|');
                const std::string place = "CONFIG_DB " + std::string(ruleKey) + key;
                if (bar == key.npos) {
                    leftOut(place, "key", "expected ACL_RULE|TABLE|RULE");
                    return;
                }
                TableHash& table = tables_[key.substr(0, bar)];
                if (table.name.empty()) table.name = key.substr(0, bar);
                if (table.fields == nullptr) leftOut(place, "table", "there is no such ACL_TABLE");
                table.rules.push_back({key.substr(bar + 1), &fields, priorityOf(fields, place)});
            });
        // Higher goes first, of equal ones by name.
        for (auto& [name, table] : tables_) {
            std::ranges::stable_sort(table.rules, [](const RuleHash& a, const RuleHash& b) {
                return a.priority != b.priority ? a.priority > b.priority : a.name < b.name;
            });
        }
    }

    U64 priorityOf(const SonicFields& fields, const std::string& place) {
        const std::string* const text = fieldOf(fields, "PRIORITY");
        for (const auto& [field, value] : fields) {
            if (field != "PRIORITY" && lowerCase(field) == "priority") {
                leftOut(place + " " + field, field, value + ": expected PRIORITY");
            }
        }
        const auto number = text == nullptr ? std::nullopt : parseAnyNumber(*text, {});
        if (!number) {
            leftOut(place + " PRIORITY", "PRIORITY",
                    (text == nullptr ? "is missing" : *text + ": no number") +
                        std::string("; the rule stands behind the others"));
        }
        return number.value_or(0);
    }

    // What the type of a table says, and whether its rules are of the CPU.
    SonicTableForm formOf(const TableHash& table) {
        SonicTableForm form;
        const std::string* const type =
            table.fields == nullptr ? nullptr : fieldOf(*table.fields, "type");
        constexpr Families all = {Option::ipv4, Option::ipv6, Option::mac, Option::mpls};
        static const std::map<std::string_view, Families> known = {
            {"L3", {Option::ipv4}},
            {"L3V6", {Option::ipv6}},
            {"L3V4V6", {Option::ipv4, Option::ipv6}},
            {"L2", all},
            {"MIRROR", {Option::ipv4}},
            {"MIRRORV6", {Option::ipv6}},
            {"MIRROR_DSCP", {Option::ipv4, Option::ipv6}},
            {"CTRLPLANE", {Option::ipv4, Option::ipv6}},
        };
        form.families = all;
        if (type == nullptr) {
            if (table.fields != nullptr) {
                leftOut(placeOf(table) + " type", "type", "is missing");
            }
            return form;
        }
        const auto row = known.find(lowerToKnown(*type));
        if (row != known.end()) {
            form.families = row->second;
            form.takesIpv6Fields = row->first == "MIRROR";
        } else if (!databases_.config.contains(std::string(typeKey) + *type)) {
            leftOut(placeOf(table) + " type", "type", *type + ": there is no such type");
        }
        form.isOfServices = isControlPlane(table);
        if (form.isOfServices) form.services = listOf(*table.fields, "services");
        return form;
    }

    static std::string lowerToKnown(std::string type) {
        for (char& character : type) {
            if (character >= 'a' && character <= 'z') character -= 'a' - 'A';
        }
        return type;
    }

    static bool isControlPlane(const TableHash& table) {
        const std::string* const type =
            table.fields == nullptr ? nullptr : fieldOf(*table.fields, "type");
        return type != nullptr && lowerToKnown(*type) == "CTRLPLANE";
    }
    static std::string placeOf(const TableHash& table) {
        return "CONFIG_DB " + std::string(tableKey) + table.name;
    }

    void addTable(const TableHash& table) {
        Policy policy{unusedName(table.name), {}, {}};
        const SonicTableForm form = formOf(table);
        std::optional<Place> place = Place::cpu;
        if (!isControlPlane(table)) place = stageOf(table);
        bool hasCounters = false;
        Families families;
        policy.rules.reserve(table.rules.size());
        for (const RuleHash& hash : table.rules) {
            const std::string key = table.name + "|" + hash.name;
            Rule rule = ruleOfHash(*hash.fields, form, "CONFIG_DB " + std::string(ruleKey) + key,
                                   findings_);
            rule.name = hash.name;
            rule.counts = place != Place::cpu;
            const auto counts = counters_.countsOf(table.name, hash.name);
            hasCounters = hasCounters || counts.has_value();
            if (place) {
                RuleReport& report = rule.reportAt(*place);
                report.taken = takenOf(key, counts.has_value());
                if (rule.counts) report.counts = counts;
            }
            for (const RuleMatch& match : rule.matches) families.insert(match.option);
            policy.rules.push_back(std::move(rule));
        }
        if (families.isEmpty()) families = form.families;
        if (place) addRemoved(table, *place, families.first(), policy);
        const std::string name = policy.name;
        gathered_.policies.push_back(std::move(policy));
        if (table.fields != nullptr && place) {
            attach(table, name, *place, installationOf(table.name, hasCounters), families);
        }
        if (table.fields != nullptr) reportFields(table);
    }

    // Names that differ only in what no name may hold become one.
    std::string unusedName(const std::string& table) {
        std::string name = nameOf(table);
        while (!names_.insert(name).second) name += "'";
        return name;
    }

    std::optional<Place> stageOf(const TableHash& table) {
        const std::string* const stage =
            table.fields == nullptr ? nullptr : fieldOf(*table.fields, "stage");
        if (stage == nullptr || lowerCase(*stage) == "ingress") return Place::input;
        if (lowerCase(*stage) == "egress") return Place::output;
        leftOut(placeOf(table) + " stage", "stage", *stage + ": expected ingress or egress");
        return std::nullopt;
    }

    void attach(const TableHash& table, const std::string& policy, Place place,
                const std::optional<Installation>& installation, Families families) {
        Attachment attachment{place, cpuVrf, policy, true, {}};
        if (installation) {
            families.forEach([&](Option family) { attachment.installed[family] = *installation; });
        }
        if (place == Place::cpu) {
            attachment.point = "all";
            gathered_.attachments.push_back(std::move(attachment));
            return;
        }
        for (const std::string& port : pointsOf(table)) {
            attachment.point = port;
            gathered_.attachments.push_back(attachment);
        }
    }

    // The ports of a table. A type that binds to ports alone is on the members of a port channel.
    std::vector<std::string> pointsOf(const TableHash& table) {
        const std::string* const type = fieldOf(*table.fields, "type");
        const SonicFields* const typeFields =
            type == nullptr ? nullptr : hashOf(databases_.config, std::string(typeKey) + *type);
        const std::vector<std::string> binds =
            typeFields == nullptr ? std::vector<std::string>() : listOf(*typeFields, "BIND_POINTS");
        const bool onMembers =
            !binds.empty() && std::ranges::find(binds, "PORTCHANNEL") == binds.end();
        std::vector<std::string> points;
        for (const std::string& port : listOf(*table.fields, "ports")) {
            const std::string begin = std::string(memberKey) + port + "|";
            const std::size_t before = points.size();
            if (onMembers) {
                forEachKey(databases_.config, begin,
                           [&](const std::string& member, const SonicFields&) {
                               points.push_back(member);
                           });
            }
            if (points.size() == before) points.push_back(port);
        }
        return points;
    }

    const std::string* statusOf(std::string_view kind, const std::string& key) {
        const SonicFields* const fields = hashOf(databases_.state, std::string(kind) + key);
        return fields == nullptr ? nullptr : fieldOf(*fields, "status");
    }

    // Versions that report no status at all still have counters for the rules that they took.
    Taken takenOf(const std::string& key, bool hasCounters) {
        const std::string* const status = statusOf(ruleStatusKey, key);
        if (status == nullptr) {
            return !hasStatus_ && hasCounters ? Taken::taken : Taken::notReported;
        }
        const std::string text = lowerCase(*status);
        if (text == "active" || text == "pending removal") return Taken::taken;
        if (text != "inactive" && text != "pending creation") {
            leftOut("STATE_DB " + std::string(ruleStatusKey) + key + " status", "status", *status);
        }
        return Taken::notTaken;
    }

    std::optional<Installation> installationOf(const std::string& table, bool hasCounters) {
        const std::string* const status = statusOf(tableStatusKey, table);
        if (status == nullptr) {
            if (hasStatus_ || !hasCounters) return std::nullopt;
            return Installation{InstallState::programmed, ""};
        }
        const std::string text = lowerCase(*status);
        if (text == "active" || text == "pending removal") {
            return Installation{InstallState::programmed, ""};
        }
        if (text == "inactive") return Installation{InstallState::failed, nameOf(*status)};
        if (text != "pending creation") {
            leftOut("STATE_DB " + std::string(tableStatusKey) + table + " status", "status",
                    *status);
        }
        return Installation{pending, nameOf(*status)};
    }

    // Rules that the switch has although they are not configured.
    void addRemoved(const TableHash& table, Place place, Option option, Policy& policy) {
        forEachKey(databases_.state, std::string(ruleStatusKey) + table.name + "|",
                   [&](const std::string& rule, const SonicFields&) {
                       const std::string key = table.name + "|" + rule;
                       if (databases_.config.contains(std::string(ruleKey) + key)) return;
                       if (takenOf(key, false) != Taken::taken) return;
                       policy.removed.push_back({nameOf(rule), place, option});
                   });
    }

    void reportFields(const TableHash& table) {
        static constexpr std::string_view known[] = {
            "type", "stage", "ports@", "ports", "services@", "services", "policy_desc", "NULL"};
        for (const auto& [field, text] : *table.fields) {
            if (std::ranges::find(known, field) != std::end(known)) continue;
            leftOut(placeOf(table) + " " + field, field, text);
        }
    }

    // Statuses and counters of what is not configured.
    void reportStrangers() {
        forEachKey(databases_.state, tableStatusKey,
                   [&](const std::string& name, const SonicFields&) {
                       if (tables_.contains(name)) return;
                       leftOut("STATE_DB " + std::string(tableStatusKey) + name, "table",
                               "there is no such ACL_TABLE");
                   });
        forEachKey(databases_.state, ruleStatusKey,
                   [&](const std::string& key, const SonicFields&) {
                       if (tables_.contains(key.substr(0, key.find('|')))) return;
                       leftOut("STATE_DB " + std::string(ruleStatusKey) + key, "rule",
                               "there is no such ACL_TABLE");
                   });
        const SonicFields* const map = hashOf(databases_.counters, counterMapKey);
        if (map == nullptr || counters_.hasFoundAll()) return;
        std::set<std::string> rules;
        for (const auto& [name, table] : tables_) {
            for (const RuleHash& rule : table.rules) rules.insert(name + ":" + rule.name);
        }
        for (const auto& [rule, object] : *map) {
            if (rule == "NULL" || rules.contains(rule)) continue;
            leftOut("COUNTERS_DB " + std::string(counterMapKey) + " " + rule, "rule",
                    "there is no such ACL_RULE");
        }
    }

    const SonicDatabases& databases_;
    Findings& findings_;
    CounterReader counters_;
    bool hasStatus_ = false;  // some rule has one: the version reports them
    std::map<std::string, TableHash> tables_;
    std::set<std::string> names_;
    Gathered gathered_;
};

}  // namespace

bool holdsAcls(const SonicDatabases& databases) {
    bool holds = false;
    for (const std::string_view begin : {tableKey, ruleKey}) {
        forEachKey(databases.config, begin,
                   [&](const std::string&, const SonicFields&) { holds = true; });
    }
    return holds;
}

std::unordered_map<U64, PacketAndByte> countsByIdentity(const SonicDatabases& databases) {
    std::unordered_map<U64, PacketAndByte> counts;
    Findings ignored;  // told when the documents were written
    CounterReader reader(databases, ignored);
    forEachKey(databases.config, ruleKey, [&](const std::string& key, const SonicFields&) {
        const std::size_t bar = key.find('|');
        if (bar == key.npos) return;
        const auto found = reader.countsOf(key.substr(0, bar), key.substr(bar + 1));
        if (found) counts[found->identity] = found->counts;
    });
    return counts;
}

Gathered gatherSonic(const SonicDatabases& databases, Findings& findings) {
    return DatabaseGathering(databases, findings).gather();
}

}  // namespace Import
