// The views of port and VLAN field sets: one code, with a row for what differs between the two.
#include <array>
#include <charconv>

#include "fieldsets/FieldSetReport.h"
#include "traffic-policy/ShowFieldSets.h"

namespace TrafficPolicyCli {

namespace {

struct Words {
    std::string_view dictionaryKey;
    std::string_view heading;
    std::string_view listKey;
    std::string_view noMatch;
};

template <class Show>
struct RangeKind;

template <>
struct RangeKind<ShowTrafficPolicyL4PortFieldSet> {
    using Entry = Classification::FieldSetL4PortConfig;
    using Version = Classification::FieldSetL4PortSubConfig;
    using Range = Classification::PortRange;
    static constexpr Words words{"l4PortFieldSets", "field-set l4-port ", "ports",
                                 "No matching L4 port field sets found"};
    static const auto& fieldSets(const Classification::FieldSetConfig& config) {
        return config.fieldSetL4Port();
    }
    static const auto& ranges(const Version& version) { return version.ports(); }
    static Range filterRange(const ShowTrafficPolicyL4PortFieldSet& show) {
        return show.filterPorts();
    }
};

template <>
struct RangeKind<ShowTrafficPolicyVlanFieldSet> {
    using Entry = Classification::FieldSetVlanConfig;
    using Version = Classification::FieldSetVlanSubConfig;
    using Range = Classification::VlanRange;
    static constexpr Words words{"vlanFieldSets", "field-set vlan ", "vlans",
                                 "No matching VLAN field sets found"};
    static const auto& fieldSets(const Classification::FieldSetConfig& config) {
        return config.fieldSetVlan();
    }
    static const auto& ranges(const Version& version) { return version.vlans(); }
    static Range filterRange(const ShowTrafficPolicyVlanFieldSet& show) {
        return show.filterVlans();
    }
};

// "low-high", or the number alone when the bounds are equal.
class RangeText {
  public:
    explicit RangeText(const Classification::NumericalRange& range) {
        end_ = std::to_chars(buffer_.data(), end_, range.low).ptr;
        if (range.low == range.high) return;
        *end_++ = '-';
        end_ = std::to_chars(end_, buffer_.data() + buffer_.size(), range.high).ptr;
    }
    std::string_view view() const { return {buffer_.data(), end_}; }

  private:
    std::array<char, 24> buffer_{};
    char* end_ = buffer_.data() + buffer_.size();
};

template <class Show>
class RangeFieldSetView {
  public:
    explicit RangeFieldSetView(Show& show) : show_(show) {}

    void renderFieldSets(U32 fd, U32 format, U32 revision) {
        SHOW_TRACE_ENTRY();
        const auto walk = [this](textout::RendererV2& renderer) {
            if (show_.fsConfig()) {
                FieldSets::forEachByName(
                    ThisKind::fieldSets(*show_.fsConfig()), show_.fieldSetName(),
                    [&](const auto& name, auto& entry) { renderFieldSet(renderer, name, *entry); });
            }
            if (show_.filter() && !show_.foundMatches()) {
                renderer.text(words.noMatch).endLine();
            }
        };
        FieldSets::renderReport(fd, format, revision, words.dictionaryKey, walk);
    }

  private:
    using ThisKind = RangeKind<Show>;
    using Entry = typename ThisKind::Entry;
    using Version = typename ThisKind::Version;
    using Range = typename ThisKind::Range;
    static constexpr Words words = ThisKind::words;

    void renderFieldSet(textout::RendererV2& renderer, const Orb::String& name,
                        const Entry& entry) {
        SHOW_TRACE_ENTRY();
        const auto currCfg =
            FieldSets::versionToShow(name, entry, [&] { return skipFieldSet(entry); });
        if (!currCfg) return;
        if (show_.foundMatches()) renderer.endLine();
        show_.foundMatchesIs(true);

        renderer.text(words.heading).name(name).endLine();
        const auto object = renderer.object(name);
        FieldSets::renderSourceJson(renderer, *currCfg);
        if (currCfg->contentsSource() != Classification::ContentsSource::configured) {
            renderer.indent(FieldSets::indentation).text("source ");
            FieldSets::renderSourceText(renderer, *currCfg);
            renderer.endLine();
        }
        renderPorts(renderer, *currCfg, FieldSets::indentation);
    }

    // A set is left out unless a single range contains the whole filter range.
    bool skipFieldSet(const Entry& entry) const {
        SHOW_TRACE_ENTRY();
        if (!show_.filter()) return false;
        if (!entry.currCfg()) return true;
        const Range wanted = ThisKind::filterRange(show_);
        const auto& ranges = ThisKind::ranges(*entry.currCfg());
        return std::none_of(ranges.begin(), ranges.end(), [&](const Range& range) {
            return range.low <= wanted.low && range.high >= wanted.high;
        });
    }

    // The ports, or the VLANs; in text on lines that are filled up, a wrapped one ending with its
    // comma.
    void renderPorts(textout::RendererV2& renderer, const Version& currCfg, U32 indent) const {
        SHOW_TRACE_ENTRY();
        const auto& unsorted = ThisKind::ranges(currCfg);
        std::vector<Range> ranges(unsorted.begin(), unsorted.end());
        std::sort(ranges.begin(), ranges.end());
        const auto entries = renderer.list(words.listKey);
        std::size_t column = 0;  // where the line ends; 0: no line is begun
        for (std::size_t i = 0; i < ranges.size(); ++i) {
            {
                const auto entry = renderer.object();
                renderer.pair("low", ranges[i].low);
                renderer.pair("high", ranges[i].high);
            }
            const RangeText text(ranges[i]);
            const std::string_view comma = i + 1 < ranges.size() ? "," : "";
            const std::size_t size = text.view().size() + comma.size();
            if (column > 0 && column + 1 + size > FieldSets::lineLength) {
                renderer.endLine();
                column = 0;
            }
            const U32 blanks = column == 0 ? indent : 1;
            renderer.indent(blanks).text(text.view()).text(comma);
            column += blanks + size;
        }
        if (!ranges.empty()) renderer.endLine();
    }

    Show& show_;
};

template <class Show>
void renderView(Show& show, U32 fd, U32 format, U32 revision) {
    untilInterrupted([&] { RangeFieldSetView<Show>(show).renderFieldSets(fd, format, revision); });
}

}  // namespace

ShowTrafficPolicyL4PortFieldSet::ShowTrafficPolicyL4PortFieldSet(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool filter,
    Classification::PortRange filterPorts)
    : fsConfig_(std::move(fsConfig)),
      fieldSetName_(std::move(fieldSetName)),
      filter_(filter),
      filterPorts_(filterPorts) {}

void ShowTrafficPolicyL4PortFieldSet::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    renderView(*this, fd, format, revision);
}

ShowTrafficPolicyVlanFieldSet::ShowTrafficPolicyVlanFieldSet(
    Orb::Ptr<const Classification::FieldSetConfig> fsConfig, Orb::String fieldSetName, bool filter,
    Classification::VlanRange filterVlans)
    : fsConfig_(std::move(fsConfig)),
      fieldSetName_(std::move(fieldSetName)),
      filter_(filter),
      filterVlans_(filterVlans) {}

void ShowTrafficPolicyVlanFieldSet::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    renderView(*this, fd, format, revision);
}

}  // namespace TrafficPolicyCli
