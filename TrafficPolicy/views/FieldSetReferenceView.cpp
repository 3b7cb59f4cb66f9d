// The kinds of field sets differ in the counts that they have, which stand in a table per kind.
#include "views/FieldSetReferenceView.h"

#include <span>

#include "views/ListLayout.h"

namespace TrafficPolicyCli {

namespace {

template <class Record>
struct Count {
    std::string_view jsonKey;
    std::string_view label;
    U64 (Record::*value)() const;
};

constexpr Count<PrefixFieldSetState> prefixCounts[] = {
    {"numPrefixes", "Prefixes: ", &PrefixFieldSetState::totalAcceptPrefixes},
    {"numExceptPrefixes", "Except prefixes: ", &PrefixFieldSetState::totalExceptPrefixes},
};
constexpr Count<L4PortFieldSetState> portCounts[] = {
    {"numPorts", "Ports: ", &L4PortFieldSetState::totalEntries},
};
constexpr Count<VlanFieldSetState> vlanCounts[] = {
    {"numVlans", "VLANs: ", &VlanFieldSetState::totalEntries},
};

template <class Record>
using FieldSets = Orb::HashMap2018<Orb::String, Orb::Ptr<Record>>;
template <class Record>
using Counts = std::span<const Count<Record>>;

// The counts of a set; null: the set is not defined.
template <class Record>
void renderCounts(textout::RendererV2& renderer, const Orb::String& name, const Record* fieldSet,
                  Counts<Record> counts, bool detail) {
    if (fieldSet == nullptr) {
        renderer.pair("undefined", true);
        renderer.text(" (field-set '").name(name).text("' has not been defined)");
        return;
    }
    for (const auto& count : counts) renderer.pair(count.jsonKey, (fieldSet->*count.value)());
    if (!detail) return;
    std::string_view before = " (";
    for (const auto& count : counts) {
        renderer.text(before).text(count.label).number((fieldSet->*count.value)());
        before = ", ";
    }
    renderer.text(")");
}

template <class Record>
void renderExpanded(textout::RendererV2& renderer, const FieldSets<Record>& fieldSets,
                    Counts<Record> counts, std::string_view label, std::string_view jsonKey,
                    const FieldSetNames& names, bool detail, U32 indent) {
    SHOW_TRACE(8, label << " --> " << jsonKey);
    const auto list = renderer.list(jsonKey);
    forEachAscending(names, [&](const Orb::String& name, bool isFirst) {
        const auto object = renderer.object();
        renderer.pair("name", name);
        beginItem(renderer, label, indent, isFirst);
        renderer.text("field-set ").name(name);
        const Orb::Ptr<Record>* const found = fieldSets.find(name);
        renderCounts(renderer, name, found == nullptr ? nullptr : found->get(), counts, detail);
        renderer.endLine();
    });
}

void renderNames(textout::RendererV2& renderer, std::string_view label, std::string_view jsonKey,
                 const FieldSetNames& names) {
    SHOW_TRACE(8, label << " --> " << jsonKey);
    if (!renderer.isJson()) return;
    const auto list = renderer.list(jsonKey);
    forEachAscending(names, [&](const Orb::String& name, bool) { renderer.item(name); });
}

}  // namespace

void renderPrefixFieldSet(textout::RendererV2& renderer,
                          const Orb::Ptr<const FieldSetState>& fieldSetState,
                          PolicyMap::ClassMapMatchOption matchOption, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool detail,
                          U32 indent, bool expanded) {
    SHOW_TRACE_ENTRY();
    if (!expanded) return renderNames(renderer, label, jsonKey, names);
    const auto& fieldSets = matchOption == PolicyMap::ClassMapMatchOption::ipv6
                                ? fieldSetState->ipv6PrefixFieldSet()
                                : fieldSetState->ipPrefixFieldSet();
    renderExpanded<PrefixFieldSetState>(renderer, fieldSets, prefixCounts, label, jsonKey, names,
                                        detail, indent);
}

void renderL4PortFieldSet(textout::RendererV2& renderer,
                          const Orb::Ptr<const FieldSetState>& fieldSetState,
                          std::string_view label, std::string_view jsonKey,
                          const FieldSetNames& names, bool detail, U32 indent, bool expanded) {
    SHOW_TRACE_ENTRY();
    if (!expanded) return renderNames(renderer, label, jsonKey, names);
    renderExpanded<L4PortFieldSetState>(renderer, fieldSetState->l4PortFieldSet(), portCounts,
                                        label, jsonKey, names, detail, indent);
}

void renderVlanFieldSet(textout::RendererV2& renderer,
                        const Orb::Ptr<const FieldSetState>& fieldSetState, std::string_view label,
                        const FieldSetNames& names, bool detail, U32 indent) {
    SHOW_TRACE_ENTRY();
    renderExpanded<VlanFieldSetState>(renderer, fieldSetState->vlanFieldSet(), vlanCounts, label,
                                      "dot1qVlanFieldSets", names, detail, indent);
}

}  // namespace TrafficPolicyCli
