#include "traffic-policy/Health.h"

#include <algorithm>
#include <set>

#include "diagnosis/Problems.h"

namespace TrafficPolicyCli {

using namespace Diagnosis;

namespace {

void addInstallationsOn(const Attachments& attachments, const Attachment& attachment, Target target,
                        PolicyHealth& health) {
    for (const MatchOption family : PolicyMap::matchOptions) {
        const Installed installed = attachments.installed(attachment, family, target);
        if (!attachments.isReported(installed, attachment, family, target)) continue;
        health.installations.push_back({.policy = attachment.policy,
                                        .kind = kindOf(attachment.place),
                                        .point = attachment.point,
                                        .direction = directionOf(attachment.place),
                                        .family = matchOptionName(family),
                                        .place = target == Target::kernel ? "software" : "hardware",
                                        .isInstalled = installed.outcome == Outcome::applied});
    }
}

void addInstallations(const DiagnosisSources& sources, PolicyHealth& health) {
    const Attachments attachments(sources);
    for (const Attachment& attachment : attachments.all()) {
        if (!attachment.isConfigured) continue;
        for (const Target target : attachments.targetsAt(attachment.place)) {
            addInstallationsOn(attachments, attachment, target, health);
        }
    }
}

U64 rulesNotTaken(const std::vector<Problem>& problems) {
    std::set<std::string_view> rules;
    for (const Problem& problem : problems) {
        if (problem.kind == ProblemKind::ruleNotTaken) rules.insert(problem.rule);
    }
    return rules.size();
}

}  // namespace

PolicyHealth trafficPolicyHealth(const DiagnosisSources& sources) {
    PolicyHealth health;
    addInstallations(sources, health);
    for (const std::string_view kind : problemKeys()) health.problems.push_back({kind, 0});
    const Problems problems = findProblems(sources, "");
    for (const auto& [policy, own] : problems) {
        for (const Problem& problem : own) {
            ++health.problems[static_cast<std::size_t>(problem.kind)].count;
        }
    }
    if (!sources.config) return health;
    for (const auto& [policy, config] : sources.config->policyMapConfig()) {
        const auto* const version = config ? config->currCfg().get() : nullptr;
        const auto own = problems.find(policy);
        health.rules.push_back({policy,
                                version == nullptr ? 0 : U64{version->classPriority().size()},
                                own == problems.end() ? 0 : rulesNotTaken(own->second)});
    }
    return health;
}

}  // namespace TrafficPolicyCli
