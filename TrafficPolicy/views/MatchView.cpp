// The outer and the inner header walk the same rows: a source and a destination, each with the four
// forms in which it can be given, of which at most one is used.
#include "views/MatchView.h"

#include "orb/Assert.h"
#include "views/FieldSetReferenceView.h"
#include "views/ListLayout.h"
#include "views/ProtocolView.h"
#include "views/VlanView.h"

namespace TrafficPolicyCli {

namespace {

using Classification::StructuredFilter;
using textout::RendererV2;
using FilterPtr = Orb::Ptr<const StructuredFilter>;
using FieldSetStatePtr = Orb::Ptr<const FieldSetState>;
using MatchPtr = Orb::Ptr<const PolicyMap::ClassMapMatch>;
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
};

bool hasSeveralForms(const StructuredFilter& filter, const PrefixForms& forms) {
    return !(filter.*forms.prefixes)().empty() + !(filter.*forms.prefixSets)().empty() +
               !(filter.*forms.lpms)().empty() + !(filter.*forms.lpmPrefixSets)().empty() >
           1;
}

// The assertion names the first of the forms that are given together. A macro, because its text
// names the filter as well.
#define ASSERT_ONE_FORM(filter)                        \
    do {                                               \
        if (hasSeveralForms(*(filter), source)) {      \
            ORB_ASSERT(!filter->sources());            \
            ORB_ASSERT(!filter->srcPrefixSets());      \
            ORB_ASSERT(!filter->sourceLpms());         \
            ORB_ASSERT(!filter->srcLpmPrefixSets());   \
        }                                              \
        if (hasSeveralForms(*(filter), destination)) { \
            ORB_ASSERT(!filter->destinations());       \
            ORB_ASSERT(!filter->dstPrefixSets());      \
            ORB_ASSERT(!filter->destinationLpms());    \
            ORB_ASSERT(!filter->dstLpmPrefixSets());   \
        }                                              \
    } while (false)

// What the renderers of one rule's criteria share.
struct View {
    RendererV2& renderer;
    const FieldSetStatePtr& fieldSetState;
    bool detail;
    U32 indent;
    MatchOption matchOption;
};

void renderPrefixSet(RendererV2& renderer, std::string_view label, const Prefixes& prefixes,
                     U32 indent) {
    SHOW_TRACE_ENTRY();
    const auto list = renderer.list(jsonNameOf(label));
    forEachAscending(prefixes, [&](const Wire::IpGenPrefix& prefix, bool isFirst) {
        char buffer[Wire::IpGenPrefix::maxPrintedSize];
        const std::string_view printed(buffer, prefix.print(buffer));
        beginItem(renderer, label, indent, isFirst);
        renderer.text(printed).endLine();
        renderer.item(printed);
    });
}

void renderPrefixSets(const View& view, std::string_view label, std::string_view jsonKey,
                      const FieldSetNames& names, bool expanded) {
    renderPrefixFieldSet(view.renderer, view.fieldSetState, view.matchOption, label, jsonKey, names,
                         view.detail, view.indent, expanded);
}

// The forms that outer and inner headers have in common.
void renderPrefixes(const View& view, const StructuredFilter& filter, const PrefixForms& forms) {
    if (const auto& prefixes = (filter.*forms.prefixes)()) {
        renderPrefixSet(view.renderer, forms.label, prefixes, view.indent);
    } else if (const auto& names = (filter.*forms.prefixSets)()) {
        renderPrefixSets(view, forms.label, forms.expandedKey, names, true);
        renderPrefixSets(view, forms.label, forms.namesKey, names, false);
    }
}

void renderLpmPrefixes(const View& view, const StructuredFilter& filter, const PrefixForms& forms) {
    if (const auto& prefixes = (filter.*forms.lpms)()) {
        renderPrefixSet(view.renderer, forms.lpmLabel, prefixes, view.indent);
    } else if (const auto& names = (filter.*forms.lpmPrefixSets)()) {
        renderPrefixSets(view, forms.lpmLabel, forms.lpmKey, names, true);
    }
}

template <class Range>
void renderRanges(const View& view, std::string_view label, const Orb::HashSet2018<Range>& ranges) {
    if (ranges.empty()) return;
    renderNumericalRange(view.renderer, label, ranges, view.indent, view.matchOption);
}

void renderFragment(const View& view, const Classification::Fragment& fragment) {
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
void renderKeyword(const View& view, bool isSet, std::string_view line, std::string_view jsonKey,
                   const Value& value) {
    if (!isSet) return;
    view.renderer.indent(view.indent).text(line).endLine();
    view.renderer.pair(jsonKey, value);
}

void renderKeywords(const View& view, const StructuredFilter& filter) {
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

// Encapsulated headers stand two blanks deeper, whatever the blanks per level. Their own address
// family says which field sets and protocol names apply.
void renderInnerMatch(RendererV2& renderer, U32 indent, U32 indentPerLevel, bool detail,
                      const FieldSetStatePtr& fieldSetState, const MatchPtr& match, U32 revision,
                      U32 format) {
    const Classification::InnerMatch& inner = *match->structuredFilter()->innerMatch();
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " af: " << static_cast<U32>(inner.af())
                                      << " encapType: " << static_cast<U32>(inner.encapType()));
    const bool isIpv4 = inner.af() == Wire::AddressFamily::ipv4;
    const bool isGtpv1 = inner.encapType() == Classification::EncapsulationType::gtpv1;
    {
        const auto object = renderer.object("encapsulation");
        if (isGtpv1) renderer.pair("encapsulationType", "gtpv1");
    }
    renderer.indent(indent).text("Encapsulation ").text(isGtpv1 ? "GTPv1" : "");
    renderer.text(" inner header ").text(isIpv4 ? "IPv4" : "IPv6").endLine();

    const auto object = renderer.object("innerMatch");
    renderer.pair("addressFamily", isIpv4 ? "ipv4" : "ipv6");
    const FilterPtr& sf = inner.structuredFilter();
    if (!sf) return;
    const View view{renderer, fieldSetState, detail, indent + 2,
                    isIpv4 ? MatchOption::ipv4 : MatchOption::ipv6};
    renderPrefixes(view, *sf, source);
    renderPrefixes(view, *sf, destination);
    if (sf->protocols()) {
        renderProtocol(renderer, fieldSetState, "Protocol", sf, true, view.indent, indentPerLevel,
                       view.matchOption, detail, revision, format);
    }
}

void assertOneForm(const FilterPtr& structuredFilter) {
    ASSERT_ONE_FORM(structuredFilter);
    if (!structuredFilter->innerMatch()) return;
    const FilterPtr& sf = structuredFilter->innerMatch()->structuredFilter();
    if (!sf) return;
    ASSERT_ONE_FORM(sf);
}

}  // namespace

void renderMatches(RendererV2& renderer, const FieldSetStatePtr& fieldSetState,
                   const Orb::Ptr<const PolicyState>& policyState, const MatchPtr& match,
                   bool detail, U32 indent, U32 revision, U32 format) {
    SHOW_TRACE(8, __PRETTY_FUNCTION__ << " " << match->name());
    const FilterPtr& structuredFilter = match->structuredFilter();
    if (!structuredFilter) {
        SHOW_TRACE(7, __PRETTY_FUNCTION__ << " structured filter not found");
        return;
    }
    assertOneForm(structuredFilter);

    const StructuredFilter& filter = *structuredFilter;
    const View view{renderer, fieldSetState, detail, indent, match->option()};
    const U32 indentPerLevel = policyState->indentCountPerLevel();
    const auto matches = renderer.object("matches");
    if (filter.vlanTags()) {
        renderVlanTag(renderer, fieldSetState, structuredFilter, indent, view.matchOption, detail);
    }
    for (const PrefixForms& forms : {source, destination}) {
        renderPrefixes(view, filter, forms);
        renderLpmPrefixes(view, filter, forms);
    }
    if (filter.protocols()) {
        renderProtocol(renderer, fieldSetState, "Protocol", structuredFilter, false, indent,
                       indentPerLevel, view.matchOption, detail, revision, format);
    }
    renderRanges(view, "IP length", filter.length());
    if (filter.fragment()) renderFragment(view, *filter.fragment());
    renderRanges(view, "DSCP", filter.dscp());
    renderRanges(view, "ECN", filter.ecn());
    renderRanges(view, "TTL", filter.ttl());
    renderKeywords(view, filter);
    if (filter.innerMatch()) {
        renderInnerMatch(renderer, indent, indentPerLevel, detail, fieldSetState, match, revision,
                         format);
    }
}

}  // namespace TrafficPolicyCli
