#include "diagnosis/Problems.h"

#include <algorithm>
#include <set>

namespace TrafficPolicyCli::Diagnosis {

namespace {

constexpr std::string_view keys[] = {
    "unknownPolicy",     "noCurrentVersion",    "notAttached",          "unknownVrf",
    "unknownInterface",  "installationFailed",  "notProcessed",         "removedPolicy",
    "notConfigured",     "ruleNotTaken",        "ruleNotReported",      "removedRule",
    "undefinedFieldSet", "emptyFieldSet",       "undefinedCounter",     "gotoNowhere",
    "gotoBack",          "criterionCannotHold", "contradictingActions", "counterBelowSnapshot",
};

const Orb::String noPolicy;

bool problemsInOrder(const Problem& a, const Problem& b) {
    if (a.kind != b.kind) return a.kind < b.kind;
    if (a.order != b.order) return a.order < b.order;
    return naturalOrder(a.text, b.text) < 0;
}

// The VRFs of interfaces that do not exist; they belong to no policy.
void addInterfaceVrfs(const DiagnosisSources& sources, Problems& problems) {
    if (!sources.l3IntfStatusDir) return;
    std::set<std::pair<Orb::String, L3::VrfName>> found;
    for (const auto& [intfId, status] : sources.l3IntfStatusDir->intfStatus()) {
        if (status && !vrfExists(sources, status->vrf())) {
            found.insert({intfId.stringValue(), status->vrf()});
        }
    }
    for (const auto& [intf, vrf] : found) {
        problems[noPolicy].push_back(
            {.kind = ProblemKind::unknownVrf,
             .text = "interface " + intf + ": VRF " + vrf + " does not exist"});
    }
}

// Says whether a search for a policy, which is empty for all of them, is about this one.
bool isAsked(const Orb::String& onlyPolicy, std::string_view policy) {
    return onlyPolicy.empty() || policy == onlyPolicy;
}

// Reports of the CPU's interfaces that no VRF is known of: they count nowhere.
void addUnknownInterfaces(const DiagnosisSources& sources, const SideSources& side,
                          const Orb::String& where, const Orb::String& onlyPolicy,
                          Problems& problems) {
    if (!sources.l3IntfStatusDir || !side.status) return;
    for (const auto& [policy, status] : side.status->policyMapStatus()) {
        if (!isAsked(onlyPolicy, policy)) continue;
        for (const auto& [intfId, report] : status->intfStatus()) {
            if (sources.l3IntfStatusDir->intfStatus(intfId) != nullptr) continue;
            problems[policy].push_back({.kind = ProblemKind::unknownInterface,
                                        .text = where + " reports on interface " +
                                                intfId.stringValue() + ", which does not exist"});
        }
    }
}

// Of a policy at its points, and of its rules.
std::vector<Problem> problemsOf(const Orb::String& policy, const DiagnosisSources& sources,
                                const Attachments& attachments, const PolicyAttachments& ofPolicy) {
    std::vector<Problem> problems;
    addPointProblems(sources, attachments, ofPolicy, problems);
    if (const auto* const version = attachments.versionOf(policy)) {
        addRuleProblems(sources, attachments, *version, ofPolicy, problems);
    }
    return problems;
}

bool isConfiguredSomewhere(const PolicyAttachments& ofPolicy) {
    return std::ranges::any_of(ofPolicy, [](const auto* one) { return one->isConfigured; });
}

}  // namespace

std::string_view keyOf(ProblemKind kind) { return keys[static_cast<std::size_t>(kind)]; }
std::span<const std::string_view> problemKeys() { return keys; }

bool vrfExists(const DiagnosisSources& sources, const L3::VrfName& vrf) {
    return !sources.allVrfConfig || vrf == "default" || sources.allVrfConfig->vrf().contains(vrf);
}

Orb::String textOf(const ProblemPoint& point) {
    Orb::String text = pointText(point.place, point.point);
    const std::string_view direction = directionOf(point.place);
    if (!direction.empty()) text.append(" ").append(direction);
    if (point.target) text += *point.target == Target::kernel ? " kernel" : " hardware";
    return text;
}

Problems findProblems(const DiagnosisSources& sources, const Orb::String& onlyPolicy) {
    const Attachments attachments(sources);
    const std::vector<Attachment> found = attachments.all();
    std::map<std::string_view, PolicyAttachments> byPolicy;
    for (const Attachment& attachment : found) {
        byPolicy[attachment.policy].push_back(&attachment);
    }
    static const Orb::RbTreeMap<Orb::String, Orb::Ptr<const PolicyMap::PolicyMapConfig>> none;
    const auto& configured = sources.config ? sources.config->policyMapConfig() : none;
    for (const auto& [policy, config] : configured) byPolicy.try_emplace(policy);
    Problems problems;
    for (const auto& [policy, ofPolicy] : byPolicy) {
        if (!isAsked(onlyPolicy, policy)) continue;
        auto own = problemsOf(Orb::String(policy), sources, attachments, ofPolicy);
        if (!own.empty()) problems[Orb::String(policy)] = std::move(own);
    }
    for (const auto& [policy, config] : configured) {
        if (!isAsked(onlyPolicy, policy) || isConfiguredSomewhere(byPolicy[policy])) continue;
        problems[policy].push_back({.kind = ProblemKind::notAttached, .text = "attached nowhere"});
    }
    addUnknownInterfaces(sources, sources.cpu, "hardware", onlyPolicy, problems);
    addUnknownInterfaces(sources, sources.kernel, "the kernel", onlyPolicy, problems);
    forEachFallenCounter(sources, onlyPolicy, [&](const Orb::String& policy, Problem problem) {
        problems[policy].push_back(std::move(problem));
    });
    if (onlyPolicy.empty()) addInterfaceVrfs(sources, problems);
    for (auto& [policy, own] : problems) std::ranges::sort(own, problemsInOrder);
    return problems;
}

}  // namespace TrafficPolicyCli::Diagnosis
