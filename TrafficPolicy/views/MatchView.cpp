// The outer and the inner header walk the same rows: a source and a destination, each with the four
// forms in which it can be given, of which at most one is used.
#include "views/MatchView.h"

#include "model/IpCriteria.h"
#include "orb/Assert.h"
#include "views/FieldSetReferenceView.h"
#include "views/ProtocolView.h"
#include "views/VlanView.h"

namespace TrafficPolicyCli {

namespace {

using Classification::StructuredFilter;
using textout::RendererV2;
using FilterPtr = Orb::Ptr<const StructuredFilter>;
using MatchOption = PolicyMap::ClassMapMatchOption;
using Prefixes = Orb::HashSet2018<Wire::IpGenPrefix>;

// The forms of a source or a destination.
struct PrefixForms {
    std::string_view label;
    std::string_view expandedKey;
    std::string_view namesKey;
    std::string_view lpmLabel;
    std::string_view lpmKey;
    const Prefixes& (StructuredFilter::*prefixes)() const;
    const FieldSetNames& (StructuredFilter::*prefixSets)() const;
    const Prefixes& (StructuredFilter::*lpms)() const;
    const FieldSetNames& (StructuredFilter::*lpmPrefixSets)() const;
    std::string_view prefixesName, prefixSetsName, lpmsName,
        lpmPrefixSetsName;  // of the attributes
};

constexpr PrefixForms source = {
    "Source prefix",
    "srcExtPrefixSet",
    "srcPrefixSets",
    "Source prefix (longest prefix match)",
    "srcLpmPrefixSet",
    &StructuredFilter::sources,
    &StructuredFilter::srcPrefixSets,
    &StructuredFilter::sourceLpms,
    &StructuredFilter::srcLpmPrefixSets,
    "sources",
    "srcPrefixSets",
    "sourceLpms",
    "srcLpmPrefixSets",
};
constexpr PrefixForms destination = {
    "Destination prefix",
    "destExtPrefixSet",
    "destPrefixSets",
    "Destination prefix (longest prefix match)",
    "destLpmPrefixSet",
    &StructuredFilter::destinations,
    &StructuredFilter::dstPrefixSets,
    &StructuredFilter::destinationLpms,
    &StructuredFilter::dstLpmPrefixSets,
    "destinations",
    "dstPrefixSets",
    "destinationLpms",
    "dstLpmPrefixSets",
};

// At most one of the four forms is given. The assertion names the filter, and the first of the
// forms that are given together.
template <const PrefixForms& forms>
void assertOneForm(const StructuredFilter& filter, std::string_view filterName) {
    const std::pair<bool, std::string_view> given[] = {
        {!(filter.*forms.prefixes)().empty(), forms.prefixesName},
        {!(filter.*forms.prefixSets)().empty(), forms.prefixSetsName},
        {!(filter.*forms.lpms)().empty(), forms.lpmsName},
        {!(filter.*forms.lpmPrefixSets)().empty(), forms.lpmPrefixSetsName}};
    const auto isGiven = [](const auto& form) { return form.first; };
    if (std::ranges::count_if(given, isGiven) <= 1) return;
    Orb::String expression = "!";
    expression.append(filterName).append("->");
    expression.append(std::ranges::find_if(given, isGiven)->second).append("()");
    Orb::assertionFailed(expression.c_str(), __FILE__, __LINE__);
}

void renderPrefixSet(const CriteriaView& view, std::string_view label, const Prefixes& prefixes) {
    SHOW_TRACE_ENTRY();
    const auto list = view.renderer.list(jsonNameOf(label));
    forEachAscending(view.scratch, prefixes, [&](const Wire::IpGenPrefix& prefix, bool isFirst) {
        char buffer[Wire::IpGenPrefix::maxPrintedSize];
        const std::string_view printed(buffer, prefix.print(buffer));
        beginItem(view, label, isFirst);
        view.renderer.text(printed).endLine();
        view.renderer.item(printed);
    });
}

// The forms that outer and inner headers have in common.
void renderPrefixes(const CriteriaView& view, const StructuredFilter& filter,
                    const PrefixForms& forms) {
    if (const auto& prefixes = (filter.*forms.prefixes)()) {
        renderPrefixSet(view, forms.label, prefixes);
    } else if (const auto& names = (filter.*forms.prefixSets)()) {
        renderPrefixFieldSet(view, forms.label, forms.expandedKey, names, true);
        renderPrefixFieldSet(view, forms.label, forms.namesKey, names, false);
    }
}

void renderLpmPrefixes(const CriteriaView& view, const StructuredFilter& filter,
                       const PrefixForms& forms) {
    if (const auto& prefixes = (filter.*forms.lpms)()) {
        renderPrefixSet(view, forms.lpmLabel, prefixes);
    } else if (const auto& names = (filter.*forms.lpmPrefixSets)()) {
        renderPrefixFieldSet(view, forms.lpmLabel, forms.lpmKey, names, true);
    }
}

template <class Range>
void renderRanges(const CriteriaView& view, std::string_view label,
                  const Orb::HashSet2018<Range>& ranges) {
    if (ranges.empty()) return;
    renderNumericalRange(view, label, ranges);
}

void renderFragment(const CriteriaView& view, const Classification::Fragment& fragment) {
    if (fragment.type() == Classification::FragmentType::matchAll) {
        const auto object = view.renderer.object("fragment");
        view.renderer.indent(view.indent).text("Fragment: all").endLine();
        view.renderer.pair("matchAllFragments", true);
    } else if (fragment.type() == Classification::FragmentType::matchOffset && fragment.offset()) {
        const auto object = view.renderer.object("fragment");
        renderRanges(view, "Fragment: offset", fragment.offset());
    }
}

template <class Value>
void renderKeyword(const CriteriaView& view, bool isSet, std::string_view line,
                   std::string_view jsonKey, const Value& value) {
    if (!isSet) return;
    view.renderer.indent(view.indent).text(line).endLine();
    view.renderer.pair(jsonKey, value);
}

void renderKeywords(const CriteriaView& view, const StructuredFilter& filter) {
    using Classification::L4Protocol;
    using Classification::NeighborsProtocol;
    constexpr std::string_view bgp = "bgp";
    renderKeyword(view, filter.neighborsProtocol() == NeighborsProtocol::bgp,
                  "protocol neighbors bgp", "neighborProtocol", bgp);
    renderKeyword(view, filter.l4Protocol() == L4Protocol::bgp, "protocol bgp", "matchL4Protocol",
                  bgp);
    renderKeyword(view, filter.ipOptions(), "IP options: all", "matchIpOptions", true);
    renderKeyword(view, filter.tracked(), "Tracked: true", "matchTracked", true);
}

// What is asked beyond the criteria above, as it was written.
void renderOtherCriteria(const CriteriaView& view, const StructuredFilter& filter) {
    if (filter.otherCriteria().empty()) return;
    const auto list = view.renderer.list("otherCriteria");
    forEachAscending(view.scratch, filter.otherCriteria(),
                     [&](const Orb::String& text, bool isFirst) {
                         beginItem(view, "Other", isFirst);
                         view.renderer.name(text).endLine();
                         view.renderer.item(text);
                     });
}

// Encapsulated headers stand two blanks deeper, whatever the blanks per level. Their own address
// family says which field sets and protocol names apply.
void renderInnerMatch(const CriteriaView& outer, const Classification::InnerMatch& inner) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " af: " << static_cast<U32>(inner.af())
                                      << " encapType: " << static_cast<U32>(inner.encapType()));
    RendererV2& renderer = outer.renderer;
    const bool isIpv4 = inner.af() == Wire::AddressFamily::ipv4;
    const bool isGtpv1 = inner.encapType() == Classification::EncapsulationType::gtpv1;
    {
        const auto object = renderer.object("encapsulation");
        if (isGtpv1) renderer.pair("encapsulationType", "gtpv1");
    }
    renderer.indent(outer.indent).text("Encapsulation ").text(isGtpv1 ? "GTPv1" : "");
    renderer.text(" inner header ").text(isIpv4 ? "IPv4" : "IPv6").endLine();

    const auto object = renderer.object("innerMatch");
    renderer.pair("addressFamily", isIpv4 ? "ipv4" : "ipv6");
    const FilterPtr& sf = inner.structuredFilter();
    if (!sf) return;
    CriteriaView view = outer.deeperBy(2);
    view.matchOption = isIpv4 ? MatchOption::ipv4 : MatchOption::ipv6;
    renderPrefixes(view, *sf, source);
    renderPrefixes(view, *sf, destination);
    if (sf->protocols()) renderProtocol(view, *sf, true);
    renderOtherCriteria(view, *sf);
}

void assertOneForm(const StructuredFilter* filter, std::string_view filterName) {
    if (filter == nullptr) return;
    assertOneForm<source>(*filter, filterName);
    assertOneForm<destination>(*filter, filterName);
}

}  // namespace

void renderMatches(const CriteriaView& view, const PolicyMap::ClassMapMatch& match) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << match.name());
    const FilterPtr& structuredFilter = match.structuredFilter();
    if (!structuredFilter) {
        SHOW_TRACE(7, __PRETTY_FUNCTION__ << " structured filter not found");
        return;
    }
    const StructuredFilter& filter = *structuredFilter;
    assertOneForm(&filter, "structuredFilter");
    if (filter.innerMatch()) assertOneForm(filter.innerMatch()->structuredFilter().get(), "sf");
    const auto matches = view.renderer.object("matches");
    if (filter.vlanTags()) renderVlanTag(view, filter);
    for (const PrefixForms* const forms : {&source, &destination}) {
        renderPrefixes(view, filter, *forms);
        renderLpmPrefixes(view, filter, *forms);
    }
    if (filter.protocols()) renderProtocol(view, filter, false);
    forEachIpCriterion(
        [&](const auto& numeric) { renderRanges(view, numeric.label, (filter.*numeric.ranges)()); },
        [&] {
            if (filter.fragment()) renderFragment(view, *filter.fragment());
        });
    renderKeywords(view, filter);
    renderOtherCriteria(view, filter);
    if (filter.innerMatch()) renderInnerMatch(view, *filter.innerMatch());
}

}  // namespace TrafficPolicyCli
