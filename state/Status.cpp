// What the platform reports: its abilities, and five status objects of one form.
#include "state/Status.h"

#include "base/Time.h"
#include "state/Attributes.h"
#include "state/Counts.h"

namespace StateDirectory {

using namespace PolicyMap;

namespace {

using ReadIntfKey = Wire::IntfId (*)(const Node& member, std::string_view key);

constexpr std::string_view installStateWords[] = {"notReported", "programmed", "failed"};

InstallState readInstallState(const Node& node) {
    constexpr Base::Bounds anyState{0, ~U32{0}};
    if (node.element().is_number()) return static_cast<InstallState>(node.number(anyState));
    return static_cast<InstallState>(
        node.oneOf(installStateWords, "a whole number from " + anyState.stringValue()));
}

void writeInstallState(Writer& writer, InstallState state) {
    const auto number = static_cast<U32>(state);
    if (number < std::size(installStateWords)) {
        writer.text(installStateWords[number]);
    } else {
        writer.number(number);
    }
}

constexpr Key<Installation> installationKeys[] = {
    {"state", [](const Node& node, Installation& to) { to.state = readInstallState(node); },
     [](Writer& writer, const Installation& from) { writeInstallState(writer, from.state); },
     Presence::required},
    {"errorText",
     [](const Node& node, Installation& to) { to.errorText = Orb::String(node.text()); },
     [](Writer& writer, const Installation& from) { writeValue(writer, from.errorText); }},
};

Orb::Ptr<const IntfStatus> readIntfStatus(const Node& node, const Wire::IntfId& intfId) {
    using Installations = Orb::HashMap2018<ClassMapMatchOption, Installation>;
    auto status = Orb::make<IntfStatus>(intfId);
    status->installationIs(
        readMap<Installations>(node, matchOptionKey, [](const Node& member, ClassMapMatchOption) {
            Installation installation;
            readObject(member, installationKeys, installation);
            return installation;
        }));
    return status;
}

Orb::Ptr<const ClassMapStatus> readClassMapStatus(const Node& node, const Orb::Name& name) {
    using Options = Orb::HashSet2018<ClassMapMatchOption>;
    auto options = readSet<Options>(node, [](const Node& item) {
        return static_cast<ClassMapMatchOption>(item.oneOf(matchOptionWords()));
    });
    if (options.size() > 1) node.refuse("several match options", "a list of one, or an empty one");
    auto status = Orb::make<ClassMapStatus>(name);
    status->matchIs(std::move(options));
    return status;
}

Orb::Ptr<const PacketDataStatus> readCounter(const Node& node, const Orb::Name& name) {
    auto parts = readRecord<const IntfCountData>(node);
    auto counter = Orb::make<PacketDataStatus>(name, parts.counts.uniqueId);
    counter->countIs(parts.counts.count);
    counter->perIntfCountIs(std::move(parts.perIntfCount));
    return counter;
}

void writeCounter(Writer& writer, const PacketDataStatus& counter) {
    writeObject(writer, recordKeys<const IntfCountData>,
                {{counter.uniqueId(), counter.count()}, counter.perIntfCount()});
}

// A policy's status being read, with the function that checks the ids of its interfaces.
struct PolicyStatus {
    using Source = PolicyMapStatus;

    PolicyMapStatus& status;
    ReadIntfKey readIntfKey;
};

template <class Record>
using ByName = Orb::HashMap2018<Orb::Name, Orb::Ptr<const Record>>;

constexpr Key<PolicyStatus> policyStatusKeys[] = {
    {"classMapStatus",
     [](const Node& node, PolicyStatus& to) {
         to.status.classMapStatusIs(
             readMap<ByName<ClassMapStatus>>(node, sharedNameKey, readClassMapStatus));
     },
     [](Writer& writer, const PolicyMapStatus& from) {
         writeMap(writer, from.classMapStatus(), [&](const auto& rule) {
             writer.list([&] {
                 for (const auto option : rule->match()) writer.text(matchOptionName(option));
             });
         });
     }},
    {"intfStatus",
     [](const Node& node, PolicyStatus& to) {
         using ByIntf = Orb::RbTreeMap<Wire::IntfId, Orb::Ptr<const IntfStatus>>;
         to.status.intfStatusIs(readMap<ByIntf>(node, to.readIntfKey, readIntfStatus));
     },
     [](Writer& writer, const PolicyMapStatus& from) {
         writeMap(writer, from.intfStatus(), [&](const auto& intf) {
             writer.object([&] {
                 for (const auto& [option, installation] : intf->installation()) {
                     writer.member(matchOptionName(option));
                     writeObject(writer, installationKeys, installation);
                 }
             });
         });
     }},
    {"classCounter",
     [](const Node& node, PolicyStatus& to) {
         to.status.classCounterIs(
             readMap<ByName<PacketDataStatus>>(node, sharedNameKey, readCounter));
     },
     [](Writer& writer, const PolicyMapStatus& from) {
         writeMap(writer, from.classCounter(),
                  [&](const auto& counter) { writeCounter(writer, *counter); });
     }},
    {"namedCounter",
     [](const Node& node, PolicyStatus& to) {
         to.status.namedCounterIs(
             readMap<ByName<PacketDataStatus>>(node, sharedNameKey, readCounter));
     },
     [](Writer& writer, const PolicyMapStatus& from) {
         writeMap(writer, from.namedCounter(),
                  [&](const auto& counter) { writeCounter(writer, *counter); });
     }},
};

// The same where nothing but the points matters.
constexpr Key<PolicyStatus> pointStatusKeys[] = {
    {"classMapStatus", [](const Node& node, PolicyStatus&) { node.passOver(); }, nullptr},
    {"intfStatus", policyStatusKeys[1].read, nullptr},
    {"classCounter", [](const Node& node, PolicyStatus&) { node.passOver(); }, nullptr},
    {"namedCounter", [](const Node& node, PolicyStatus&) { node.passOver(); }, nullptr},
};
static_assert(std::size(pointStatusKeys) == std::size(policyStatusKeys) &&
              policyStatusKeys[1].name == "intfStatus");

using PolicyStatuses = Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMapStatus>>;

PolicyStatuses readPolicyStatuses(const Node& node, ReadIntfKey readIntfKey) {
    const auto read = [readIntfKey](const Node& member, PolicyMapStatus& policy) {
        PolicyStatus reading{policy, readIntfKey};
        readObject(member, policyStatusKeys, reading);
    };
    const auto readPoints = [readIntfKey](const Node& member, PolicyMapStatus& policy) {
        PolicyStatus reading{policy, readIntfKey};
        readObject(member.oneByOne(), pointStatusKeys, reading);
    };
    const auto inTurn = [&](Turn turn, auto readInto) {
        return readMapInTurn<PolicyStatuses, PolicyMapStatus>(node, nameKey, always(turn),
                                                              readInto);
    };
    const Wanted::Policies wanted = node.wanted().policies;
    if (wanted == Wanted::Policies::points) return inTurn(Turn::now, readPoints);
    if (wanted == Wanted::Policies::none) return inTurn(Turn::never, read);
    if (wanted != Wanted::Policies::all) return inTurn(Turn::later, read);
    return readMap<PolicyStatuses>(node, nameKey, [&](const Node& member, const Orb::String& name) {
        auto policy = Orb::make<PolicyMapStatus>(name);
        read(member, *policy);
        return Orb::Ptr<const PolicyMapStatus>(policy);
    });
}

// A status object being read, likewise.
struct TypeStatus {
    using Source = TrafficPolicy::Status;

    TrafficPolicy::Status& status;
    ReadIntfKey readIntfKey;

    TrafficPolicy::Status& record() const { return status; }
};

constexpr Key<TypeStatus> typeStatusKeys[] = {
    ATTRIBUTE_KEY(TypeStatus, countersPerInterface),
    {"policyMapStatus",
     [](const Node& node, TypeStatus& to) {
         to.status.policyMapStatusIs(readPolicyStatuses(node, to.readIntfKey));
     },
     [](Writer& writer, const TrafficPolicy::Status& from) {
         writeMap(writer, from.policyMapStatus(),
                  [&](const auto& policy) { writeObject(writer, policyStatusKeys, *policy); });
     }},
};

Orb::Ptr<const TrafficPolicy::Status> readTypeStatus(const Node& node, ReadIntfKey readIntfKey) {
    auto status = Orb::make<TrafficPolicy::Status>();
    TypeStatus reading{*status, readIntfKey};
    readObject(node, typeStatusKeys, reading);
    return status;
}

constexpr Key<TrafficPolicy::HwStatus> hwStatusKeys[] = {
    ATTRIBUTE_KEY(TrafficPolicy::HwStatus, countersInReef),
    ATTRIBUTE_KEY(TrafficPolicy::HwStatus, byteCountersSupported),
};

using TrafficPolicy::TrafficPolicyIntfParamStatus;
constexpr Key<TrafficPolicyIntfParamStatus> intfParamKeys[] = {
    ATTRIBUTE_KEY(TrafficPolicyIntfParamStatus, ingressCounterGranularity),
    ATTRIBUTE_KEY(TrafficPolicyIntfParamStatus, egressCounterGranularity),
};

template <class Type, const auto& keys>
Orb::Ptr<const Type> readRecordOf(const Node& node) {
    auto record = Orb::make<Type>();
    readObject(node, keys, *record);
    return record;
}

// Rows of the objects of one form.
#define RECORD_KEY(attribute, Type, keys)                                                         \
    Key<State> {                                                                                  \
#attribute, [](const Node& node, State& to) { to.attribute = readRecordOf<Type, keys>(node); }, \
            [](Writer& writer, const State& from) {                                             \
                if (from.attribute) writeObject(writer, keys, *from.attribute);                 \
            } \
    }
#define TYPE_STATUS_KEY(attribute, readIntfKey)                                                 \
    Key<State> {                                                                                \
#attribute, [](const Node& node,                                                              \
                       State& to) { to.attribute = readTypeStatus(node, readIntfKey); },        \
            [](Writer& writer, const State& from) {                                             \
                if (from.attribute) writeObject(writer, typeStatusKeys, *from.attribute);       \
            } \
    }

constexpr Key<State> statusKeys[] = {
    {"source", [](const Node& node, State& to) { to.source = readText(node); },
     [](Writer& writer, const State& from) { writeValue(writer, from.source); }},
    {"time", [](const Node& node, State& to) { to.time = readTime(node); },
     [](Writer& writer, const State& from) {
         if (from.time) writer.text(Base::timeText(*from.time));
     }},
    RECORD_KEY(hwStatus, TrafficPolicy::HwStatus, hwStatusKeys),
    RECORD_KEY(intfParamStatus, TrafficPolicyIntfParamStatus, intfParamKeys),
    TYPE_STATUS_KEY(interfaceInput, intfKey),
    TYPE_STATUS_KEY(interfaceOutput, intfKey),
    TYPE_STATUS_KEY(cpu, intfKey),
    TYPE_STATUS_KEY(cpuSoftware, intfKey),
    TYPE_STATUS_KEY(vlan, vlanIntfKey),
};

Orb::String onlyOption(const ClassMapStatus& status) {
    return Orb::String(matchOptionName(*status.match().begin()));
}

}  // namespace

void checkDirections(const Node& root, const State& state) {
    if (!state.interfaceInput || !state.interfaceOutput) return;
    for (const auto& [policyName, output] : state.interfaceOutput->policyMapStatus()) {
        const PolicyMapStatus* const input = state.interfaceInput->policyMapStatus(policyName);
        if (input == nullptr) continue;
        for (const auto& [ruleName, rule] : output->classMapStatus()) {
            const ClassMapStatus* const other = input->classMapStatus(ruleName);
            if (other == nullptr || !rule->match() || !other->match()) continue;
            const Orb::String option = onlyOption(*other);
            if (onlyOption(*rule) == option) continue;
            const Node direction = root.member("interfaceOutput");
            const Node policies = direction.member("policyMapStatus");
            const Node policy = policies.member(policyName);
            policy.member("classMapStatus")
                .member(ruleName)
                .refuse("the match option " + inQuotes(onlyOption(*rule)) +
                            " differs from the one in \"interfaceInput\"",
                        inQuotes(option));
        }
    }
}

void readStatus(const Node& root, State& state) {
    readObject(root, statusKeys, state);
    checkDirections(root, state);
}

void writeStatus(Writer& writer, const State& state) { writeObject(writer, statusKeys, state); }

}  // namespace StateDirectory
