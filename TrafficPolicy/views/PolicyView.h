// The policy view and its errors form: per policy where it is configured, applied or failed, then
// its rules. One frame serves the three kinds; each brings its block of lists.
#pragma once

#include "frame/Trace.h"
#include "traffic-policy/ShowTrafficPolicy.h"

namespace TrafficPolicyCli {

// What one kind of attachment adds to the frame.
struct PolicyViewKind {
    // The word of the command, for the hint at the errors view: "interface", "cpu", "vlan".
    std::string_view commandWord;
    // Prints the configured and applied lists, or the failed ones in the errors view.
    void (*renderModel)(textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& record,
                        U32 indent);
    // Says whether the record asks for the hint at the errors view.
    bool (*showsFailure)(const PolicyState& record);
};

// Prints the report of all records, or of the one that the command names. The note, when not empty,
// goes before the policies, in text only.
void renderPolicies(ShowTrafficPolicyBase& show, const PolicyViewKind& kind, std::string_view note,
                    U32 fd, U32 format, U32 revision);

// The blocks of lists, at the given column.
void renderCommonVAclModel(textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& record,
                           U32 indent);
void renderCommonInterfaceModel(textout::RendererV2& renderer,
                                const Orb::Ptr<const PolicyState>& record, U32 indent);
void renderCommonModelCpu(textout::RendererV2& renderer, const Orb::Ptr<const PolicyState>& record,
                          U32 indent);
// The line with the number of rules; text only.
void renderRulesModel(textout::RendererV2& renderer, const PolicyState& record, U32 indent);

// The errors of one family under a failed list, one entry per attachment point; the column is that
// of the entries. A missing error record prints nothing, not even the key.
void renderVAclInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                             const PolicyStateVAcl& record, MatchOption option, U32 indent);
void renderInterfaceInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                                  const PolicyStateInterface& record,
                                  const InterfaceInstallError* errors, U32 indent, bool isInput);
void renderInterfaceOutputErrors(textout::RendererV2& renderer, const PolicyStateInterface& record,
                                 U32 indent);
void renderCpuInstallErrors(textout::RendererV2& renderer, std::string_view jsonKey,
                            const InstallError* errors, U32 indent);

// Prints one list of attachment points: "label a, b, c..." and a JSON list of strings. Text shows
// at most three names, all of them in detail; it is left out when printText is clear.
template <class List>
void renderListEntry(textout::RendererV2& renderer, std::string_view label,
                     std::string_view jsonKey, const List& list, U32 indent, bool detail,
                     bool printText) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << jsonKey);
    constexpr U32 shownNames = 3;
    const auto scope = renderer.list(jsonKey);
    if (printText) renderer.indent(indent).text(label);
    U32 count = 0;
    for (const auto& [name, isListed] : list) {
        renderer.item(name);
        ++count;
        if (!printText) continue;
        if (count <= shownNames || detail) {
            renderer.name(name).text(count < list.size() ? ", " : "");
        } else if (count == shownNames + 1) {
            renderer.text("...");
        }
    }
    if (printText) renderer.endLine();
}

}  // namespace TrafficPolicyCli
