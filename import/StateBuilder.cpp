#include "import/StateBuilder.h"

#include <algorithm>
#include <set>

#include "base/Escape.h"
#include "orb/Hash.h"
#include "state/Snapshots.h"

namespace Import {

using namespace PolicyMap;

namespace {

// The rules of a state that one rule becomes: a rule of the platform has one family, so that one of
// several families becomes several, which count together.
struct RuleNames {
    std::vector<Orb::String> names;  // by match
    Orb::String counter;             // the named counter; empty: the rule's own
};

bool hasPerInterface(const Rule& rule) {
    return std::ranges::any_of(rule.reports,
                               [](const auto& report) { return !report.perInterface.empty(); });
}

Orb::String unique(std::set<Orb::String>& used, const Orb::String& name) {
    Orb::String candidate = name;
    for (int number = 2; !used.insert(candidate).second; ++number) {
        candidate = name + " (" + std::to_string(number) + ")";
    }
    return candidate;
}

// Behind the name of a rule that becomes several.
Orb::String familySuffix(const Rule& rule, const RuleMatch& match) {
    return rule.matches.size() == 1 ? "" : " " + Orb::String(matchOptionName(match.option));
}

std::vector<RuleNames> namesOf(const Policy& policy) {
    std::set<Orb::String> used;
    std::vector<RuleNames> all;
    for (const Rule& rule : policy.rules) {
        RuleNames& names = all.emplace_back();
        const Orb::String name = nameOf(rule.name);
        for (const RuleMatch& match : rule.matches) {
            names.names.push_back(unique(used, name + familySuffix(rule, match)));
        }
        if (rule.counts && (rule.matches.size() > 1 || hasPerInterface(rule))) {
            names.counter = names.names.size() == 1 ? names.names.front() : name;
        }
    }
    // Counters of rules of several families need names of their own.
    std::set<Orb::String> counters;
    for (RuleNames& names : all) {
        if (!names.counter.empty()) names.counter = unique(counters, names.counter);
    }
    return all;
}

Orb::Ptr<const Action> plainAction(ActionType type) { return Orb::make<Action>(type); }

Orb::Ptr<const Action> countAction(const Orb::String& counter) {
    auto action = Orb::make<CountAction>();
    action->counterNameIs(counter);
    return action;
}

Orb::Ptr<const Action> otherAction(const std::string& text) {
    auto action = Orb::make<OtherAction>();
    action->textIs(nameOf(text));
    return action;
}

Orb::Ptr<const Action> nexthopAction(const std::vector<std::string>& nexthops) {
    auto action = Orb::make<RedirectNexthopAction>();
    for (const std::string& nexthop : nexthops) {
        if (const auto address = Wire::IpGenAddr::parse(nexthop)) action->nexthopsIs(*address);
    }
    return action;
}

Orb::Ptr<const PolicyClassAction> actionsOf(const Rule& rule, const Orb::String& name,
                                            const Orb::String& counter) {
    auto actions = Orb::make<PolicyClassAction>(name);
    if (rule.drops) actions->actionIs(ActionType::drop, plainAction(ActionType::drop));
    if (!rule.redirectNexthops.empty()) {
        actions->actionIs(ActionType::redirectNexthop, nexthopAction(rule.redirectNexthops));
    }
    if (rule.logs) actions->actionIs(ActionType::log, plainAction(ActionType::log));
    if (rule.counts) actions->actionIs(ActionType::count, countAction(counter));
    if (!rule.other.empty()) actions->actionIs(ActionType::other, otherAction(rule.other));
    return actions;
}

Orb::Ptr<const PolicyMapConfig> configOf(const Policy& policy,
                                         const std::vector<RuleNames>& names) {
    auto version = Orb::make<PolicyMapSubConfig>(policy.name);
    U32 priority = 0;
    for (std::size_t i = 0; i < policy.rules.size(); ++i) {
        const Rule& rule = policy.rules[i];
        if (!names[i].counter.empty()) version->namedCounterIs(names[i].counter);
        for (std::size_t m = 0; m < rule.matches.size(); ++m) {
            const Orb::String& name = names[i].names[m];
            auto match = Orb::make<ClassMapMatch>(name, rule.matches[m].option);
            match->structuredFilterIs(rule.matches[m].filter);
            auto classMap = Orb::make<ClassMapConfig>(name);
            classMap->matchIs(rule.matches[m].option, Orb::Ptr<const ClassMapMatch>(match));
            version->classMapIs(name, Orb::Ptr<const ClassMapConfig>(classMap));
            auto actions = actionsOf(rule, name, names[i].counter);
            if (actions->action()) version->policyActionIs(name, std::move(actions));
            version->classPriorityIs(++priority, name);
        }
    }
    auto config = Orb::make<PolicyMapConfig>(policy.name);
    config->currCfgIs(Orb::Ptr<const PolicyMapSubConfig>(version));
    return config;
}

Orb::Ptr<const PacketDataStatus> counterOf(const Orb::String& name, const RuleReport& report,
                                           const Counts& total) {
    auto counter = Orb::make<PacketDataStatus>(name, Keel::UniqueId{total.identity});
    counter->countIs(total.counts);
    for (const auto& [interface, counts] : report.perInterface) {
        const Wire::IntfId intfId{Orb::String(nameOf(interface))};
        auto data = Orb::make<IntfCountData>(intfId, Keel::UniqueId{counts.identity});
        data->countDataIs(counts.counts);
        counter->perIntfCountIs(intfId, Orb::Ptr<const IntfCountData>(data));
    }
    return counter;
}

void reportRule(PolicyMapStatus& status, const Rule& rule, const RuleNames& names,
                const RuleReport& report) {
    for (std::size_t m = 0; m < rule.matches.size(); ++m) {
        if (report.taken == Taken::notReported) break;
        auto taken = Orb::make<ClassMapStatus>(names.names[m]);
        if (report.taken == Taken::taken) taken->matchIs(rule.matches[m].option);
        status.classMapStatusIs(names.names[m], Orb::Ptr<const ClassMapStatus>(taken));
    }
    if (!report.counts) return;
    if (names.counter.empty()) {
        const Orb::String& name = names.names.front();
        status.classCounterIs(name, counterOf(name, report, *report.counts));
    } else {
        status.namedCounterIs(names.counter, counterOf(names.counter, report, *report.counts));
    }
}

// The status objects of the places, filled attachment by attachment.
class Statuses {
  public:
    explicit Statuses(const Gathered& gathered) {
        for (const Policy& policy : gathered.policies) policies_[policy.name] = &policy;
    }

    void add(const Attachment& attachment,
             const std::map<std::string, std::vector<RuleNames>>& names) {
        const auto known = policies_.find(attachment.policy);
        if (known == policies_.end()) return;  // nothing can be said of what is not configured
        auto& statuses = statuses_[static_cast<std::size_t>(attachment.place)];
        auto& status = statuses[attachment.policy];
        if (!status) {
            status = Orb::make<PolicyMapStatus>(attachment.policy);
            const Policy& policy = *known->second;
            const auto& ruleNames = names.at(attachment.policy);
            for (std::size_t i = 0; i < policy.rules.size(); ++i) {
                const Rule& rule = policy.rules[i];
                const auto& report = rule.reports[static_cast<std::size_t>(attachment.place)];
                hasPerInterface_[static_cast<std::size_t>(attachment.place)] |=
                    !report.perInterface.empty();
                reportRule(*status, rule, ruleNames[i], report);
            }
            for (const RemovedRule& rule : policy.removed) {
                if (rule.place != attachment.place) continue;
                auto taken = Orb::make<ClassMapStatus>(Orb::String(rule.name));
                taken->matchIs(rule.option);
                status->classMapStatusIs(Orb::String(rule.name),
                                         Orb::Ptr<const ClassMapStatus>(taken));
            }
        }
        if (attachment.installed.empty()) return;
        const Wire::IntfId intfId{
            Orb::String(attachment.place == Place::cpu ? cpuInterface : nameOf(attachment.point))};
        auto report = Orb::make<IntfStatus>(intfId);
        for (const auto& [option, installation] : attachment.installed) {
            report->installationIs(option, installation);
        }
        status->intfStatusIs(intfId, Orb::Ptr<const IntfStatus>(report));
    }

    Orb::Ptr<const TrafficPolicy::Status> at(Place place) const {
        auto status = Orb::make<TrafficPolicy::Status>();
        status->countersPerInterfaceIs(hasPerInterface_[static_cast<std::size_t>(place)]);
        for (const auto& [name, policy] : statuses_[static_cast<std::size_t>(place)]) {
            status->policyMapStatusIs(name, Orb::Ptr<const PolicyMapStatus>(policy));
        }
        return status;
    }

  private:
    std::map<std::string, const Policy*> policies_;
    std::map<Orb::String, Orb::Ptr<PolicyMapStatus>> statuses_[placeCount];
    bool hasPerInterface_[placeCount] = {};
};

// The first policy of a point goes into the map of the points, the others beside it.
template <class Config, class Point>
void attach(Config& config, const Point& point, const std::string& policy) {
    if (firstPolicies(config).contains(point)) {
        MorePolicies more;
        if (const MorePolicies* const others = config.morePolicies().find(point)) more = *others;
        more.is(more.size(), Orb::String(policy));
        config.morePoliciesIs(point, std::move(more));
    } else if constexpr (std::is_same_v<Point, Wire::IntfId>) {
        config.intfIs(point, Orb::String(policy));
    } else {
        config.vrfIs(point, Orb::String(policy));
    }
}

void addAttachments(StateDirectory::State& state, const Gathered& gathered) {
    auto input = Orb::make<IntfConfig>();
    auto output = Orb::make<IntfConfig>();
    auto cpu = Orb::make<VrfConfig>();
    std::set<std::tuple<Place, std::string, std::string>> known;
    for (const Attachment& attachment : gathered.attachments) {
        if (!attachment.isConfigured) continue;
        const Orb::String point = nameOf(attachment.point);
        if (!known.emplace(attachment.place, point, attachment.policy).second) continue;
        if (attachment.place == Place::cpu) {
            attach(*cpu, point, attachment.policy);
        } else {
            attach(attachment.place == Place::input ? *input : *output, Wire::IntfId(point),
                   attachment.policy);
        }
    }
    state.intfConfigInput = input;
    state.intfConfigOutput = output;
    if (cpu->vrf().empty()) return;
    state.vrfConfig = cpu;
    auto vrfs = Orb::make<Ip::AllVrfConfig>();
    vrfs->vrfIs(Orb::String(cpuVrf));
    state.allVrfConfig = vrfs;
    const Wire::IntfId intfId{Orb::String(cpuInterface)};
    auto interface = Orb::make<L3::Intf::Status>(intfId);
    interface->vrfIs(Orb::String(cpuVrf));
    auto dir = Orb::make<L3::Intf::StatusDir>();
    dir->intfStatusIs(intfId, Orb::Ptr<const L3::Intf::Status>(interface));
    state.l3IntfStatusDir = dir;
}

}  // namespace

std::string nameOf(std::string_view text) {
    if (text.empty()) return "(no name)";
    if (StateDirectory::canBeName(text)) return std::string(text);
    return Base::escaped(text);
}

U64 identityOf(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) text.append(part).append(1, '\0');
    // FNV-1a of 64 bits: the same on every machine and in every version.
    U64 hash = 0xcbf29ce484222325;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3;
    }
    return hash == 0 ? 1 : hash;
}

StateDirectory::State stateOf(const Gathered& gathered) {
    StateDirectory::State state;
    auto config = Orb::make<TrafficPolicy::TrafficPolicyConfig>();
    std::map<std::string, std::vector<RuleNames>> names;
    for (const Policy& policy : gathered.policies) {
        const auto& ruleNames = names[policy.name] = namesOf(policy);
        config->policyMapConfigIs(Orb::String(policy.name), configOf(policy, ruleNames));
    }
    state.config = config;
    state.fieldSetConfig = gathered.fieldSets;
    addAttachments(state, gathered);

    Statuses statuses(gathered);
    for (const Attachment& attachment : gathered.attachments) statuses.add(attachment, names);
    state.interfaceInput = statuses.at(Place::input);
    state.interfaceOutput = statuses.at(Place::output);
    state.cpu = statuses.at(Place::cpu);
    auto hardware = Orb::make<TrafficPolicy::HwStatus>();
    hardware->countersInReefIs(gathered.countersInReef);
    hardware->byteCountersSupportedIs(true);
    state.hwStatus = hardware;
    auto parameters = Orb::make<TrafficPolicy::TrafficPolicyIntfParamStatus>();
    parameters->ingressCounterGranularityIs(gathered.granularity[0]);
    parameters->egressCounterGranularityIs(gathered.granularity[1]);
    state.intfParamStatus = parameters;
    state.source = nameOf(gathered.source);
    state.time = Orb::now();
    return state;
}

}  // namespace Import
