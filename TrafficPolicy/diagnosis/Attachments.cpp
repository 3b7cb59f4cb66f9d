#include "diagnosis/Attachments.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "diagnosis/NaturalOrder.h"

namespace TrafficPolicyCli::Diagnosis {

using PolicyMap::Installation;
using PolicyMap::InstallState;
using PolicyMap::PolicyMapSubConfig;

namespace {

constexpr std::string_view vlanWord = "Vlan";
const Orb::String everyOtherVrf = "all";

struct PlaceWords {
    std::string_view kind;
    std::string_view direction;
    std::string_view before;  // the name of a point in a text
};
constexpr PlaceWords placeWords[] = {
    {"interface", "input", ""},
    {"interface", "output", ""},
    {"cpu", "", "VRF "},
    {"vlan", "", "VLAN "},
};
const PlaceWords& wordsOf(Place place) { return placeWords[static_cast<std::size_t>(place)]; }

constexpr OutcomeWords outcomeWords[] = {
    {"applied", "applied", "applied"},
    {"failed", "failed", "failed"},
    {"notProcessed", "pending", "not processed"},
    {"notAsked", "not asked", "not asked, no rules of the family"},
    {"notConfigured", "left over", "left over, not configured here"},
};

// The interface of a point in configuration and status, and the point of an interface.
Wire::IntfId intfIdOf(Place place, const Orb::String& point) {
    return Wire::IntfId(place == Place::vlan ? Orb::String(vlanWord) + point : point);
}
Orb::String pointOf(Place place, const Wire::IntfId& intfId) {
    const Orb::String& name = intfId.stringValue();
    return place == Place::vlan ? name.substr(std::min(vlanWord.size(), name.size())) : name;
}

bool saysProgrammed(const PolicyMap::IntfStatus& report) {
    return std::ranges::any_of(report.installation(), [](const auto& entry) {
        return entry.value.state == InstallState::programmed;
    });
}

// What the reports on a point say of one family.
struct Judgement {
    bool isProgrammed = false;              // all that name the family, and there is one
    bool isProgrammedSomewhere = false;     // at least one
    const Installation* failure = nullptr;  // the first one, rather one with a text
    const Installation* other = nullptr;    // the first one that is neither
};

Judgement judge(const Reports& reports, MatchOption option) {
    Judgement judgement;
    bool isEveryOne = true;
    for (const PolicyMap::IntfStatus* const report : reports) {
        const Installation* const entry = report->installation(option);
        if (entry == nullptr) continue;
        if (entry->state == InstallState::programmed) {
            judgement.isProgrammedSomewhere = true;
            continue;
        }
        isEveryOne = false;
        const Installation*& first =
            entry->state == InstallState::failed ? judgement.failure : judgement.other;
        if (first == nullptr || (first->errorText.empty() && !entry->errorText.empty())) {
            first = entry;
        }
    }
    judgement.isProgrammed = judgement.isProgrammedSomewhere && isEveryOne;
    return judgement;
}

bool hasPolicyAt(const PolicyMap::IntfConfig& config, const Wire::IntfId& intfId,
                 const Orb::String& policy) {
    bool isThere = false;
    forEachPolicyAt(config, intfId,
                    [&](const Orb::String& one) { isThere = isThere || one == policy; });
    return isThere;
}

bool inOrder(const Attachment& a, const Attachment& b) {
    const auto rank = [](const Attachment& attachment) {
        return attachment.place == Place::output ? Place::input : attachment.place;
    };
    if (rank(a) != rank(b)) return rank(a) < rank(b);
    if (const auto order = naturalOrder(a.point, b.point); order != 0) return order < 0;
    if (a.place != b.place) return a.place < b.place;
    if (a.isConfigured != b.isConfigured) return a.isConfigured;
    if (a.order != b.order) return a.order < b.order;
    return naturalOrder(a.policy, b.policy) < 0;
}

}  // namespace

bool sayProgrammed(const Reports& reports) {
    return std::ranges::any_of(reports, [](const auto* report) { return saysProgrammed(*report); });
}

std::string_view kindOf(Place place) { return wordsOf(place).kind; }
std::string_view directionOf(Place place) { return wordsOf(place).direction; }
Orb::String pointText(Place place, const Orb::String& point) {
    return Orb::String(wordsOf(place).before) + point;
}
const OutcomeWords& wordsOf(Outcome outcome) {
    return outcomeWords[static_cast<std::size_t>(outcome)];
}

std::span<const Target> Attachments::targetsAt(Place place) const {
    static constexpr Target both[] = {Target::hardware, Target::kernel};
    return std::span(both).first(place == Place::cpu && hasKernel() ? 2 : 1);
}

const SideSources& Attachments::sideOf(Place place, Target target) const {
    switch (place) {
        case Place::input:
            return sources_.input;
        case Place::output:
            return sources_.output;
        case Place::cpu:
            return target == Target::kernel ? sources_.kernel : sources_.cpu;
        case Place::vlan:
            break;
    }
    return sources_.vlan;
}

const PolicyMap::IntfConfig* Attachments::intfConfigOf(Place place) const {
    return (place == Place::input    ? sources_.intfConfigInput
            : place == Place::output ? sources_.intfConfigOutput
                                     : sources_.intfConfigBridged)
        .get();
}

const PolicyMap::PolicyMapStatus* Attachments::statusOf(Place place, Target target,
                                                        const Orb::String& policy) const {
    const auto& status = sideOf(place, target).status;
    return status ? status->policyMapStatus(policy) : nullptr;
}

const PolicyMapSubConfig* Attachments::versionOf(const Orb::String& policy) const {
    const PolicyMap::PolicyMapConfig* const config =
        sources_.config ? sources_.config->policyMapConfig(policy) : nullptr;
    return config == nullptr ? nullptr : config->currCfg().get();
}

bool Attachments::hasRules(const PolicyMapSubConfig* version, MatchOption option) const {
    if (version == nullptr) return false;
    auto& known = families_[version].at(static_cast<std::size_t>(option));
    if (!known) {
        known = std::ranges::any_of(version->classMap(), [option](const auto& entry) {
            return entry.value && entry.value->match().contains(option);
        });
    }
    return *known;
}

const L3::VrfName* Attachments::vrfOf(const Wire::IntfId& intfId) const {
    const L3::Intf::Status* const status =
        sources_.l3IntfStatusDir ? sources_.l3IntfStatusDir->intfStatus(intfId) : nullptr;
    return status == nullptr ? nullptr : &status->vrf();
}

bool Attachments::vrfHasInterface(const L3::VrfName& vrf) const {
    return sources_.l3IntfStatusDir &&
           std::ranges::any_of(sources_.l3IntfStatusDir->intfStatus(), [&](const auto& entry) {
               return entry.value && entry.value->vrf() == vrf;
           });
}

const L3::VrfName* Attachments::ownerOfPolicies(const L3::VrfName& vrf) const {
    if (!sources_.vrfConfig) return nullptr;
    const auto& first = sources_.vrfConfig->vrf();
    if (first.contains(vrf)) return &vrf;
    return first.contains(everyOtherVrf) ? &everyOtherVrf : nullptr;
}

template <class AttachmentOf>
void Attachments::configureVrf(const L3::VrfName& vrf, const AttachmentOf& attachmentOf) const {
    const L3::VrfName* const owner = ownerOfPolicies(vrf);
    if (owner == nullptr) return;
    U32 order = 0;
    forEachPolicyAt(*sources_.vrfConfig, *owner, [&](const Orb::String& policy) {
        Attachment& attachment = attachmentOf(policy);
        attachment.isConfigured = true;
        attachment.isByAll = *owner == everyOtherVrf;
        attachment.order = order++;
    });
}

Reports Attachments::reportsIn(const L3::VrfName& vrf, const PolicyStatus* status) const {
    Reports reports;
    if (status == nullptr) return reports;
    for (const auto& [intfId, report] : status->intfStatus()) {
        const L3::VrfName* const itsVrf = vrfOf(intfId);
        if (report && itsVrf != nullptr && *itsVrf == vrf) reports.push_back(report.get());
    }
    return reports;
}

Attachment Attachments::configuredAt(Place place, const Wire::IntfId& intfId,
                                     const Orb::String& policy) const {
    Attachment attachment{
        .place = place, .point = pointOf(place, intfId), .policy = policy, .isConfigured = true};
    if (const PolicyStatus* const status = statusOf(place, Target::hardware, policy)) {
        const auto* const report = status->intfStatus(intfId);
        if (report != nullptr) attachment.hardware.push_back(report);
    }
    return attachment;
}

void Attachments::addInterfaces(Place place, std::vector<Attachment>& found) const {
    const PolicyMap::IntfConfig* const config = intfConfigOf(place);
    if (config == nullptr) return;
    forEachAttachment(*config, [&](const Wire::IntfId& intfId, const Orb::String& policy) {
        textout::checkInterrupt();
        Attachment attachment = configuredAt(place, intfId, policy);
        const bool isFirst =
            found.empty() || found.back().place != place || found.back().point != attachment.point;
        attachment.order = isFirst ? 0 : found.back().order + 1;
        found.push_back(std::move(attachment));
    });
}

// What is in place and not configured there.
void Attachments::addLeftOver(Place place, std::vector<Attachment>& found) const {
    const auto& status = sideOf(place, Target::hardware).status;
    if (!status) return;
    const PolicyMap::IntfConfig* const config = intfConfigOf(place);
    for (const auto& [policy, policyStatus] : status->policyMapStatus()) {
        textout::checkInterrupt();
        for (const auto& [intfId, report] : policyStatus->intfStatus()) {
            if (!report || !saysProgrammed(*report)) continue;
            if (config != nullptr && hasPolicyAt(*config, intfId, policy)) continue;
            found.push_back({.place = place,
                             .point = pointOf(place, intfId),
                             .policy = policy,
                             .hardware = {report.get()}});
        }
    }
}

namespace {

using AttachmentsOfVrfs = std::map<std::pair<L3::VrfName, Orb::String>, Attachment>;

// The VRFs that have a policy, their own or that of "all", which those have of which a policy was
// reported.
std::set<L3::VrfName> vrfsWithPolicy(const DiagnosisSources& sources,
                                     const AttachmentsOfVrfs& reported) {
    std::set<L3::VrfName> vrfs;
    if (!sources.vrfConfig) return vrfs;
    for (const auto& [vrf, policy] : sources.vrfConfig->vrf()) {
        if (vrf != everyOtherVrf) vrfs.insert(vrf);
    }
    if (!sources.vrfConfig->vrf().contains(everyOtherVrf)) return vrfs;
    const std::size_t own = vrfs.size();
    if (sources.allVrfConfig) {
        for (const auto& vrf : sources.allVrfConfig->vrf()) vrfs.insert(vrf);
    }
    for (const auto& entry : reported) vrfs.insert(entry.first.first);
    if (vrfs.size() == own) vrfs.insert(everyOtherVrf);
    return vrfs;
}

}  // namespace

template <class Visit>
void Attachments::eachReportOnCpu(Target target, const Visit& visit) const {
    const auto& status = sideOf(Place::cpu, target).status;
    if (!status) return;
    for (const auto& [policy, policyStatus] : status->policyMapStatus()) {
        textout::checkInterrupt();
        for (const auto& [intfId, report] : policyStatus->intfStatus()) {
            const L3::VrfName* const vrf = vrfOf(intfId);
            if (report && vrf != nullptr) visit(*vrf, policy, *report);
        }
    }
}

void Attachments::addVrfs(std::vector<Attachment>& found) const {
    AttachmentsOfVrfs attachments;
    const auto attachmentOf = [&](const L3::VrfName& vrf,
                                  const Orb::String& policy) -> Attachment& {
        Attachment& attachment = attachments[{vrf, policy}];
        attachment.place = Place::cpu;
        attachment.point = vrf;
        attachment.policy = policy;
        return attachment;
    };
    eachReportOnCpu(Target::hardware, [&](const auto& vrf, const auto& policy, const auto& report) {
        attachmentOf(vrf, policy).hardware.push_back(&report);
    });
    eachReportOnCpu(Target::kernel, [&](const auto& vrf, const auto& policy, const auto& report) {
        attachmentOf(vrf, policy).kernel.push_back(&report);
    });

    for (const L3::VrfName& vrf : vrfsWithPolicy(sources_, attachments)) {
        configureVrf(vrf, [&](const Orb::String& policy) -> Attachment& {
            return attachmentOf(vrf, policy);
        });
    }
    for (auto& [key, attachment] : attachments) {
        if (!attachment.isConfigured && !sayProgrammed(attachment.hardware) &&
            !sayProgrammed(attachment.kernel)) {
            continue;
        }
        found.push_back(std::move(attachment));
    }
}

std::vector<Attachment> Attachments::all() const {
    std::vector<Attachment> found;
    for (const Place place : {Place::input, Place::output, Place::vlan}) {
        addInterfaces(place, found);
        addLeftOver(place, found);
    }
    addVrfs(found);
    std::ranges::sort(found, inOrder);
    return found;
}

std::vector<Attachment> Attachments::atVrf(const L3::VrfName& vrf) const {
    std::map<Orb::String, Attachment> byPolicy;
    for (const Target target : {Target::hardware, Target::kernel}) {
        const auto& status = sideOf(Place::cpu, target).status;
        if (!status) continue;
        for (const auto& [policy, policyStatus] : status->policyMapStatus()) {
            if (sayProgrammed(reportsIn(vrf, policyStatus.get()))) byPolicy[policy];
        }
    }
    configureVrf(vrf, [&](const Orb::String& policy) -> Attachment& { return byPolicy[policy]; });
    std::vector<Attachment> found;
    for (auto& [policy, attachment] : byPolicy) {
        attachment.place = Place::cpu;
        attachment.point = vrf;
        attachment.policy = policy;
        attachment.hardware = reportsIn(vrf, statusOf(Place::cpu, Target::hardware, policy));
        attachment.kernel = reportsIn(vrf, statusOf(Place::cpu, Target::kernel, policy));
        found.push_back(std::move(attachment));
    }
    return found;
}

std::vector<Attachment> Attachments::atInterface(Place place, const Orb::String& point) const {
    std::vector<Attachment> found;
    const Wire::IntfId intfId = intfIdOf(place, point);
    const PolicyMap::IntfConfig* const config = intfConfigOf(place);
    if (config != nullptr) {
        forEachPolicyAt(*config, intfId, [&](const Orb::String& policy) {
            found.push_back(configuredAt(place, intfId, policy));
            found.back().order = static_cast<U32>(found.size() - 1);
        });
    }
    const auto& status = sideOf(place, Target::hardware).status;
    if (!status) return found;
    for (const auto& [policy, policyStatus] : status->policyMapStatus()) {
        const auto* const report = policyStatus->intfStatus(intfId);
        if (report == nullptr || !saysProgrammed(*report)) continue;
        if (config != nullptr && hasPolicyAt(*config, intfId, policy)) continue;
        found.push_back({.place = place, .point = point, .policy = policy, .hardware = {report}});
    }
    return found;
}

std::vector<Attachment> Attachments::at(Place place, const Orb::String& point) const {
    auto found = place == Place::cpu ? atVrf(point) : atInterface(place, point);
    std::ranges::sort(found, inOrder);
    return found;
}

Installed Attachments::installed(const Attachment& attachment, MatchOption option,
                                 Target target) const {
    const Judgement judgement =
        judge(target == Target::kernel ? attachment.kernel : attachment.hardware, option);
    if (!attachment.isConfigured) {
        return {judgement.isProgrammedSomewhere ? Outcome::notConfigured : Outcome::notAsked, ""};
    }
    if (judgement.isProgrammed) return {Outcome::applied, ""};
    if (judgement.failure != nullptr) return {Outcome::failed, judgement.failure->errorText};
    if (!hasRules(versionOf(attachment.policy), option)) return {Outcome::notAsked, ""};
    if (attachment.place == Place::cpu && attachment.hardware.empty() &&
        attachment.kernel.empty() && !vrfHasInterface(attachment.point)) {
        // The VRF "all" asks for nothing where there is nothing to protect.
        if (attachment.isByAll) return {Outcome::notAsked, "no interface in the VRF"};
        return {Outcome::notProcessed, "no interface in the VRF"};
    }
    const Installation* const other = judgement.other;
    if (other == nullptr || other->state == InstallState::notReported) {
        return {Outcome::notProcessed, "not reported"};
    }
    return {Outcome::notProcessed, other->errorText.empty()
                                       ? "state " + std::to_string(static_cast<U32>(other->state))
                                       : other->errorText};
}

bool Attachments::isTold(const Attachment& attachment, MatchOption option, Target target) const {
    if (option == MatchOption::ipv4 || option == MatchOption::ipv6) return true;
    const Reports& reports = target == Target::kernel ? attachment.kernel : attachment.hardware;
    return target == Target::hardware &&
           (reports.empty() || std::ranges::any_of(reports, [&](const auto* report) {
                return report->installation(option) != nullptr;
            }));
}

}  // namespace TrafficPolicyCli::Diagnosis
