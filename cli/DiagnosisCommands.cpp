#include "cli/DiagnosisCommands.h"

#include <unistd.h>

#include <cstdio>
#include <optional>

#include "base/Escape.h"
#include "cli/ExitStatus.h"
#include "cli/FieldSetCommands.h"
#include "cli/Filters.h"
#include "cli/KnownNames.h"
#include "cli/PacketWords.h"
#include "cli/PrintReport.h"
#include "cli/capture/CaptureFile.h"
#include "cli/capture/Decoder.h"
#include "orb/Interrupt.h"
#include "state/Snapshots.h"
#include "traffic-policy/Health.h"
#include "traffic-policy/ShowCapture.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;
using TrafficPolicyCli::AskedPoint;
using TrafficPolicyCli::PolicyViewShown;
using TrafficPolicyCli::ReferenceKind;

std::string textOf(const Token* token) { return token == nullptr ? std::string() : token->text; }

struct ReferenceWord {
    std::string_view word;
    ReferenceKind kind;
    std::string_view noun;
    Names (*known)(const StateDirectory::State& state);
};
constexpr ReferenceWord referenceWords[] = {
    {"policy", ReferenceKind::policy, "traffic policy", policyNames},
    {"field-set", ReferenceKind::fieldSet, "field set", fieldSetNames},
    {"counter", ReferenceKind::counter, "counter", counterNames},
    {"vrf", ReferenceKind::vrf, "VRF", vrfNames},
    {"nexthop-group", ReferenceKind::nexthopGroup, "next-hop group", nexthopGroupNames},
};

// Gives all frames to the report. Who captures until an interrupt wants to see what was captured,
// so the interrupt ends the reading only. Returns the exit status.
int countFrames(CaptureFile& file, const std::string& name,
                TrafficPolicyCli::ShowTrafficPolicyCapture& show) {
    const auto say = [&](const std::string& why) {
        std::fprintf(stderr, "tpcli: %s: %s; what stands before is counted\n", name.c_str(),
                     why.c_str());
    };
    std::string fault;
    try {
        CaptureFile::Frame frame;
        while (!Orb::interruptRequested() && file.next(frame)) {
            const Decoded decoded = decode(file.linkType(), frame.bytes);
            if (decoded.packet) {
                show.packetIs(*decoded.packet, frame.length);
            } else {
                show.undecodedIs(decoded.reason);
            }
        }
    } catch (const std::exception& error) {
        fault = inQuotes(error.what());
    }
    if (Orb::interruptRequested()) {
        Orb::interruptRequestedIs(false);
        say("interrupted");
        return ExitStatus::interrupted;
    }
    if (fault.empty()) return ExitStatus::success;
    say(fault);
    return ExitStatus::badState;
}

// A line about a point, or a policy, that the state does not know.
void reportUnknown(const AskedPoint& point, const StateDirectory::State& state) {
    switch (point.kind) {
        case AskedPoint::Kind::input:
        case AskedPoint::Kind::output:
            return reportUnknownPoint(point.name, "interface", interfaceNames(state));
        case AskedPoint::Kind::cpu:
            return reportUnknownPoint(point.name, "VRF", vrfNames(state));
        case AskedPoint::Kind::vlan:
            return reportUnknownPoint(point.name, "policy on VLAN", vlanNumbers(state));
        case AskedPoint::Kind::policy:
            return reportUnknownName(point.name, "traffic policy", policyNames(state));
    }
}

}  // namespace

TrafficPolicyCli::DiagnosisSources diagnosisSources(const Session& session) {
    return TrafficPolicyCli::diagnosisSourcesOf(session.state(), session.counters(Direction::input),
                                                session.counters(Direction::output));
}

TrafficPolicyCli::DiagnosisSources diagnosisSourcesSinceClear(const Session& session) {
    TrafficPolicyCli::DiagnosisSources sources = diagnosisSources(session);
    const auto snapshots = StateDirectory::readSnapshots(session.stateDirectory());
    sources.input.counter = snapshots.interfaceInput;
    sources.output.counter = snapshots.interfaceOutput;
    sources.cpu.counter = snapshots.cpu;
    return sources;
}

Plan planPacket(const Match& match) {
    return [point = pointOf(match), packet = packetOf(match),
            detail = match.has("detail")](const Session& session) {
        const int status = print(TrafficPolicyCli::showTrafficPolicyPacketFactory(
                                     diagnosisSourcesSinceClear(session), point, packet, detail),
                                 session);
        if (status == ExitStatus::success) reportUnknown(point, session.state());
        return status;
    };
}

Plan planCapture(const Match& match) {
    return [point = pointOf(match), path = *match.find("FILE")](const Session& session) {
        const auto refuse = [&](const std::string& why, const std::string& expected) {
            throw CommandError(path.position, inQuotes(path.text) + " " + why, expected);
        };
        const auto show = TrafficPolicyCli::showTrafficPolicyCaptureFactory(
            diagnosisSourcesSinceClear(session), point);
        std::optional<CaptureFile> file;
        try {
            file.emplace(path.text);
        } catch (const std::exception& error) {
            refuse("cannot be read: " + std::string(error.what()),
                   "a capture file, pcap or pcapng, or - for standard input");
        }
        if (!canDecode(file->linkType())) {
            refuse("has frames of the link type " + file->linkTypeName(),
                   "a capture of Ethernet, raw IP, Linux cooked or loopback frames");
        }
        const int status = countFrames(*file, inQuotes(path.text), *show);
        const int printed = print(show, session);
        if (printed != ExitStatus::success) return printed;
        reportUnknown(point, session.state());
        return status;
    };
}

Plan planAttachments(const Match& match) {
    const Token* const vlan = match.find("VLAN");
    return [interfaceName = textOf(match.find("INTF")), vrfName = textOf(match.find("VRF")),
            vlanName = vlan == nullptr ? std::string()
                                       : std::to_string(oneVlan(*vlan))](const Session& session) {
        const int status = print(TrafficPolicyCli::showTrafficPolicyAttachmentsFactory(
                                     diagnosisSources(session), interfaceName, vrfName, vlanName),
                                 session);
        if (status != ExitStatus::success) return status;
        reportUnknownPoint(interfaceName, "interface", interfaceNames(session.state()));
        reportUnknownPoint(vrfName, "VRF", vrfNames(session.state()));
        reportUnknownPoint(vlanName, "policy on VLAN", vlanNumbers(session.state()));
        return status;
    };
}

Plan planProblems(const Match& match) {
    return [name = match.name()](const Session& session) {
        const auto show = TrafficPolicyCli::showTrafficPolicyProblemsFactory(
            diagnosisSourcesSinceClear(session), name);
        const int status = print(show, session);
        if (status != ExitStatus::success) return status;
        reportUnknownName(name, "traffic policy", policyNames(session.state()));
        return show->problemCount() == 0 ? status : ExitStatus::problemsFound;
    };
}

Plan planReferences(const Match& match) {
    for (const ReferenceWord& row : referenceWords) {
        if (!match.has(row.word)) continue;
        return [name = match.name(), &row](const Session& session) {
            const auto show = TrafficPolicyCli::showTrafficPolicyReferencesFactory(
                diagnosisSources(session), row.kind, name);
            const int status = print(show, session);
            if (status == ExitStatus::success && !show->foundReferences()) {
                reportUnknownName(name, row.noun, row.known(session.state()));
            }
            return status;
        };
    }
    return {};
}

U64 problemsOf(const Session& session) {
    const auto health = TrafficPolicyCli::trafficPolicyHealth(diagnosisSourcesSinceClear(session));
    U64 count = 0;
    for (const auto& kind : health.problems) count += kind.count;
    return count;
}

void hintAtProblems(const Session& session, const PolicyViewShown& view) {
    const bool isText = session.format() == static_cast<U32>(textout::OutputFormat_t::text);
    if (!isText || !session.isOnTerminal() || ::isatty(STDERR_FILENO) == 0) return;
    U64 count = 0;
    try {
        count = trafficPolicyProblemsNotShown(diagnosisSourcesSinceClear(session), view);
    } catch (const StateDirectory::StateError&) {
        // Counters are compared with snapshots that can be read only.
        count = trafficPolicyProblemsNotShown(diagnosisSources(session), view);
    }
    if (count == 0) return;
    const std::string name = view.policyName.empty() ? "" : " " + Base::escaped(view.policyName);
    std::fprintf(stderr, "tpcli: %llu %s not shown here: show traffic-policy problems%s\n",
                 static_cast<unsigned long long>(count), count == 1 ? "problem is" : "problems are",
                 name.c_str());
}

}  // namespace Cli
