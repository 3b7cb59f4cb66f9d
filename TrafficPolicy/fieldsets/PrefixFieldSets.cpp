// The view of prefix field sets. A large set takes long to sort, so others get the activity lock
// between pieces of it; the version being listed never changes, so the listing is of one moment.
#include <cstring>

#include "blip/Blip.h"
#include "fieldsets/FieldSetReport.h"
#include "fieldsets/Ipv4Order.h"
#include "fieldsets/SortedRuns.h"
#include "frame/Yield.h"
#include "orb/Assert.h"
#include "traffic-policy/ShowFieldSets.h"

namespace TrafficPolicyCli {

namespace {

using Wire::IpGenPrefix;

constexpr U32 ipv4ColumnWidth = 19;
constexpr U32 ipv6ColumnWidth = 45;
constexpr U32 columnGap = 2;

// What differs between the two lists of a version.
struct PrefixList {
    const Orb::HashSet2018<IpGenPrefix>& (
        Classification::FieldSetIpPrefixSubConfig::*prefixes)() const;
    std::string_view key;
    std::string_view heading;
    std::string_view sortBegins;
    std::string_view sortEnds;
    const char* yieldLabel;
};

constexpr PrefixList acceptedPrefixes{&Classification::FieldSetIpPrefixSubConfig::prefixes,
                                      "prefixes",
                                      "Prefix",
                                      "begin copy+sort prefixes ",
                                      "end copy+sort prefixes ",
                                      "sort prefixes"};
constexpr PrefixList exceptedPrefixes{&Classification::FieldSetIpPrefixSubConfig::exceptPrefixes,
                                      "exceptPrefixes",
                                      "Exception Prefixes",
                                      "begin copy+sort exceptPrefix ",
                                      "end copy+sort exceptPrefix ",
                                      "sort exceptPrefix"};

// The prefixes of a list in ascending order: IPv4 before IPv6.
class PrefixOrder {
  public:
    explicit PrefixOrder(std::size_t room) : ipv4_(room), ipv6_(room) {}

    void add(const IpGenPrefix& pfx) {
        isEmpty_ = false;
        if (pfx.family() == Wire::AddressFamily::ipv4) {
            ipv4_.add(pfx);
        } else {
            ipv6_.add(pfx);
        }
    }
    void endPiece() {
        ipv4_.endPiece();
        ipv6_.endPiece();
    }
    void sort() {
        ipv4_.sort();
        sortedIpv6_ = ipv6_.take();
    }

    bool empty() const { return isEmpty_; }
    template <class Visit>
    void forEach(const Visit& visit) const {
        ipv4_.forEach(visit);
        for (const IpGenPrefix& pfx : sortedIpv6_) visit(pfx);
    }

  private:
    FieldSets::Ipv4Order ipv4_;
    FieldSets::SortedRuns<IpGenPrefix> ipv6_;
    std::vector<IpGenPrefix> sortedIpv6_;
    bool isEmpty_ = true;
};

// The shown prefixes of a list, ascending. Gives up the activity lock after every pieceSize ones.
template <class Prefixes, class IsShown>
PrefixOrder sortedPrefixes(const Prefixes& prefixes, const PrefixList& list, U32 pieceSize,
                           const IsShown& isShown) {
    Blip::trace(list.sortBegins);
    PrefixOrder sorted(prefixes.size());
    U32 leftOfPiece = pieceSize;
    for (const IpGenPrefix& pfx : prefixes) {
        ORB_ASSERT(!pfx.isNullPrefix());
        if (isShown(pfx)) sorted.add(pfx);
        if (--leftOfPiece == 0) {
            leftOfPiece = pieceSize;
            sorted.endPiece();
            yieldActivityLock(list.yieldLabel);
            textout::checkInterrupt();
        }
    }
    sorted.sort();
    Blip::trace(list.sortEnds);
    return sorted;
}

// Both formats of one list; in text row by row, in as many columns as fit.
void renderList(textout::RendererV2& renderer, const PrefixList& list, const PrefixOrder& prefixes,
                U32 columnWidth) {
    renderer.text(list.heading).endLine();
    renderer.indent(static_cast<U32>(list.heading.size()), '-').endLine();
    const auto entries = renderer.list(list.key);
    const U32 columns = (FieldSets::lineLength + columnGap) / (columnWidth + columnGap);
    U32 column = 0;
    std::size_t padding = 0;  // up to the next column
    prefixes.forEach([&](const IpGenPrefix& pfx) {
        const auto print = [&](char* to) { return to + pfx.print(to); };
        renderer.objectInPlace("prefix", IpGenPrefix::maxPrintedSize, print);
        const auto printCell = [&](char* to) {
            if (column == columns) {
                *to++ = '\n';
                column = 0;
            } else {
                std::memset(to, ' ', padding);
                to += padding;
            }
            const std::size_t size = pfx.print(to);
            padding = columnGap + columnWidth - std::min<std::size_t>(columnWidth, size);
            ++column;
            return to + size;
        };
        renderer.inPlace(columnGap + columnWidth + IpGenPrefix::maxPrintedSize, printCell);
    });
    if (prefixes.empty()) renderer.text("None");
    renderer.endLine();
}

}  // namespace

ShowTrafficPolicyPrefixFieldSet::ShowTrafficPolicyPrefixFieldSet(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool ipv4,
    bool filter, const Wire::IpGenPrefix& filterPrefix, bool exact)
    : fsConfig_(std::move(fsConfig)),
      fieldSetName_(std::move(fieldSetName)),
      ipv4_(ipv4),
      filter_(filter),
      filterPrefix_(filterPrefix),
      exact_(exact),
      sortYieldThreshold_(25'000) {}

void ShowTrafficPolicyPrefixFieldSet::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    untilInterrupted([&] { renderFieldSets(fd, format, revision); });
}

void ShowTrafficPolicyPrefixFieldSet::renderFieldSets(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    const auto walk = [this](textout::RendererV2& renderer) {
        if (fsConfig()) {
            const auto& fieldSets =
                ipv4() ? fsConfig()->fieldSetIpPrefix() : fsConfig()->fieldSetIpv6Prefix();
            FieldSets::forEachByName(fieldSets, fieldSetName(), [&](const auto& name, auto& entry) {
                renderFieldSet(renderer, name, ipv4(), *entry);
            });
        }
        if (filter() && !foundMatches()) {
            renderer.text("No matching prefix field sets found").endLine();
        }
    };
    FieldSets::renderReport(fd, format, revision, "prefixFieldSets", walk);
}

void ShowTrafficPolicyPrefixFieldSet::renderFieldSet(
    textout::RendererV2& renderer, const Orb::String& name, bool isIpv4,
    const Classification::FieldSetIpPrefixConfig& entry) {
    SHOW_TRACE_ENTRY();
    const auto currCfg = FieldSets::versionToShow(name, entry, [&] { return skipFieldSet(entry); });
    if (!currCfg) return;
    if (foundMatches()) renderer.endLine();
    foundMatchesIs(true);

    renderer.text("Traffic policy IPv").number(isIpv4 ? 4 : 6).text(" prefix field set: ");
    renderer.name(name).endLine();
    const auto object = renderer.object(name);
    FieldSets::renderSourceJson(renderer, *currCfg);
    renderer.text("Source: ");
    FieldSets::renderSourceText(renderer, *currCfg);
    renderer.endLine().endLine();
    renderPrefixes(renderer, *currCfg, isIpv4);
}

bool ShowTrafficPolicyPrefixFieldSet::skipFieldSet(
    const Classification::FieldSetIpPrefixConfig& entry) const {
    SHOW_TRACE_ENTRY();
    if (!filter()) return false;
    if (!entry.currCfg()) return true;
    const auto& prefixes = entry.currCfg()->prefixes();
    return std::none_of(prefixes.begin(), prefixes.end(),
                        [this](const IpGenPrefix& pfx) { return matchesFilter(pfx); });
}

bool ShowTrafficPolicyPrefixFieldSet::matchesFilter(const IpGenPrefix& pfx) const {
    return exact() ? pfx == filterPrefix() : pfx.overlaps(filterPrefix());
}

void ShowTrafficPolicyPrefixFieldSet::renderPrefixes(
    textout::RendererV2& renderer, const Classification::FieldSetIpPrefixSubConfig& currCfg,
    bool isIpv4) const {
    SHOW_TRACE_ENTRY();
    const auto sorted = [&](const PrefixList& list) {
        return sortedPrefixes(
            (currCfg.*list.prefixes)(), list, sortYieldThreshold(),
            [this](const IpGenPrefix& pfx) { return !filter() || matchesFilter(pfx); });
    };
    const auto prefixes = sorted(acceptedPrefixes);
    const auto exceptPrefixes = sorted(exceptedPrefixes);
    const U32 columnWidth = isIpv4 ? ipv4ColumnWidth : ipv6ColumnWidth;
    renderList(renderer, acceptedPrefixes, prefixes, columnWidth);
    renderer.endLine();
    renderList(renderer, exceptedPrefixes, exceptPrefixes, columnWidth);
}

}  // namespace TrafficPolicyCli
