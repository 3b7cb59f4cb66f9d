#include "cli/Commands.h"

#include "cli/ClearCounters.h"
#include "cli/CompareCommand.h"
#include "cli/DiagnosisCommands.h"
#include "cli/ExitStatus.h"
#include "cli/FieldSetCommands.h"
#include "cli/KnownNames.h"
#include "cli/Marks.h"
#include "cli/PacketWords.h"
#include "cli/PrintReport.h"
#include "cli/RateCommands.h"
#include "cli/StateReport.h"
#include "state/Snapshots.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;
using TrafficPolicyCli::PolicyViewWord;
using TrafficPolicyCli::showTrafficPolicyCpuFactory;
using TrafficPolicyCli::showTrafficPolicyInterfaceFactory;
using TrafficPolicyCli::showTrafficPolicyVAclFactory;

constexpr auto jsonKeyword = "trafficPolicies";
constexpr auto headingWords = "Traffic policy ";
constexpr auto noCounterStore = nullptr;

// The words that choose what is shown of policies.
struct View {
    explicit View(const Match& match)
        : name(match.name()),
          summary(match.has("summary")),
          errors(match.has("errors")),
          detail(match.has("detail")),
          counters(match.has("counters")),
          onlyCounted(match.has("nonzero")) {
        if (const Token* const token = match.find("MARK")) mark = *token;
    }

    // Rules print their counts, which are relative to those of the last clear.
    bool showsCounts() const { return counters || !(summary || errors); }

    std::string name;
    bool summary, errors, detail, counters, onlyCounted;
    std::optional<Token> mark;  // since which the counters view counts
};

StateDirectory::Snapshots snapshotsFor(const View& view, const Session& session) {
    if (!view.showsCounts()) return {};
    if (view.mark) return countsOfMark(session, *view.mark);
    return StateDirectory::readSnapshots(session.stateDirectory());
}

bool countsBytes(const Session& session) {
    return session.state().hwStatus && session.state().hwStatus->byteCountersSupported();
}

// Prints a report, and a line when the name that was asked for is of nothing known.
template <class Show>
int print(const Show& show, const Session& session, const std::string& name, std::string_view noun,
          const Names& known) {
    const int status = Cli::print(show, session);
    if (status == ExitStatus::success) reportUnknownName(name, noun, known);
    return status;
}

PolicyViewWord viewWordOf(PolicyKind kind) {
    switch (kind) {
        case PolicyKind::interface:
            return PolicyViewWord::interface;
        case PolicyKind::cpu:
            return PolicyViewWord::cpu;
        case PolicyKind::vlan:
            break;
    }
    return PolicyViewWord::vlan;
}

// The same of policies, and a line when they have problems that the view does not show.
template <class Show>
int print(const Show& show, const Session& session, const View& view, PolicyKind kind) {
    show->onlyCountedIs(view.onlyCounted);
    if (view.mark) show->markIs(view.mark->text);
    const int status = Cli::print(show, session);
    if (status == ExitStatus::success) {
        reportMissingPolicy(view.name, kind, session.state());
        hintAtProblems(session, {viewWordOf(kind), view.name, view.errors, view.counters});
    }
    return status;
}

Plan planInterface(const Match& match) {
    return [view = View(match), input = match.has("input"),
            output = match.has("output")](const Session& session) {
        const StateDirectory::State& state = session.state();
        const auto snapshots = snapshotsFor(view, session);
        return print(showTrafficPolicyInterfaceFactory(
                         jsonKeyword, headingWords, state.config, state.interfaceInput,
                         snapshots.interfaceInput, view.name, view.summary, view.errors,
                         view.detail, view.counters, countsBytes(session), state.fieldSetConfig,
                         state.hwStatus, session.counters(Direction::input), state.interfaceOutput,
                         snapshots.interfaceOutput, state.intfConfigInput, state.intfConfigOutput,
                         state.intfParamStatus, session.counters(Direction::output), input, output),
                     session, view, PolicyKind::interface);
    };
}

Plan planCpu(const Match& match) {
    return [view = View(match)](const Session& session) {
        const StateDirectory::State& state = session.state();
        const auto snapshots = snapshotsFor(view, session);
        return print(
            showTrafficPolicyCpuFactory(
                jsonKeyword, headingWords, state.config, state.cpu, snapshots.cpu, view.name,
                view.summary, view.errors, view.detail, view.counters, countsBytes(session),
                state.fieldSetConfig, state.hwStatus, noCounterStore, state.vrfConfig,
                state.allVrfConfig, state.l3IntfStatusDir, state.cpuSoftware),
            session, view, PolicyKind::cpu);
    };
}

// VLANs show no counts.
Plan planVlan(const Match& match) {
    return [view = View(match)](const Session& session) {
        const StateDirectory::State& state = session.state();
        return print(
            showTrafficPolicyVAclFactory(jsonKeyword, headingWords, state.config, state.vlan,
                                         nullptr, view.name, view.summary, view.errors, view.detail,
                                         view.counters, countsBytes(session), state.fieldSetConfig,
                                         state.hwStatus, noCounterStore, state.intfConfigBridged),
            session, view, PolicyKind::vlan);
    };
}

Plan planClear(const Match& match) {
    ClearScope scope;
    scope.policy = match.name();
    scope.cpu = !match.has("interface");
    scope.input = !match.has("cpu") && !match.has("output");
    scope.output = !match.has("cpu") && !match.has("input");
    return [scope](const Session& session) { return clearCounters(session, scope); };
}

using StateDirectory::Wanted;

// Of views of policies: one policy, or those on a kind of places. Most states have all of them on
// interfaces.
Wanted wantedPolicies(const Match& match) {
    Wanted wanted;
    wanted.policy = match.name();
    wanted.policies = !wanted.policy.empty() ? Wanted::Policies::named
                      : match.has("cpu")     ? Wanted::Policies::onCpu
                      : match.has("vlan")    ? Wanted::Policies::onVlans
                                             : Wanted::Policies::all;
    return wanted;
}

// Of what is asked about a point.
Wanted wantedAtPoint(const Match& match) {
    using Kind = TrafficPolicyCli::AskedPoint::Kind;
    const auto point = pointOf(match);
    Wanted wanted;
    if (point.kind == Kind::cpu) wanted.policies = Wanted::Policies::onCpu;
    if (point.kind == Kind::vlan) wanted.policies = Wanted::Policies::onVlans;
    if (point.kind == Kind::policy) {
        wanted.policies = Wanted::Policies::named;
        wanted.policy = point.name;
    }
    return wanted;
}

Wanted wantedPoints(const Match&) {
    return {.policies = Wanted::Policies::points, .fieldSets = Wanted::FieldSets::none};
}

// Of references, which stand in rules; but those to a policy are its points.
Wanted wantedReferences(const Match& match) {
    return match.has("policy") ? wantedPoints(match) : Wanted();
}

// Words that are no command, but that a user has reason to expect as one, and what to say to them.
struct Refusal {
    std::string_view line;
    const char* reason;
};
constexpr Refusal refusals[] = {
    {"show traffic-policy [NAME] vlan [summary | detail | errors] counters",
     "counts are not shown for VLANs"},
};

template <class Rows>
Grammar grammarOf(const Rows& rows) {
    std::vector<std::string_view> lines;
    lines.reserve(std::size(rows));
    for (const auto& row : rows) {
        if constexpr (requires { row.grammarLine(); }) {
            lines.push_back(row.grammarLine());
        } else {
            lines.push_back(row.line);
        }
    }
    return Grammar(lines);
}

// The reason against the words up to the wrong one; null when there is no special one.
const char* reasonAgainst(const Words& words, std::size_t wrong) {
    if (wrong >= words.size()) return nullptr;
    const auto end = words.begin() + static_cast<std::ptrdiff_t>(wrong) + 1;
    try {
        return refusals[grammarOf(refusals).match(Words(words.begin(), end)).command].reason;
    } catch (const CommandError&) {
        return nullptr;
    }
}

const Command policyCommands[] = {
    {"show traffic-policy [NAME] interface [input | output] "
     "[summary | detail | errors | counters [nonzero] [since MARK]]",
     "policies on interfaces: where they are and where they failed; their rules", planInterface,
     wantedPolicies},
    {"show traffic-policy [NAME] cpu [summary | detail | errors | counters [nonzero] [since "
     "MARK]]",
     "policies on the CPU, per VRF, in hardware and in the kernel", planCpu, wantedPolicies},
    {"show traffic-policy [NAME] (interface [input | output] | cpu) counters rate [SECONDS]",
     "how fast they count, now", planRates, wantedPolicies},
    {"show traffic-policy [NAME] vlan [summary | detail | errors]", "policies on VLANs", planVlan,
     wantedPolicies},
};

const Command otherCommands[] = {
    {"show traffic-policy attachments [interface INTF | vrf VRF | vlan VLAN]",
     "where policies are, and what the platform did there", planAttachments, wantedPoints},
    {"show traffic-policy packet (interface INTF (input | output) | cpu VRF | vlan VLAN | "
     "policy NAME) FIELD VALUE ...",
     "which rules take a packet, as configured and as installed", planPacket, wantedAtPoint,
     packetGrammar},
    {"show traffic-policy capture FILE (interface INTF (input | output) | cpu VRF | "
     "vlan VLAN | policy NAME)",
     "the packets of a capture file, by the rules that would take them", planCapture,
     wantedAtPoint},
    {"show traffic-policy problems [NAME]",
     "what is wrong with policies; --exit-code for monitoring",
     planProblems,
     wantedPolicies,
     {},
     true},
    {"show traffic-policy references (policy | field-set | counter | vrf | nexthop-group) NAME",
     "the rules that name it, and where their policies are attached", planReferences,
     wantedReferences},
    {"show traffic-policy state", "the state directory: documents, counts, last clear",
     [](const Match&) { return Plan(reportState); }},
    {"check", "reads every document of the state directory: finds any mistake",
     [](const Match&) { return Plan(checkState); }},
    {"compare DIR_BEFORE DIR_AFTER [NAME] [detail]",
     "what changed between two state directories; exit status 1 if anything did", planComparison},
    {"clear traffic-policy counters [policy NAME] [interface [input | output] | cpu]",
     "lets the counts of later shows begin now, all or only these", planClear},
    {"mark MARK", "remembers the counts of now for you alone", planMark},
    {"show marks", "your marks on this state directory", planShowMarks},
    {"delete mark MARK", "forgets one", planDeleteMark},
};

}  // namespace

const std::vector<Command>& commands() {
    static const std::vector<Command> rows = [] {
        std::vector<Command> all;
        for (const std::span<const Command> part :
             {std::span<const Command>(policyCommands), fieldSetCommands(),
              std::span<const Command>(otherCommands)}) {
            all.insert(all.end(), part.begin(), part.end());
        }
        return all;
    }();
    return rows;
}

const Grammar& grammar() {
    static const Grammar grammar = grammarOf(commands());
    return grammar;
}

Plan planOf(const Words& words) {
    try {
        const Match match = grammar().match(words);
        return commands()[match.command].plan(match);
    } catch (const CommandError& error) {
        throw withReason(error, words);
    }
}

Wanted wantedBy(const Words& words) {
    const Match match = grammar().match(words);
    const auto wanted = commands()[match.command].wanted;
    return wanted == nullptr ? Wanted() : wanted(match);
}

bool findsProblems(const Words& words) {
    return commands()[grammar().match(words).command].findsProblems;
}

CommandError withReason(const CommandError& error, const Words& words) {
    const char* const reason = reasonAgainst(words, error.position());
    return reason == nullptr ? error : CommandError(error.position(), reason, error.expected());
}

}  // namespace Cli
