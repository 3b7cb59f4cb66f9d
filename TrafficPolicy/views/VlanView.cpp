#include "views/VlanView.h"

#include "orb/Assert.h"
#include "views/FieldSetReferenceView.h"

namespace TrafficPolicyCli {

namespace {

using Criterion = Orb::Ptr<const Classification::VlanRangeSet>;

template <class Entry>
void sortedInto(std::vector<Entry>& sorted, const Orb::HashSet2018<Entry>& set) {
    sorted.assign(set.begin(), set.end());
    std::sort(sorted.begin(), sorted.end());
}

template <class Entry>
bool isLess(const Orb::HashSet2018<Entry>& a, const Orb::HashSet2018<Entry>& b) {
    static thread_local std::vector<Entry> sortedA;
    static thread_local std::vector<Entry> sortedB;
    sortedInto(sortedA, a);
    sortedInto(sortedB, b);
    return sortedA < sortedB;
}

bool isCriterionLess(const Criterion& a, const Criterion& b) {
    if (a->vlanFieldSets().empty() != b->vlanFieldSets().empty()) return a->vlanFieldSets().empty();
    return a->vlanFieldSets().empty() ? isLess(a->vlans(), b->vlans())
                                      : isLess(a->vlanFieldSets(), b->vlanFieldSets());
}

}  // namespace

void renderVlanTag(const CriteriaView& view,
                   const Classification::StructuredFilter& structuredFilter) {
    SHOW_TRACE_ENTRY();
    constexpr std::string_view label = "802.1Q VLAN";
    const auto list = view.renderer.list("dot1qVlanTags");
    const auto renderCriterion = [&](const Criterion& criterion, bool) {
        const Classification::VlanRangeSet& range = *criterion;
        const auto object = view.renderer.object();
        if (range.vlans()) {
            ORB_ASSERT(!range.vlans() || !range.vlanFieldSets());
            renderNumericalRange(view, label, range.vlans());
        } else if (range.vlanFieldSets()) {
            renderVlanFieldSet(view, label, range.vlanFieldSets());
        }
    };
    forEachAscending(view.scratch, structuredFilter.vlanTags(), renderCriterion, isCriterionLess);
}

}  // namespace TrafficPolicyCli
