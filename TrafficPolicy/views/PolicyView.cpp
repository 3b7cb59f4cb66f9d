#include "views/PolicyView.h"

#include "counters/NamedCounterView.h"
#include "frame/Trace.h"
#include "orb/Assert.h"

namespace TrafficPolicyCli {

using textout::RendererV2;

namespace {

constexpr U32 listIndent = 3;
constexpr U32 ruleIndent = 6;

using RenderErrors = void(RendererV2& renderer, const PolicyState& record, const Side& side,
                          const FamilyLabels& family, U32 indent);

void renderInstallErrors(RendererV2& renderer, const PolicyState& record, const Side& side,
                         const FamilyLabels& family, U32 indent) {
    const PointErrors* const errors = side.errors(record, family.option);
    if (errors == nullptr) {
        SHOW_TRACE(8, "No installation errors to render");
        return;
    }
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << family.option);
    const auto list = renderer.list(family.errorsKey);
    for (const auto& [point, errorText] : *errors) {
        if (renderer.isJson()) {
            Orb::String entry = point;
            renderer.item(entry.append(" (").append(errorText).append(")"));
        }
        renderer.indent(indent).name(point).text(" (").name(errorText).text(")").endLine();
    }
}

void renderFailed(RendererV2& renderer, const PolicyState& record, const Side& side, U32 indent,
                  RenderErrors* renderErrors) {
    const PolicyState* const policyState = &record;
    ORB_ASSERT(!policyState->detail());
    for (const FamilyLabels& family : side.families) {
        const Points* const failed = side.failed(record, family.option);
        if (failed == nullptr) continue;
        renderListEntry(renderer, family.failed, family.failedKey, *failed, indent, false);
        renderErrors(renderer, record, side, family, indent + record.indentCountPerLevel());
    }
}

void renderInstalled(RendererV2& renderer, const PolicyState& record, const Side& side,
                     U32 indent) {
    if (!side.configuredLabel.empty()) {
        renderListEntry(renderer, side.configuredLabel, side.configuredKey, side.configured(record),
                        indent, record.detail());
    }
    for (const FamilyLabels& family : side.families) {
        const Points* const applied = side.applied(record, family.option);
        if (applied == nullptr) continue;
        renderListEntry(renderer, family.applied, family.appliedKey, *applied, indent,
                        record.detail());
    }
}

// renderFailedSide(side): prints a side in the errors view.
template <class RenderFailedSide>
void renderSides(RendererV2& renderer, const PolicyState& record, U32 indent,
                 const RenderFailedSide& renderFailedSide) {
    const auto renderSide = [&](const Side& side) {
        if (record.errors()) {
            renderFailedSide(side);
        } else {
            renderInstalled(renderer, record, side, indent);
        }
    };
    for (const Side* const side : record.kind().sides) {
        if (!side->isShown(record)) continue;
        if (side->objectKey.empty()) {
            renderSide(*side);
        } else {
            const auto object = renderer.object(side->objectKey);
            renderSide(*side);
        }
    }
    if (!record.errors()) renderRulesModel(renderer, record, indent);
}

void renderWarnings(RendererV2& renderer, const PolicyState& record) {
    if (record.undefinedFieldSet()) {
        renderer.text("WARNING: One or more match rules are using an undefined field-set.")
            .endLine();
    }
    if (record.undefinedCounter()) {
        renderer
            .text(
                "WARNING: One or more match rules are using an undefined named counter. Hits "
                "against these rule will not be counted until counter is defined")
            .endLine();
    }
}

// What a kind adds to the frame.
struct KindView {
    const Kind& kind;
    void (*renderModel)(RendererV2& renderer, const PolicyState& record, U32 indent);
    bool hintsInEveryView;  // at the errors view, when an installation failed
};
constexpr KindView kindViews[] = {
    {onInterfaces, renderCommonInterfaceModel, true},
    {onCpu, renderCommonModelCpu, true},
    {onVlans, renderCommonVAclModel, false},
};

void renderPolicy(RendererV2& renderer, const Orb::Ptr<const PolicyState>& record,
                  const KindView& view, const PolicyReport& report) {
    renderer.text(report.featureName).name(record->name()).endLine();
    {
        const auto policy = renderer.object(record->name());
        view.renderModel(renderer, *record, listIndent);
        if (!record->errors()) {
            renderNamedCounter(renderer, *record);
            const auto rules = renderer.list("rules");
            report.renderRules(renderer, record, ruleIndent);
        }
    }
    renderWarnings(renderer, *record);
}

bool hasFailures(const PolicyState& record) {
    for (const Side* const side : record.kind().sides) {
        if (!side->isShown(record)) continue;
        for (const FamilyLabels& family : side->families) {
            if (side->failed(record, family.option) != nullptr) return true;
        }
    }
    return false;
}

}  // namespace

void renderPolicies(RendererV2& renderer, const PolicyRecords& policies, const Kind& kind,
                    const PolicyReport& report) {
    const auto* const view =
        std::ranges::find(kindViews, &kind, [](const KindView& row) { return &row.kind; });
    renderer.text(report.note);
    bool installationFailed = false;
    {
        const auto dictionary = renderer.object(report.dictionaryKey);
        for (const auto& [name, record] : policies) {
            if (!report.policyName.empty() && name != report.policyName) continue;
            renderPolicy(renderer, record, *view, report);
            if (view->hintsInEveryView || record->errors()) {
                installationFailed = installationFailed || hasFailures(*record);
            }
        }
    }
    if (installationFailed && !report.errors) {
        renderer.text("WARNING: Policy installation failed. See \"show traffic-policy ")
            .text(kind.word)
            .text(" errors\" for details about the failures.\n");
    }
}

void renderCommonVAclModel(RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderSides(renderer, record, indent, [&](const Side& side) {
        renderFailed(renderer, record, side, indent, renderVAclInstallErrors);
    });
}

void renderCommonInterfaceModel(RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderSides(renderer, record, indent, [&](const Side& side) {
        if (&side == &interfaceOutput) return renderInterfaceOutputErrors(renderer, record, indent);
        renderFailed(renderer, record, side, indent, renderInterfaceInstallErrors);
    });
}

void renderCommonModelCpu(RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderSides(renderer, record, indent, [&](const Side& side) {
        renderFailed(renderer, record, side, indent, renderCpuInstallErrors);
    });
}

void renderInterfaceOutputErrors(RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderFailed(renderer, record, interfaceOutput, indent, renderInterfaceInstallErrors);
}

void renderVAclInstallErrors(RendererV2& renderer, const PolicyState& record, const Side& side,
                             const FamilyLabels& family, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderInstallErrors(renderer, record, side, family, indent);
}

void renderInterfaceInstallErrors(RendererV2& renderer, const PolicyState& record, const Side& side,
                                  const FamilyLabels& family, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderInstallErrors(renderer, record, side, family, indent);
}

void renderCpuInstallErrors(RendererV2& renderer, const PolicyState& record, const Side& side,
                            const FamilyLabels& family, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderInstallErrors(renderer, record, side, family, indent);
}

void renderRulesModel(RendererV2& renderer, const PolicyState& record, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderer.indent(indent)
        .text("Total number of rules configured: ")
        .number(record.ruleCount())
        .endLine();
}

void renderListEntry(RendererV2& renderer, std::string_view label, std::string_view jsonKey,
                     const Points& points, U32 indent, bool detail) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << jsonKey);
    constexpr U32 shownNames = 3;
    const auto list = renderer.list(jsonKey);
    renderer.indent(indent).text(label);
    U32 count = 0;
    for (const auto& [name, isListed] : points) {
        renderer.item(name);
        ++count;
        if (count <= shownNames || detail) {
            renderer.name(name).text(count < points.size() ? ", " : "");
        } else if (count == shownNames + 1) {
            renderer.text("...");
        }
    }
    renderer.endLine();
}

}  // namespace TrafficPolicyCli
