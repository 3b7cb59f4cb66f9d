#include "cli/DiagnosisCommands.h"

#include <cstdio>
#include <optional>

#include "cli/ExitStatus.h"
#include "cli/KnownNames.h"
#include "cli/PacketWords.h"
#include "cli/capture/CaptureFile.h"
#include "cli/capture/Decoder.h"
#include "orb/Interrupt.h"
#include "state/Snapshots.h"
#include "traffic-policy/ShowCapture.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;

template <class Show>
int print(const Show& show, const Session& session) {
    show->render(session.fd(), session.format(), session.revision());
    return Orb::interruptRequested() ? ExitStatus::interrupted : ExitStatus::success;
}

std::string textOf(const Token* token) { return token == nullptr ? std::string() : token->text; }

}  // namespace

TrafficPolicyCli::DiagnosisSources diagnosisSources(const Session& session) {
    const StateDirectory::State& state = session.state();
    TrafficPolicyCli::DiagnosisSources sources;
    sources.config = state.config;
    sources.fieldSetConfig = state.fieldSetConfig;
    sources.macDir = state.macDir;
    sources.intfConfigInput = state.intfConfigInput;
    sources.intfConfigOutput = state.intfConfigOutput;
    sources.intfConfigBridged = state.intfConfigBridged;
    sources.vrfConfig = state.vrfConfig;
    sources.allVrfConfig = state.allVrfConfig;
    sources.l3IntfStatusDir = state.l3IntfStatusDir;
    sources.trafficPolicyHwStatus = state.hwStatus;
    sources.input = {state.interfaceInput, nullptr, session.counters(Direction::input)};
    sources.output = {state.interfaceOutput, nullptr, session.counters(Direction::output)};
    sources.cpu = {state.cpu, nullptr, nullptr};
    sources.kernel = {state.cpuSoftware, nullptr, nullptr};
    sources.vlan = {state.vlan, nullptr, nullptr};
    return sources;
}

namespace {

// Counts are those since the last clear.
TrafficPolicyCli::DiagnosisSources sourcesWithSnapshots(const Session& session) {
    auto sources = diagnosisSources(session);
    const auto snapshots = StateDirectory::readSnapshots(session.stateDirectory());
    sources.input.counter = snapshots.interfaceInput;
    sources.output.counter = snapshots.interfaceOutput;
    sources.cpu.counter = snapshots.cpu;
    return sources;
}

}  // namespace

Plan planPacket(const Match& match) {
    return [point = pointOf(match), packet = packetOf(match),
            detail = match.has("detail")](const Session& session) {
        return print(TrafficPolicyCli::showTrafficPolicyPacketFactory(sourcesWithSnapshots(session),
                                                                      point, packet, detail),
                     session);
    };
}

Plan planCapture(const Match& match) {
    return [point = pointOf(match), path = *match.find("FILE")](const Session& session) {
        const auto refuse = [&](const std::string& why, const std::string& expected) {
            throw CommandError(path.position, inQuotes(path.text) + " " + why, expected);
        };
        const auto show =
            TrafficPolicyCli::showTrafficPolicyCaptureFactory(sourcesWithSnapshots(session), point);
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
        int status = ExitStatus::success;
        try {
            CaptureFile::Frame frame;
            while (!Orb::interruptRequested() && file->next(frame)) {
                const Decoded decoded = decode(file->linkType(), frame.bytes);
                if (decoded.packet) {
                    show->packetIs(*decoded.packet, frame.length);
                } else {
                    show->undecodedIs(decoded.reason);
                }
            }
        } catch (const std::exception& error) {
            std::fprintf(stderr, "tpcli: %s: %s; what stands before is counted\n",
                         inQuotes(path.text).c_str(), inQuotes(error.what()).c_str());
            status = ExitStatus::badState;
        }
        const int printed = print(show, session);
        return printed == ExitStatus::success ? status : printed;
    };
}

Plan planAttachments(const Match& match) {
    const Token* const vlan = match.find("VLAN");
    return
        [interfaceName = textOf(match.find("INTF")), vrfName = textOf(match.find("VRF")),
         vlanName = vlan == nullptr ? std::string() : vlanNumber(*vlan)](const Session& session) {
            return print(TrafficPolicyCli::showTrafficPolicyAttachmentsFactory(
                             diagnosisSources(session), interfaceName, vrfName, vlanName),
                         session);
        };
}

}  // namespace Cli
