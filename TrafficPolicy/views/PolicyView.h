// The policy view and its errors form: per policy where it is configured, applied or failed, then
// its rules. One frame and one walk over the sides serve all kinds.
#pragma once

#include "model/Side.h"
#include "textout/RendererV2.h"

namespace TrafficPolicyCli {

// What the command says of the report, beside the records.
struct PolicyReport {
    std::string_view dictionaryKey;  // of the JSON object around the policies
    std::string_view featureName;    // stands before a policy's name
    const Orb::String& policyName;   // only this policy; empty: all
    bool errors;
    std::string_view note;  // goes before the policies, in text only; may be empty
    std::function<void(textout::RendererV2&, const Orb::Ptr<const PolicyState>&, U32 indent)>
        renderRules;
};

void renderPolicies(textout::RendererV2& renderer, const PolicyRecords& policies, const Kind& kind,
                    const PolicyReport& report);

// The block of lists of one policy, at the column indent.
void renderCommonVAclModel(textout::RendererV2& renderer, const PolicyState& record, U32 indent);
void renderCommonInterfaceModel(textout::RendererV2& renderer, const PolicyState& record,
                                U32 indent);
void renderCommonModelCpu(textout::RendererV2& renderer, const PolicyState& record, U32 indent);
// The line with the number of rules; text only.
void renderRulesModel(textout::RendererV2& renderer, const PolicyState& record, U32 indent);

// The errors of one family under a failed list, "point (error text)" each; the column is that of
// the entries. A family without errors prints nothing, not even the key.
void renderVAclInstallErrors(textout::RendererV2& renderer, const PolicyState& record,
                             const Side& side, const FamilyLabels& family, U32 indent);
void renderInterfaceInstallErrors(textout::RendererV2& renderer, const PolicyState& record,
                                  const Side& side, const FamilyLabels& family, U32 indent);
void renderCpuInstallErrors(textout::RendererV2& renderer, const PolicyState& record,
                            const Side& side, const FamilyLabels& family, U32 indent);
// The failed lists of the output of interfaces, with their errors.
void renderInterfaceOutputErrors(textout::RendererV2& renderer, const PolicyState& record,
                                 U32 indent);

// Prints one list of attachment points: "label a, b, c..." and a JSON list of strings. Text shows
// at most three names, all of them in detail.
void renderListEntry(textout::RendererV2& renderer, std::string_view label,
                     std::string_view jsonKey, const Points& points, U32 indent, bool detail);

}  // namespace TrafficPolicyCli
