#include "cli/DiagnosisCommands.h"

#include "base/Number.h"
#include "cli/ExitStatus.h"
#include "cli/KnownNames.h"
#include "orb/Interrupt.h"
#include "state/Snapshots.h"

namespace Cli {

namespace {

using PolicyMap::Counters::Direction;

template <class Show>
int print(const Show& show, const Session& session) {
    show->render(session.fd(), session.format(), session.revision());
    return Orb::interruptRequested() ? ExitStatus::interrupted : ExitStatus::success;
}

std::string textOf(const Token* token) { return token == nullptr ? std::string() : token->text; }

// The number of a VLAN, which may be told as its interface too: "20" or "Vlan20".
std::string vlanNumber(const Token& token) {
    constexpr std::string_view word = "Vlan";
    std::string_view text = token.text;
    if (text.starts_with(word)) text.remove_prefix(word.size());
    constexpr Base::Bounds bounds = Classification::VlanRange::bounds;
    const auto number = Base::parseNumber(text, bounds);
    if (!number) {
        const std::string meant = Base::numberFault(text, bounds).right;
        throw CommandError(token.position, inQuotes(token.text) + " is not a VLAN",
                           meant.empty() ? "a VLAN " + bounds.stringValue() + ", as 20" : meant);
    }
    return std::to_string(*number);
}

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
