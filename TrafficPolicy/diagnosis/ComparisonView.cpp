// The differences between two states: policies with their rules, field sets, attachments, and what
// the platform did.
#include "diagnosis/Comparison.h"
#include "diagnosis/FieldSets.h"
#include "diagnosis/Problems.h"
#include "traffic-policy/ShowComparison.h"

namespace TrafficPolicyCli {

using namespace Diagnosis;
using textout::RendererV2;

namespace {

// By outcome and by family.
constexpr std::string_view outcomeWords[] = {"applied", "failed", "pending", "not there",
                                             "in place, not configured"};
constexpr std::string_view familyWords[] = {"IPv4", "IPv6", "MAC", "MPLS"};

void renderCount(RendererV2& renderer, U64 count, std::string_view noun) {
    renderer.number(count).text(" ").text(noun).text(count == 1 ? "" : "s");
}

void renderPoint(RendererV2& renderer, Place place, const Orb::String& point,
                 std::optional<Target> target) {
    renderer.pair("point", point);
    renderer.pair("pointKind", kindOf(place));
    const std::string_view direction = directionOf(place);
    if (!direction.empty()) renderer.pair("direction", direction);
    if (target) {
        renderer.pair("installedIn",
                      std::string_view(*target == Target::kernel ? "software" : "hardware"));
    }
    const bool isOnCpu = place == Place::cpu;
    renderer.name(textOf(ProblemPoint{place, point, isOnCpu ? target : std::nullopt}));
}

void renderNames(RendererV2& renderer, std::string_view key,
                 const std::vector<Orb::String>& names) {
    const auto list = renderer.list(key);
    for (const Orb::String& name : names) {
        if (&name != names.data()) renderer.text(", ");
        renderer.name(name).item(name);
    }
    if (names.empty()) renderer.text("none");
}

// What differs in a rule that both have.
void renderDifference(RendererV2& renderer, const RuleChange& change) {
    const RuleDifference& difference = change.difference;
    if (difference.isNone()) return;
    std::string_view separator = ": ";
    renderer.indent(3).text("changed rule ").name(change.rule);
    if (!difference.criteria.empty()) {
        const auto list = renderer.list("criteria");
        for (const CriterionChange& criterion : difference.criteria) {
            const auto object = renderer.object();
            renderer.pair("family", matchOptionName(criterion.family));
            renderer.pair("criterion", criterion.key);
            renderer.text(separator).text(matchOptionName(criterion.family)).text(" ");
            renderer.text(criterion.label);
            separator = ", ";
        }
    }
    if (!difference.actions.empty()) {
        const auto list = renderer.list("actions");
        for (const PolicyMap::ActionType type : difference.actions) {
            const std::string_view name = PolicyMap::actionNames[PolicyMap::placeOfAction(type)];
            renderer.item(name);
            renderer.text(separator).text("action ").text(name);
            separator = ", ";
        }
    }
    renderer.endLine();
}

void renderRule(RendererV2& renderer, const RuleChange& change) {
    const auto object = renderer.object();
    renderer.pair("rule", change.rule);
    renderer.pair("change", keyOf(change.change));
    if (change.placeBefore != 0) renderer.pair("placeBefore", U64{change.placeBefore});
    if (change.placeAfter != 0) renderer.pair("placeAfter", U64{change.placeAfter});
    if (change.change == Change::changed) {
        renderer.pair("moved", change.isMoved);
        if (change.isMoved) {
            renderer.indent(3).text("moved rule ").name(change.rule).text(": from ");
            renderer.number(change.placeBefore).text(" to ").number(change.placeAfter).endLine();
        }
        renderDifference(renderer, change);
        return;
    }
    const bool isAdded = change.change == Change::added;
    renderer.indent(3).text(isAdded ? "new rule " : "removed rule ").name(change.rule);
    renderer.text(isAdded ? ": at " : ": was at ");
    renderer.number(isAdded ? change.placeAfter : change.placeBefore).endLine();
}

void renderCounters(RendererV2& renderer, std::string_view key, std::string_view words,
                    const std::vector<Orb::String>& counters) {
    if (counters.empty()) return;
    const auto list = renderer.list(key);
    for (const Orb::String& counter : counters) {
        renderer.item(counter);
        renderer.indent(3).text(words).text(" counter ").name(counter).endLine();
    }
}

void renderPolicy(RendererV2& renderer, const Orb::String& policy, const PolicyChange& change) {
    const auto object = renderer.object();
    renderer.pair("policy", policy);
    renderer.pair("change", keyOf(change.change));
    renderer.pair("rulesBefore", change.rulesBefore);
    renderer.pair("rulesAfter", change.rulesAfter);
    renderer.text("Traffic policy ").name(policy).text(": ");
    if (change.change == Change::changed) {
        renderCount(renderer, change.rulesBefore, "rule");
        renderer.text(" before, ").number(change.rulesAfter).text(" after").endLine();
    } else {
        const bool isAdded = change.change == Change::added;
        renderer.text(isAdded ? "new, " : "removed, ");
        renderCount(renderer, isAdded ? change.rulesAfter : change.rulesBefore, "rule");
        renderer.endLine();
    }
    if (!change.rules.empty()) {
        const auto list = renderer.list("rules");
        for (const RuleChange& rule : change.rules) renderRule(renderer, rule);
    }
    renderCounters(renderer, "countersAdded", "new", change.countersAdded);
    renderCounters(renderer, "countersRemoved", "removed", change.countersRemoved);
}

void renderEntries(RendererV2& renderer, std::string_view key, std::string_view words,
                   const std::vector<Orb::String>& entries, bool isListed) {
    if (!isListed) return;
    const auto list = renderer.list(key);
    for (const Orb::String& entry : entries) {
        renderer.item(entry);
        renderer.indent(3).text(words).text(" ").name(entry).endLine();
    }
}

void renderFieldSet(RendererV2& renderer, const FieldSetChange& change, bool detail) {
    const auto object = renderer.object();
    renderer.pair("kind", keyOf(change.kind));
    if (!change.source.empty()) renderer.pair("source", change.source);
    renderer.pair("name", change.name);
    renderer.pair("change", keyOf(change.change));
    renderer.pair("entriesBefore", change.entriesBefore);
    renderer.pair("entriesAfter", change.entriesAfter);
    renderer.pair("addedCount", U64{change.added.size()});
    renderer.pair("removedCount", U64{change.removed.size()});
    renderer.pair("contentsSourceChanged", change.hasOtherSource);
    renderer.text(labelOf(change.kind)).text(" field set ");
    if (!change.source.empty()) renderer.name(change.source).text(" ");
    renderer.name(change.name).text(": ");
    if (change.change == Change::added) {
        renderer.text("new, ").number(change.entriesAfter).text(" in it").endLine();
    } else if (change.change == Change::removed) {
        renderer.text("removed, had ").number(change.entriesBefore).endLine();
    } else {
        renderer.number(change.entriesBefore).text(" before, ").number(change.entriesAfter);
        renderer.text(" after, ").number(change.added.size()).text(" new, ");
        renderer.number(change.removed.size()).text(" removed").endLine();
    }
    if (change.hasOtherSource) {
        renderer.indent(3).text("the contents come from elsewhere").endLine();
    }
    renderEntries(renderer, "added", "new", change.added, detail);
    renderEntries(renderer, "removed", "removed", change.removed, detail);
}

void renderAttachment(RendererV2& renderer, const AttachmentChange& change) {
    const auto object = renderer.object();
    renderer.indent(3);
    renderPoint(renderer, change.place, change.point, std::nullopt);
    renderer.text(": ");
    renderNames(renderer, "before", change.before);
    renderer.text(" before, ");
    renderNames(renderer, "after", change.after);
    renderer.text(" after").endLine();
}

void renderInstalled(RendererV2& renderer, std::string_view key, const Installed& installed) {
    const auto object = renderer.object(key);
    renderer.pair("installation", wordsOf(installed.outcome).key);
    if (!installed.reason.empty()) renderer.pair("installationError", installed.reason);
    renderer.text(outcomeWords[static_cast<std::size_t>(installed.outcome)]);
    if (!installed.reason.empty()) renderer.text(" (").name(installed.reason).text(")");
}

void renderInstallation(RendererV2& renderer, const InstallationChange& change) {
    const auto object = renderer.object();
    renderer.pair("policy", change.policy);
    renderer.pair("family", matchOptionName(change.family));
    renderer.indent(3).name(change.policy).text(", ");
    renderPoint(renderer, change.place, change.point, change.target);
    renderer.text(", ").text(familyWords[static_cast<std::size_t>(change.family)]);
    renderer.text(": ");
    renderInstalled(renderer, "before", change.before);
    renderer.text(" before, ");
    renderInstalled(renderer, "after", change.after);
    renderer.text(" after").endLine();
}

// A list of changes under a heading, which a text has only when there are some.
template <class Changes, class Render>
void renderList(RendererV2& renderer, std::string_view key, std::string_view heading,
                const Changes& changes, Render render) {
    const auto list = renderer.list(key);
    if (!changes.empty() && !heading.empty()) renderer.text(heading).endLine();
    for (const auto& change : changes) render(change);
}

}  // namespace

ShowTrafficPolicyComparison::ShowTrafficPolicyComparison(DiagnosisSources before,
                                                         DiagnosisSources after,
                                                         Orb::String policyName, bool detail)
    : ShowTrafficPolicyDiagnosis(std::move(after)),
      policyName_(std::move(policyName)),
      detail_(detail),
      before_(std::move(before)) {}

void ShowTrafficPolicyComparison::renderReport(RendererV2& renderer) {
    const PolicyChanges policies = comparePolicies(before_, sources(), policyName());
    const auto fieldSets = compareFieldSets(before_, sources(), policyName());
    const PlaceChanges places = comparePlaces(before_, sources(), policyName());
    foundDifferencesIs(!policies.empty() || !fieldSets.empty() || !places.attachments.empty() ||
                       !places.installations.empty());
    renderer.pair("isDifferent", foundDifferences());
    renderList(renderer, "policies", "", policies,
               [&](const auto& entry) { renderPolicy(renderer, entry.first, entry.second); });
    renderList(renderer, "fieldSets", "", fieldSets,
               [&](const auto& change) { renderFieldSet(renderer, change, detail()); });
    renderList(renderer, "attachments", "Attachments", places.attachments,
               [&](const auto& change) { renderAttachment(renderer, change); });
    renderList(renderer, "installations", "Installation", places.installations,
               [&](const auto& change) { renderInstallation(renderer, change); });
    if (!foundDifferences()) renderer.text("No differences.").endLine();
}

}  // namespace TrafficPolicyCli
