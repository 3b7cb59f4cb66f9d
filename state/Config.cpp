// Policies and their rules, and where they are attached.
#include "state/Config.h"

#include <algorithm>

#include "state/Actions.h"
#include "state/Attributes.h"
#include "state/Criteria.h"
#include "state/FieldSets.h"
#include "state/KeySearch.h"
#include "state/Values.h"

namespace StateDirectory {

using namespace PolicyMap;

namespace {

// A rule being read. Its match and its actions bear its name, so they wait until that is known.
struct Rule {
    struct Source {
        const Orb::Name& name;
        U32 priority;
        const ClassMapConfig* match;
        const PolicyClassAction* action;  // null: none
    };

    Orb::Name name;
    U32 priority = 0;
    bool hasMatch = false;
    bool hasAction = false;
};

struct MatchParts {
    using Source = ClassMapMatch;

    ClassMapMatchOption option;
    Orb::Ptr<const Classification::StructuredFilter> filter;
};

constexpr Key<MatchParts> matchKeys[] = {
    {"structuredFilter",
     [](const Node& node, MatchParts& to) { to.filter = readStructuredFilter(node, to.option); },
     [](Writer& writer, const ClassMapMatch& from) {
         if (from.structuredFilter()) writeStructuredFilter(writer, *from.structuredFilter());
     }},
};

constexpr Key<Rule> ruleKeys[] = {
    {"name", [](const Node& node, Rule& to) { to.name = readSharedName(node); },
     [](Writer& writer, const Rule::Source& from) { writer.text(from.name); }, Presence::required},
    {"priority",
     [](const Node& node, Rule& to) {
         to.priority = static_cast<U32>(node.number({0, ~U32{0}}));
     },
     [](Writer& writer, const Rule::Source& from) { writer.number(from.priority); },
     Presence::required},
    {"match", [](const Node&, Rule& to) { to.hasMatch = true; },
     [](Writer& writer, const Rule::Source& from) {
         if (from.match == nullptr) return;
         writeMap(writer, from.match->match(),
                  [&](const auto& match) { writeObject(writer, matchKeys, *match); });
     }},
    {"action", [](const Node&, Rule& to) { to.hasAction = true; },
     [](Writer& writer, const Rule::Source& from) {
         if (from.action != nullptr) writeActions(writer, from.action->action());
     }},
};

Orb::Ptr<const ClassMapConfig> readClassMap(const Node& node, const Rule& rule) {
    using Matches = Orb::HashMap2018<ClassMapMatchOption, Orb::Ptr<const ClassMapMatch>>;
    auto classMap = Orb::make<ClassMapConfig>(rule.name);
    if (!rule.hasMatch) return classMap;
    classMap->matchIs(readMap<Matches>(node.member("match"), matchOptionKey,
                                       [&](const Node& member, ClassMapMatchOption option) {
                                           auto match = Orb::make<ClassMapMatch>(rule.name, option);
                                           MatchParts parts{option, nullptr};
                                           readObject(member, matchKeys, parts);
                                           match->structuredFilterIs(std::move(parts.filter));
                                           return Orb::Ptr<const ClassMapMatch>(match);
                                       }));
    return classMap;
}

// A rule that was read.
struct RuleObjects {
    Orb::Name name;
    U32 priority;
    Orb::Ptr<const ClassMapConfig> match;
    Orb::Ptr<const PolicyClassAction> action;  // null: none
};

RuleObjects readRuleObjects(const Node& item, const Rule& rule) {
    RuleObjects objects{rule.name, rule.priority, readClassMap(item, rule), nullptr};
    if (rule.hasAction) {
        auto actions = Orb::make<PolicyClassAction>(rule.name);
        actions->actionIs(readActions(item.member("action")));
        objects.action = std::move(actions);
    }
    return objects;
}

void readRules(const Node& node, PolicyMapSubConfig& version) {
    Orb::HashMap2018<Orb::Name, Orb::Ptr<const ClassMapConfig>> classMap;
    Orb::HashMap2018<Orb::Name, Orb::Ptr<const PolicyClassAction>> policyAction;
    reserveFor(classMap, node, &Node::list);
    reserveFor(policyAction, node, &Node::list);
    std::vector<std::pair<U32, Orb::Name>> order;
    Orb::HashMap2018<U32, std::size_t> places;  // in the order, by priority
    reserveFor(places, node, &Node::list);
    const auto refuseSecond = [&](const Node& item, const auto& rule) {
        if (classMap.contains(rule.name)) {
            item.member("name").refuse("a second rule named " + inQuotes(rule.name),
                                       "each name once");
        }
        if (const std::size_t* const other = places.find(rule.priority)) {
            item.member("priority")
                .refuse("priority " + std::to_string(rule.priority) + " is already used by rule " +
                            inQuotes(order[*other].second),
                        "each priority once");
        }
    };
    const auto take = [&](RuleObjects rule) {
        classMap.insertNew({rule.name, std::move(rule.match)});
        if (rule.action) policyAction.insertNew({rule.name, std::move(rule.action)});
        places.insertNew({rule.priority, order.size()});
        order.emplace_back(rule.priority, std::move(rule.name));
    };
    const auto readRule = [](const Node& item) {
        Rule rule;
        readObject(item, ruleKeys, rule);
        return rule;
    };
    if (node.pieces() == nullptr) {
        for (Elements elements(node); elements.next();) {
            const Node item = elements.node();
            const Rule rule = readRule(item);
            refuseSecond(item, rule);
            take(readRuleObjects(item, rule));
        }
    } else {
        readListTogether(
            node, [&](const Node& item) { return readRuleObjects(item, readRule(item)); },
            [&](RuleObjects rule) {
                refuseSecond(node, rule);
                take(std::move(rule));
            });
    }
    Orb::SortedMap<U32, Orb::Name> classPriority;
    std::ranges::sort(order);
    classPriority.reserve(static_cast<U32>(order.size()));
    for (auto& [priority, name] : order) classPriority.insertNew({priority, std::move(name)});
    version.classPriorityIs(std::move(classPriority));
    version.classMapIs(std::move(classMap));
    version.policyActionIs(std::move(policyAction));
}

void writeRules(Writer& writer, const PolicyMapSubConfig& version) {
    if (version.classPriority().empty()) return;
    writer.list([&] {
        for (const auto& [priority, name] : version.classPriority()) {
            writeObject(writer, ruleKeys,
                        {name, priority, version.classMap(name), version.policyAction(name)});
        }
    });
}

constexpr Key<PolicyMapSubConfig> versionKeys[] = {
    ATTRIBUTE_KEY(PolicyMapSubConfig, namedCounter),
    {"rules", readRules, writeRules},
};

void addFamily(ClassMapConfig& rule, ClassMapMatchOption option) {
    if (rule.match().contains(option)) return;
    rule.matchIs(option, Orb::make<ClassMapMatch>(rule.name(), option));
}

// The families of the rules, as one rule.
void readFamilies(const Node& node, PolicyMapSubConfig& version) {
    auto rule = Orb::make<ClassMapConfig>(version.name());
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
        for (Members members(item); members.next();) {
            const Node member = members.node();
            if (members.name() != "match") {
                member.passOver();
                continue;
            }
            for (Members matches(member); matches.next();) {
                const Node match = matches.node();
                const ClassMapMatchOption option = matchOptionKey(match, matches.name());
                match.passOver();
                addFamily(*rule, option);
            }
        }
    }
    version.classMapIs(version.name(), std::move(rule));
}

constexpr Key<PolicyMapSubConfig> familyKeys[] = {
    {"namedCounter", [](const Node& node, PolicyMapSubConfig&) { node.passOver(); }, nullptr},
    {"rules", readFamilies, nullptr},
};

template <const auto& keys>
void readVersion(const Node& node, PolicyMapConfig& to) {
    auto version = Orb::make<PolicyMapSubConfig>(to.name());
    readObject(node, keys, *version);
    to.currCfgIs(Orb::Ptr<const PolicyMapSubConfig>(version));
}

constexpr Key<PolicyMapConfig> policyKeys[] = {
    {"currCfg", readVersion<versionKeys>,
     [](Writer& writer, const PolicyMapConfig& from) {
         if (from.currCfg()) writeObject(writer, versionKeys, *from.currCfg());
     }},
};
constexpr Key<PolicyMapConfig> policyFamilyKeys[] = {
    {"currCfg", readVersion<familyKeys>, nullptr},
};

// The same of a policy's text. Its rules have the options as keys, and nothing else in it does.
void readFamilies(std::string_view text, PolicyMapConfig& to) {
    if (text.find_first_not_of(" \t\n\r", 1) + 1 == text.size()) return;  // no current version
    constexpr char letters[] = {'i', 'm'};
    const auto options = matchOptionWords();
    const U64 found = keysIn(text, options, letters);
    auto rule = Orb::make<ClassMapConfig>(to.name());
    for (std::size_t i = 0; i < options.size(); ++i) {
        if ((found >> i & 1) != 0) addFamily(*rule, static_cast<ClassMapMatchOption>(i));
    }
    auto version = Orb::make<PolicyMapSubConfig>(to.name());
    version->classMapIs(to.name(), std::move(rule));
    to.currCfgIs(Orb::Ptr<const PolicyMapSubConfig>(version));
}

void readPolicyPoints(const Node& node, PolicyMapConfig& to) {
    if (const auto text = node.pieces()->plainText()) {
        readFamilies(*text, to);
    } else {
        readObject(node, policyFamilyKeys, to);
    }
}

void readPolicy(const Node& node, PolicyMapConfig& to) { readObject(node, policyKeys, to); }

Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMapConfig>> readPolicyMap(const Node& node) {
    using Policies = Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMapConfig>>;
    const auto inTurn = [&](Turn turn, auto read) {
        return readMapInTurn<Policies, PolicyMapConfig>(node, nameKey, always(turn), read);
    };
    const Wanted::Policies wanted = node.wanted().policies;
    if (wanted == Wanted::Policies::all) {
        return readMapTogether<Policies>(node, nameKey,
                                         [](const Node& member, const Orb::String& name) {
                                             auto policy = Orb::make<PolicyMapConfig>(name);
                                             readPolicy(member, *policy);
                                             return Orb::Ptr<const PolicyMapConfig>(policy);
                                         });
    }
    if (wanted == Wanted::Policies::points) return inTurn(Turn::now, readPolicyPoints);
    return inTurn(wanted == Wanted::Policies::none ? Turn::never : Turn::later, readPolicy);
}

Orb::Ptr<const TrafficPolicy::TrafficPolicyConfig> readPolicies(const Node& node) {
    auto config = Orb::make<TrafficPolicy::TrafficPolicyConfig>();
    config->policyMapConfigIs(readPolicyMap(node));
    return config;
}

// The policies of a point: a name, or a list of names in the order of application. Returns the
// first, and calls more(name) for the others.
template <class More>
Orb::String readPoliciesAt(const Node& node, const More& more) {
    if (node.element().is_string()) return readName(node);
    if (!node.element().is_array()) node.refuseType("a name, or a list of names");
    Orb::String first;
    Orb::HashSet2018<Orb::String> seen;
    for (Elements elements(node); elements.next();) {
        const Node item = elements.node();
        Orb::String name = readName(item);
        if (seen.contains(name)) item.refuseRepeated();
        seen.insertNew(name);
        if (seen.size() > 1) {
            more(name);
        } else {
            first = std::move(name);
        }
    }
    if (first.empty()) node.refuse("an empty list", "at least one name");
    return first;
}

// The attachments of a kind of points.
template <class Config, class ReadKey>
auto readAttachments(const Node& node, Config& config, ReadKey readKey) {
    using Attachments = std::remove_cvref_t<decltype(firstPolicies(config))>;
    return readMap<Attachments>(node, readKey, [&](const Node& member, const auto& point) {
        MorePolicies others;
        Orb::String first = readPoliciesAt(
            member, [&](const Orb::String& name) { others.is(others.size(), name); });
        if (!others.empty()) config.morePoliciesIs(point, std::move(others));
        return first;
    });
}

template <class ReadKey>
Orb::Ptr<const IntfConfig> readIntfConfig(const Node& node, ReadKey readKey) {
    auto config = Orb::make<IntfConfig>();
    config->intfIs(readAttachments(node, *config, readKey));
    return config;
}

Orb::Ptr<const VrfConfig> readVrfConfig(const Node& node) {
    auto config = Orb::make<VrfConfig>();
    config->vrfIs(readAttachments(node, *config, nameKey));
    return config;
}

Orb::Ptr<const Ip::AllVrfConfig> readAllVrfConfig(const Node& node) {
    auto config = Orb::make<Ip::AllVrfConfig>();
    config->vrfIs(ValueForm<Orb::HashSet2018<L3::VrfName>>::read(node));
    return config;
}

// A name, or a list of names where there are several.
template <class Config>
void writeAttachments(Writer& writer, const Config& config) {
    writer.object([&] {
        for (const auto& entry : firstPolicies(config)) {
            writer.namedMember(keyText(entry.key));
            const MorePolicies* const more = config.morePolicies().find(entry.key);
            if (more == nullptr || more->empty()) {
                writer.text(entry.value);
                continue;
            }
            writer.list([&] {
                forEachPolicyAt(config, entry.key,
                                [&](const Orb::String& name) { writer.text(name); });
            });
        }
    });
}

constexpr Key<L3::Intf::Status> l3IntfKeys[] = {
    ATTRIBUTE_KEY(L3::Intf::Status, vrf, Presence::required),
};

Orb::Ptr<const L3::Intf::StatusDir> readL3IntfStatusDir(const Node& node) {
    using Interfaces = Orb::HashMap2018<Wire::IntfId, Orb::Ptr<const L3::Intf::Status>>;
    auto dir = Orb::make<L3::Intf::StatusDir>();
    dir->intfStatusIs(
        readMap<Interfaces>(node, intfKey, [](const Node& member, const Wire::IntfId& intfId) {
            auto status = Orb::make<L3::Intf::Status>(intfId);
            readObject(member, l3IntfKeys, *status);
            return Orb::Ptr<const L3::Intf::Status>(status);
        }));
    return dir;
}

// A row of the points of one kind.
#define ATTACHMENTS_KEY(attribute, ...)                                                         \
    Key<State> {                                                                                \
#attribute, [](const Node& node, State& to) { to.attribute = __VA_ARGS__; },                  \
            [](Writer& writer, const State& from) {                                             \
                if (from.attribute) writeAttachments(writer, *from.attribute);                  \
            } \
    }

constexpr Key<State> configKeys[] = {
    {"policyMapConfig", [](const Node& node, State& to) { to.config = readPolicies(node); },
     [](Writer& writer, const State& from) {
         if (!from.config) return;
         writer.member("policyMapConfig", false);
         writeMap(writer, from.config->policyMapConfig(),
                  [&](const auto& policy) { writeObject(writer, policyKeys, *policy); });
     }},
    {"fieldSetConfig",
     [](const Node& node, State& to) { to.fieldSetConfig = readFieldSetConfig(node); },
     [](Writer& writer, const State& from) {
         if (from.fieldSetConfig) writeFieldSetConfig(writer, *from.fieldSetConfig);
     }},
    {"fieldSetMacAddr", [](const Node& node, State& to) { to.macDir = readMacDir(node); },
     [](Writer& writer, const State& from) {
         if (from.macDir) writeMacDir(writer, *from.macDir);
     }},
    ATTACHMENTS_KEY(intfConfigInput, readIntfConfig(node, intfKey)),
    ATTACHMENTS_KEY(intfConfigOutput, readIntfConfig(node, intfKey)),
    ATTACHMENTS_KEY(intfConfigBridged, readIntfConfig(node, vlanIntfKey)),
    ATTACHMENTS_KEY(vrfConfig, readVrfConfig(node)),
    {"allVrfConfig", [](const Node& node, State& to) { to.allVrfConfig = readAllVrfConfig(node); },
     [](Writer& writer, const State& from) {
         if (!from.allVrfConfig) return;
         writer.list([&] {
             for (const auto& vrf : from.allVrfConfig->vrf()) writer.text(vrf);
         });
     }},
    {"l3IntfStatusDir",
     [](const Node& node, State& to) { to.l3IntfStatusDir = readL3IntfStatusDir(node); },
     [](Writer& writer, const State& from) {
         if (!from.l3IntfStatusDir) return;
         writer.member("l3IntfStatusDir", false);
         writeMap(writer, from.l3IntfStatusDir->intfStatus(),
                  [&](const auto& intf) { writeObject(writer, l3IntfKeys, *intf); });
     }},
};

}  // namespace

void readConfig(const Node& root, State& state) {
    readObject(root, configKeys, state);
    if (!state.macDir) state.macDir = emptyMacDir();
}

void writeConfig(Writer& writer, const State& state) { writeObject(writer, configKeys, state); }

}  // namespace StateDirectory
