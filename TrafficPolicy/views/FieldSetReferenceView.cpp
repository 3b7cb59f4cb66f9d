// The kinds of field sets differ in the counts that they have, which stand in a table per kind.
#include "views/FieldSetReferenceView.h"

#include <span>

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
void renderExpanded(const CriteriaView& view, const FieldSets<Record>& fieldSets,
                    Counts<Record> counts, std::string_view label, std::string_view jsonKey,
                    const FieldSetNames& names) {
    SHOW_TRACE(8, label << " --> " << jsonKey);
    const auto list = view.renderer.list(jsonKey);
    forEachAscending(view.scratch, names, [&](const Orb::String& name, bool isFirst) {
        const auto object = view.renderer.object();
        view.renderer.pair("name", name);
        beginItem(view, label, isFirst);
        view.renderer.text("field-set ").name(name);
        const Orb::Ptr<Record>* const found = fieldSets.find(name);
        renderCounts(view.renderer, name, found == nullptr ? nullptr : found->get(), counts,
                     view.detail);
        view.renderer.endLine();
    });
}

void renderNames(const CriteriaView& view, std::string_view label, std::string_view jsonKey,
                 const FieldSetNames& names) {
    SHOW_TRACE(8, label << " --> " << jsonKey);
    if (!view.renderer.isJson()) return;
    const auto list = view.renderer.list(jsonKey);
    forEachAscending(view.scratch, names,
                     [&](const Orb::String& name, bool) { view.renderer.item(name); });
}

}  // namespace

void renderPrefixFieldSet(const CriteriaView& view, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool expanded) {
    SHOW_TRACE_ENTRY();
    if (!expanded) return renderNames(view, label, jsonKey, names);
    const auto& fieldSets = view.matchOption == PolicyMap::ClassMapMatchOption::ipv6
                                ? view.fieldSets.ipv6PrefixFieldSet()
                                : view.fieldSets.ipPrefixFieldSet();
    renderExpanded<PrefixFieldSetState>(view, fieldSets, prefixCounts, label, jsonKey, names);
}

void renderL4PortFieldSet(const CriteriaView& view, std::string_view label,
                          std::string_view jsonKey, const FieldSetNames& names, bool expanded) {
    SHOW_TRACE_ENTRY();
    if (!expanded) return renderNames(view, label, jsonKey, names);
    renderExpanded<L4PortFieldSetState>(view, view.fieldSets.l4PortFieldSet(), portCounts, label,
                                        jsonKey, names);
}

void renderVlanFieldSet(const CriteriaView& view, std::string_view label,
                        const FieldSetNames& names) {
    SHOW_TRACE_ENTRY();
    renderExpanded<VlanFieldSetState>(view, view.fieldSets.vlanFieldSet(), vlanCounts, label,
                                      "dot1qVlanFieldSets", names);
}

}  // namespace TrafficPolicyCli
