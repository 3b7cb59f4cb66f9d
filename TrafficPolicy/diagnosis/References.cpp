// Who names a policy, a field set, a counter, a VRF or a next-hop group: the rules, under their
// policies, and where these are attached.
#include <algorithm>
#include <map>

#include "base/Text.h"
#include "diagnosis/Attachments.h"
#include "diagnosis/FieldSets.h"
#include "diagnosis/NaturalOrder.h"
#include "diagnosis/RuleWalk.h"

namespace TrafficPolicyCli {

using Diagnosis::actionOf;
using Diagnosis::Attachment;
using Diagnosis::FieldSetKind;
using Diagnosis::forEachFieldSet;
using Diagnosis::forEachRule;
using Diagnosis::Place;
using Diagnosis::Rule;
using PolicyMap::ActionType;

namespace {

struct ReferenceWords {
    std::string_view key;
    std::string_view label;
};
constexpr ReferenceWords referenceWords[] = {
    {"policy", "Traffic policy"},
    {"fieldSet", "Field set"},
    {"counter", "Counter"},
    {"vrf", "VRF"},
    {"nexthopGroup", "Next-hop group"},
};

struct Reference {
    Orb::String rule;
    std::optional<PolicyMap::ClassMapMatchOption> family;
    Orb::String as;
};

struct PolicyReferences {
    std::vector<Reference> rules;
    std::vector<const Attachment*> attachments;
};

class ReferenceSearch {
  public:
    ReferenceSearch(const DiagnosisSources& sources, ReferenceKind kind, const Orb::String& name)
        : sources_(sources),
          kind_(kind),
          name_(name),
          attachments_(Diagnosis::Attachments(sources).all()) {
        findRules();
        findPolicies();
        for (const Attachment& attachment : attachments_) {
            const auto found = policies_.find(attachment.policy);
            if (found == policies_.end() || !attachment.isConfigured) continue;
            found->second.attachments.push_back(&attachment);
        }
    }

    using ByPolicy = std::map<Orb::String, PolicyReferences, Diagnosis::NaturalLess>;
    const ByPolicy& policies() const { return policies_; }

    // The field sets that are fetched through a VRF, as kind and name.
    std::vector<std::pair<FieldSetKind, Orb::String>> fetchedSets() const {
        std::vector<std::pair<FieldSetKind, Orb::String>> found;
        if (kind_ != ReferenceKind::vrf || !sources_.fieldSetConfig) return found;
        Diagnosis::forEachKindOfRules([&](FieldSetKind kind, auto setsOf) {
            for (const auto& [name, set] : setsOf(*sources_.fieldSetConfig)) {
                const auto& version = set->currCfg();
                if (version && version->urlVrf() == name_) found.emplace_back(kind, name);
            }
        });
        std::ranges::sort(found, [](const auto& a, const auto& b) {
            return a.first != b.first ? a.first < b.first
                                      : Diagnosis::naturalOrder(a.second, b.second) < 0;
        });
        return found;
    }

  private:
    void findRules() {
        if (!sources_.config || kind_ == ReferenceKind::policy) return;
        for (const auto& [policy, config] : sources_.config->policyMapConfig()) {
            const auto& version = config->currCfg();
            if (!version) continue;
            std::vector<Reference> found;
            forEachRule(*version, [&](const Rule& rule) {
                if (kind_ == ReferenceKind::fieldSet) {
                    findFieldSet(rule, found);
                } else if (rule.actions != nullptr && !rule.actions->action().empty()) {
                    findInActions(rule, found);
                }
            });
            if (!found.empty()) policies_[policy].rules = std::move(found);
        }
    }

    // Policies that name it without a rule.
    void findPolicies() {
        for (const Attachment& attachment : attachments_) {
            const bool isNamed = kind_ == ReferenceKind::policy ? attachment.policy == name_
                                 : kind_ == ReferenceKind::vrf
                                     ? attachment.place == Place::cpu && attachment.point == name_
                                     : false;
            if (isNamed && attachment.isConfigured) policies_[attachment.policy];
        }
    }

    void findFieldSet(const Rule& rule, std::vector<Reference>& found) const {
        if (rule.config == nullptr) return;
        for (const auto& [option, match] : rule.config->match()) {
            if (!match) continue;
            const auto add = [&, family = option](FieldSetKind, std::string_view criterion,
                                                  const Orb::String& name) {
                if (name == name_) found.push_back({rule.name, family, Orb::String(criterion)});
            };
            forEachFieldSet(*match, add);
        }
    }

    void findInActions(const Rule& rule, std::vector<Reference>& found) const {
        const auto add = [&](const char* as) { found.push_back({rule.name, std::nullopt, as}); };
        if (kind_ == ReferenceKind::counter) {
            const auto* const count = actionOf<PolicyMap::CountAction>(rule, ActionType::count);
            if (count != nullptr && count->counterName() == name_) add("count");
        } else if (kind_ == ReferenceKind::nexthopGroup) {
            const auto* const redirect = actionOf<PolicyMap::RedirectNexthopGroupAction>(
                rule, ActionType::redirectNexthopGroup);
            if (redirect != nullptr && redirect->nexthopGroups().contains(name_)) {
                add("redirect to next-hop group");
            }
        } else {
            const auto* const set = actionOf<PolicyMap::SetVrfAction>(rule, ActionType::setVrf);
            if (set != nullptr && set->vrfName() == name_) add("set VRF");
            const auto* const redirect =
                actionOf<PolicyMap::RedirectNexthopAction>(rule, ActionType::redirectNexthop);
            if (redirect != nullptr && redirect->vrfName() == name_) {
                add("redirect to next hop in VRF");
            }
        }
    }

    const DiagnosisSources& sources_;
    ReferenceKind kind_;
    const Orb::String& name_;
    std::vector<Attachment> attachments_;
    ByPolicy policies_;
};

// "Attached to: a, b, ..." on lines that are filled up.
void renderAttachments(textout::RendererV2& renderer,
                       const std::vector<const Attachment*>& attachments) {
    constexpr U32 lineLength = 79;
    constexpr U32 indentation = 3;
    constexpr std::string_view label = "Attached to:";
    const auto list = renderer.list("attachments");
    renderer.indent(indentation).text(label);
    U32 column = indentation + static_cast<U32>(label.size());
    if (attachments.empty()) renderer.text(" nothing");
    for (std::size_t i = 0; i < attachments.size(); ++i) {
        const Attachment& attachment = *attachments[i];
        const std::string_view direction = directionOf(attachment.place);
        const auto object = renderer.object();
        renderer.pair("point", attachment.point);
        renderer.pair("kind", kindOf(attachment.place));
        if (!direction.empty()) renderer.pair("direction", direction);
        if (!renderer.isText()) continue;
        Orb::String text = pointText(attachment.place, attachment.point);
        if (!direction.empty()) text.append(" ").append(direction);
        if (i + 1 < attachments.size()) text += ",";
        const U32 width = Base::terminalColumns(text);
        if (column + 1 + width > lineLength) {
            renderer.endLine().indent(2 * indentation - 1);
            column = 2 * indentation - 1;
        }
        renderer.text(" ").name(text);
        column += 1 + width;
    }
    renderer.endLine();
}

void renderRules(textout::RendererV2& renderer, const std::vector<Reference>& rules) {
    const auto list = renderer.list("rules");
    for (const Reference& reference : rules) {
        const auto object = renderer.object();
        renderer.pair("rule", reference.rule);
        renderer.indent(3).text("rule ").name(reference.rule);
        if (reference.family) {
            renderer.pair("family", matchOptionName(*reference.family));
            renderer.text(" ").text(matchOptionName(*reference.family));
        }
        renderer.pair("as", reference.as);
        renderer.text(": ").text(reference.as).endLine();
    }
}

}  // namespace

ShowTrafficPolicyReferences::ShowTrafficPolicyReferences(DiagnosisSources sources,
                                                         ReferenceKind kind, Orb::String name)
    : ShowTrafficPolicyDiagnosis(std::move(sources)), kind_(kind), name_(std::move(name)) {}

void ShowTrafficPolicyReferences::renderReport(textout::RendererV2& renderer) {
    const ReferenceSearch search(sources(), kind(), name());
    const ReferenceWords& words = referenceWords[static_cast<std::size_t>(kind())];
    const auto fetched = search.fetchedSets();
    const auto object = renderer.object("references");
    renderer.pair("kind", words.key);
    renderer.pair("name", name());
    renderer.text(words.label).text(" ").name(name()).endLine();
    U64 rules = 0;
    {
        const auto list = renderer.list("policies");
        for (const auto& [policy, references] : search.policies()) {
            const auto entry = renderer.object();
            renderer.pair("policy", policy);
            if (kind() != ReferenceKind::policy) {
                renderer.text("Traffic policy ").name(policy).endLine();
            }
            renderRules(renderer, references.rules);
            renderAttachments(renderer, references.attachments);
            rules += references.rules.size();
        }
    }
    {
        const auto list = renderer.list("fieldSets");
        for (const auto& [kind, set] : fetched) {
            const auto entry = renderer.object();
            renderer.pair("kind", keyOf(kind));
            renderer.pair("name", set);
            renderer.text(labelOf(kind)).text(" field set ").name(set);
            renderer.text(": fetched through it").endLine();
        }
    }
    foundReferencesIs(!search.policies().empty() || !fetched.empty());
    if (!foundReferences()) {
        renderer.text("No references.").endLine();
    } else if (kind() != ReferenceKind::policy) {
        renderer.number(rules).text(rules == 1 ? " rule of " : " rules of ");
        const U64 policies = search.policies().size();
        renderer.number(policies).text(policies == 1 ? " policy." : " policies.").endLine();
    }
}

}  // namespace TrafficPolicyCli
