// The problems: a line each, under the policy they are of. And how many of them the views of
// policies pass over.
#include <algorithm>
#include <set>

#include "diagnosis/Problems.h"
#include "traffic-policy/ShowDiagnosis.h"

namespace TrafficPolicyCli {

using Diagnosis::Place;
using Diagnosis::Problem;
using Diagnosis::ProblemKind;
using Diagnosis::ProblemPoint;
using Diagnosis::Problems;
using Diagnosis::Target;

namespace {

void renderPoint(textout::RendererV2& renderer, const ProblemPoint& point) {
    renderer.pair("point", point.point);
    renderer.pair("pointKind", kindOf(point.place));
    const std::string_view direction = directionOf(point.place);
    if (!direction.empty()) renderer.pair("direction", direction);
    if (point.target) {
        renderer.pair("installedIn",
                      std::string_view(*point.target == Target::kernel ? "software" : "hardware"));
    }
}

void renderProblem(textout::RendererV2& renderer, const Orb::String& policy,
                   const Problem& problem) {
    const auto object = renderer.object();
    renderer.pair("kind", keyOf(problem.kind));
    if (!policy.empty()) renderer.pair("policy", policy);
    if (!problem.rule.empty()) renderer.pair("rule", problem.rule);
    if (problem.point) renderPoint(renderer, *problem.point);
    if (problem.family) renderer.pair("family", matchOptionName(*problem.family));
    renderer.pair("text", problem.text);
    renderer.indent(3).name(problem.text).endLine();
}

// What a view of policies is made of.
struct ViewSides {
    std::vector<const SideSources*> sides;  // whose status names the policies
    bool (*isOfPlace)(Place place);
    bool warnsOfFailures;  // the policy view does; the errors view of each kind lists them
};

ViewSides sidesOf(const DiagnosisSources& sources, PolicyViewWord word) {
    switch (word) {
        case PolicyViewWord::interface:
            return {{&sources.input, &sources.output},
                    [](Place place) { return place == Place::input || place == Place::output; },
                    true};
        case PolicyViewWord::cpu:
            return {{&sources.cpu}, [](Place place) { return place == Place::cpu; }, true};
        case PolicyViewWord::vlan:
            break;
    }
    return {{&sources.vlan}, [](Place place) { return place == Place::vlan; }, false};
}

std::set<Orb::String> policiesOf(const DiagnosisSources& sources, PolicyViewWord word) {
    std::set<Orb::String> policies;
    for (const SideSources* const side : sidesOf(sources, word).sides) {
        if (!side->status) continue;
        for (const auto& entry : side->status->policyMapStatus()) policies.insert(entry.first);
    }
    const auto addPolicies = [&](const auto& config) {
        if (!config) return;
        PolicyMap::forEachAttachment(
            *config, [&](const auto&, const Orb::String& policy) { policies.insert(policy); });
    };
    switch (word) {
        case PolicyViewWord::interface:
            addPolicies(sources.intfConfigInput);
            addPolicies(sources.intfConfigOutput);
            break;
        case PolicyViewWord::cpu:
            addPolicies(sources.vrfConfig);
            break;
        case PolicyViewWord::vlan:
            addPolicies(sources.intfConfigBridged);
            break;
    }
    return policies;
}

bool isShown(const Problem& problem, const PolicyViewShown& view, const ViewSides& sides) {
    if (view.counters) return false;
    switch (problem.kind) {
        case ProblemKind::undefinedFieldSet:
        case ProblemKind::undefinedCounter:
            return true;
        case ProblemKind::installationFailed:
            return (view.errors || sides.warnsOfFailures) && problem.point &&
                   sides.isOfPlace(problem.point->place);
        default:
            return false;
    }
}

}  // namespace

U64 trafficPolicyProblemsNotShown(const DiagnosisSources& sources, const PolicyViewShown& view) {
    const ViewSides sides = sidesOf(sources, view.word);
    const std::set<Orb::String> policies = policiesOf(sources, view.word);
    U64 count = 0;
    for (const auto& [policy, own] : Diagnosis::findProblems(sources, view.policyName)) {
        if (!policies.contains(policy)) continue;
        count += static_cast<U64>(std::ranges::count_if(
            own, [&](const Problem& problem) { return !isShown(problem, view, sides); }));
    }
    return count;
}

ShowTrafficPolicyProblems::ShowTrafficPolicyProblems(DiagnosisSources sources,
                                                     Orb::String policyName)
    : ShowTrafficPolicyDiagnosis(std::move(sources)), policyName_(std::move(policyName)) {}

void ShowTrafficPolicyProblems::renderReport(textout::RendererV2& renderer) {
    const Problems problems = Diagnosis::findProblems(sources(), policyName());
    U64 count = 0;
    {
        const auto list = renderer.list("problems");
        for (const auto& [policy, own] : problems) {
            if (policy.empty()) {
                renderer.text("No policy").endLine();
            } else {
                renderer.text("Traffic policy ").name(policy).endLine();
            }
            for (const Problem& problem : own) renderProblem(renderer, policy, problem);
            count += own.size();
        }
    }
    problemCountIs(count);
    if (count == 0) {
        renderer.text("No problems.").endLine();
    } else {
        renderer.number(count).text(count == 1 ? " problem." : " problems.").endLine();
    }
}

}  // namespace TrafficPolicyCli
