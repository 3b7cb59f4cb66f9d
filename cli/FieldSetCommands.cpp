#include "cli/FieldSetCommands.h"

#include "cli/DiagnosisCommands.h"
#include "cli/Filters.h"
#include "cli/PrintReport.h"
#include "traffic-policy/ShowFieldSets.h"

namespace Cli {

namespace {

using StateDirectory::State;
using StateDirectory::Wanted;
using TrafficPolicyCli::HoldingKind;
using TrafficPolicyCli::showTrafficPolicyL4PortFieldSetFactory;
using TrafficPolicyCli::showTrafficPolicyMacFieldSetFactory;
using TrafficPolicyCli::showTrafficPolicyPrefixFieldSetFactory;
using TrafficPolicyCli::showTrafficPolicyVlanFieldSetFactory;

template <class Sets>
void addNames(Names& names, const Sets& sets) {
    for (const auto& [name, set] : sets) names.insert(name);
}

// Of a kind of which rules can name sets.
template <class SetsOf>
Names namesIn(const State& state, SetsOf setsOf) {
    Names names;
    if (state.fieldSetConfig) addNames(names, setsOf(*state.fieldSetConfig));
    return names;
}

// Of all sources.
Names macNames(const State& state) {
    Names names;
    for (const auto& [sourceName, entry] : state.macDir->entry()) {
        if (const auto source = Orb::ptrCast<const Orb::Dir>(entry)) {
            addNames(names, source->entry());
        }
    }
    return names;
}

// A kind of field sets.
struct FieldSetWord {
    std::string_view word;     // behind "field-set"
    std::string_view help;     // of that word
    std::string_view element;  // of the word behind "holding"; empty: it does not stand there
    std::string_view noun;     // what a name would be of
    Wanted::FieldSets wanted;
    Names (*names)(const State& state);
};
constexpr FieldSetWord words[] = {
    {"ipv4", "sets of IPv4 prefixes", "", "IPv4 prefix field set", Wanted::FieldSets::ipv4Prefix,
     [](const State& state) {
         return namesIn(
             state, [](auto& config) -> auto& { return config.fieldSetIpPrefix(); });
     }},
    {"ipv6", "sets of IPv6 prefixes", "", "IPv6 prefix field set", Wanted::FieldSets::ipv6Prefix,
     [](const State& state) {
         return namesIn(
             state, [](auto& config) -> auto& { return config.fieldSetIpv6Prefix(); });
     }},
    {"l4-port", "sets of TCP and UDP ports", "a port", "L4 port field set",
     Wanted::FieldSets::l4Port,
     [](const State& state) {
         return namesIn(
             state, [](auto& config) -> auto& { return config.fieldSetL4Port(); });
     }},
    {"vlan", "sets of VLANs", "a VLAN", "VLAN field set", Wanted::FieldSets::vlan,
     [](const State& state) {
         return namesIn(
             state, [](auto& config) -> auto& { return config.fieldSetVlan(); });
     }},
    {"mac", "sets of MAC addresses, by source", "a MAC address", "MAC field set",
     Wanted::FieldSets::mac, macNames},
};

const FieldSetWord* wordAmong(const Match& match) {
    for (const FieldSetWord& row : words) {
        if (match.has(row.word)) return &row;
    }
    return nullptr;
}

// Prints what makeShow(state) makes, and a line when there is no set of the name that was asked
// for.
template <class MakeShow>
Plan planSets(const Match& match, MakeShow makeShow) {
    return [name = match.name(), kind = wordAmong(match), makeShow](const Session& session) {
        const State& state = session.state();
        const int status = print(makeShow(state, name), session);
        if (status == ExitStatus::success) reportUnknownName(name, kind->noun, kind->names(state));
        return status;
    };
}

Plan planPrefixes(const Match& match) {
    const bool ipv4 = match.has("ipv4");
    const Token* const filter = match.find("PREFIX");
    const auto prefix = filter == nullptr ? Wire::IpGenPrefix() : prefixFilter(*filter, ipv4);
    return planSets(match,
                    [ipv4, isFiltered = filter != nullptr, prefix, exact = match.has("exact")](
                        const State& state, const Orb::String& name) {
                        return showTrafficPolicyPrefixFieldSetFactory(
                            state.fieldSetConfig, name, ipv4, isFiltered, prefix, exact);
                    });
}

// Sets of ranges, with the factory of their show and the reader of their filter.
template <auto factory, auto rangeFilter>
Plan planRanges(const Match& match) {
    const Token* const filter = match.find("LOW[-HIGH]");
    using Range = decltype(rangeFilter(*filter));
    return planSets(match, [isFiltered = filter != nullptr,
                            range = filter == nullptr ? Range() : rangeFilter(*filter)](
                               const State& state, const Orb::String& name) {
        return factory(state.fieldSetConfig, name, isFiltered, range);
    });
}

Plan planMacs(const Match& match) {
    return planSets(match, [](const State& state, const Orb::String& name) {
        return showTrafficPolicyMacFieldSetFactory(state.macDir, name);
    });
}

Plan planHolding(const Match& match) {
    HoldingKind kind = HoldingKind::address;
    Wire::IpGenAddr address;
    Wire::EthAddr mac;
    U32 number = 0;
    if (const Token* const token = match.find("PORT")) {
        kind = HoldingKind::l4Port;
        number = onePort(*token);
    } else if (const Token* const vlan = match.find("VLAN")) {
        kind = HoldingKind::vlan;
        number = oneVlan(*vlan);
    } else if (const Token* const macToken = match.find("MAC")) {
        kind = HoldingKind::mac;
        mac = macAddress(*macToken);
    } else {
        address = ipAddress(*match.find("ADDRESS"));
    }
    return [=](const Session& session) {
        return print(TrafficPolicyCli::showTrafficPolicyFieldSetHoldingFactory(
                         diagnosisSources(session), kind, address, number, mac),
                     session);
    };
}

Wanted wantedSets(const Match& match) {
    return {.policies = Wanted::Policies::none,
            .fieldSets = wordAmong(match)->wanted,
            .fieldSet = match.name()};
}
Wanted wantedAllSets(const Match&) { return {.policies = Wanted::Policies::none}; }

constexpr Command rows[] = {
    {"show traffic-policy field-set (ipv4 | ipv6) prefix [NAME] [filter PREFIX [exact]]",
     "prefix field sets; with a filter what overlaps it, or is that very prefix", planPrefixes,
     wantedSets},
    {"show traffic-policy field-set l4-port [NAME] [filter LOW[-HIGH]]",
     "port field sets; with a filter those with a range that holds all of it",
     planRanges<showTrafficPolicyL4PortFieldSetFactory, portFilter>, wantedSets},
    {"show traffic-policy field-set vlan [NAME] [filter LOW[-HIGH]]",
     "VLAN field sets; with a filter those with a range that holds all of it",
     planRanges<showTrafficPolicyVlanFieldSetFactory, vlanFilter>, wantedSets},
    {"show traffic-policy field-set mac [NAME]", "MAC field sets, by source", planMacs, wantedSets},
    {"show traffic-policy field-set holding (ADDRESS | l4-port PORT | vlan VLAN | mac MAC)",
     "the field sets that hold it, and what takes it out of others", planHolding, wantedAllSets},
};

}  // namespace

std::string_view fieldSetHelp(std::string_view label, std::string_view before) {
    for (const FieldSetWord& row : words) {
        if (label == row.word && before == "field-set") return row.help;
        if (label == row.word && before == "holding") return row.element;
        if (label == "NAME" && before == row.word) return "name of a field set";
    }
    return "";
}

Names fieldSetNames(const Match& match, const State& state) {
    const FieldSetWord* const kind = wordAmong(match);
    if (kind != nullptr) return kind->names(state);
    Names names;
    for (const FieldSetWord& row : words) names.merge(row.names(state));
    return names;
}

Names fieldSetNames(const State& state) { return fieldSetNames(Match{}, state); }

std::span<const Command> fieldSetCommands() { return rows; }

}  // namespace Cli
