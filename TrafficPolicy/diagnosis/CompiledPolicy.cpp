#include "diagnosis/CompiledPolicy.h"

#include <algorithm>
#include <array>

#include "model/IpCriteria.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

using namespace Classification;
using PolicyMap::ActionType;
using Values = FieldSetValues::Values;
using Intervals = std::vector<ValueSet::Interval>;
using Prefixes = Orb::HashSet2018<Wire::IpGenPrefix>;
using Names = Orb::HashSet2018<Orb::String>;

Values share(ValueSet values) { return std::make_shared<const ValueSet>(std::move(values)); }
Values share(Intervals intervals) { return share(ValueSet(std::move(intervals))); }

template <class Ranges>
Intervals intervalsOf(const Ranges& ranges, U32 offset = 0) {
    Intervals intervals;
    intervals.reserve(ranges.size());
    for (const NumericalRange& range : ranges) {
        intervals.push_back(ValueSet::numbers(range.low + offset, range.high + offset));
    }
    return intervals;
}

bool isOfFamily(Wire::AddressFamily family, bool isIpv4) {
    return (family == Wire::AddressFamily::ipv4) == isIpv4;
}

ValueSet addressesOf(const Prefixes& prefixes, bool isIpv4) {
    Intervals intervals;
    intervals.reserve(prefixes.size());
    for (const Wire::IpGenPrefix& prefix : prefixes) {
        if (isOfFamily(prefix.family(), isIpv4)) intervals.push_back(ValueSet::addresses(prefix));
    }
    return ValueSet(std::move(intervals));
}

// Of ranges and of the sets named; null when neither asks for anything.
template <class Ranges, class ValuesOf>
Values valuesOf(const Ranges& ranges, const Names& names, const ValuesOf& valuesOfName,
                U32 offset = 0) {
    if (ranges.empty() && names.empty()) return nullptr;
    if (ranges.empty() && names.size() == 1) return valuesOfName(*names.begin());
    Intervals all = intervalsOf(ranges, offset);
    for (const Orb::String& name : names) {
        const auto& more = valuesOfName(name)->intervals();
        all.insert(all.end(), more.begin(), more.end());
    }
    return share(std::move(all));
}

// The flags of a header that one of the groups holds for.
Values flagValues(const Orb::HashSet2018<TcpFlagAndMask>& groups) {
    Intervals intervals;
    for (U32 flags = 0; flags <= allTcpFlags; ++flags) {
        U32 all = flags;
        if ((flags & (TcpBit::ack | TcpBit::rst)) != 0) all |= TcpBit::established;
        if ((flags & TcpBit::syn) != 0 && (flags & TcpBit::ack) == 0) all |= TcpBit::initialSyn;
        for (const TcpFlagAndMask& group : groups) {
            if ((all & group.mask) != (U32{group.flag} & group.mask)) continue;
            intervals.push_back(ValueSet::numbers(flags, flags));
            break;
        }
    }
    return share(std::move(intervals));
}

// What a match asks of a source or of a destination.
struct AddressForms {
    Field field;
    bool isSource;
    const Prefixes& (StructuredFilter::*prefixes)() const;
    const Names& (StructuredFilter::*prefixSets)() const;
    const Prefixes& (StructuredFilter::*lpms)() const;
    const Names& (StructuredFilter::*lpmPrefixSets)() const;
};

constexpr AddressForms sides[] = {
    {Field::source, true, &StructuredFilter::sources, &StructuredFilter::srcPrefixSets,
     &StructuredFilter::sourceLpms, &StructuredFilter::srcLpmPrefixSets},
    {Field::destination, false, &StructuredFilter::destinations, &StructuredFilter::dstPrefixSets,
     &StructuredFilter::destinationLpms, &StructuredFilter::dstLpmPrefixSets},
};

// A prefix of a longest-match criterion, without what the exceptions of its set take out.
struct LongestMatchPrefix {
    U32 length;
    U32 rule;
    ValueSet addresses;
};

// The filter of the outer packet, or of the one inside when that is of the family; null: none.
const StructuredFilter* filterOf(const PolicyMap::ClassMapMatch& match, bool isInner, bool isIpv4) {
    const StructuredFilter* const filter = match.structuredFilter().get();
    if (!isInner) return filter;
    const InnerMatch* const inner = filter == nullptr ? nullptr : filter->innerMatch().get();
    return inner != nullptr && isOfFamily(inner->af(), isIpv4) ? inner->structuredFilter().get()
                                                               : nullptr;
}

void addPrefixes(const Prefixes& from, const ValueSet& exceptions, U32 rule, bool isIpv4,
                 std::vector<LongestMatchPrefix>& prefixes) {
    for (const Wire::IpGenPrefix& prefix : from) {
        if (!isOfFamily(prefix.family(), isIpv4)) continue;
        ValueSet addresses({ValueSet::addresses(prefix)});
        if (!exceptions.empty()) addresses = addresses.without(exceptions);
        prefixes.push_back({prefix.length(), rule, std::move(addresses)});
    }
}

}  // namespace

const FieldSetIpPrefixSubConfig* FieldSetValues::prefixVersion(const Orb::String& name,
                                                               bool isIpv4) const {
    if (!config_) return nullptr;
    const auto& sets = isIpv4 ? config_->fieldSetIpPrefix() : config_->fieldSetIpv6Prefix();
    const auto* const set = sets.find(name);
    return set == nullptr ? nullptr : (*set)->currCfg().get();
}

Values FieldSetValues::prefixes(const Orb::String& name, bool isIpv4) {
    Values& values = (isIpv4 ? ipv4_ : ipv6_)[name];
    if (values) return values;
    const FieldSetIpPrefixSubConfig* const version = prefixVersion(name, isIpv4);
    ValueSet held;
    if (version != nullptr) {
        held = addressesOf(version->prefixes(), isIpv4);
        if (version->exceptPrefixes()) {
            held = held.without(addressesOf(version->exceptPrefixes(), isIpv4));
        }
    }
    return values = share(std::move(held));
}

Values FieldSetValues::ports(const Orb::String& name) {
    Values& values = ports_[name];
    if (values) return values;
    const auto* const set = config_ ? config_->fieldSetL4Port().find(name) : nullptr;
    const auto* const version = set == nullptr ? nullptr : (*set)->currCfg().get();
    return values = share(version == nullptr ? Intervals() : intervalsOf(version->ports()));
}

// Tags are told by the VLAN id plus 1.
Values FieldSetValues::vlans(const Orb::String& name) {
    Values& values = vlans_[name];
    if (values) return values;
    const auto* const set = config_ ? config_->fieldSetVlan().find(name) : nullptr;
    const auto* const version = set == nullptr ? nullptr : (*set)->currCfg().get();
    return values = share(version == nullptr ? Intervals() : intervalsOf(version->vlans(), 1));
}

// Turns the filter of one header into clauses.
class CompiledPolicy::Compiler {
  public:
    Compiler(const CompiledPolicy& policy, U32 rule, CompiledRule& compiled)
        : policy_(policy), rule_(rule), compiled_(compiled) {}

    void header(const StructuredFilter& filter, MatchOption family, bool isInner) {
        isInner_ = isInner;
        isIpv4_ = family == MatchOption::ipv4;
        hasIp_ = isIpv4_ || family == MatchOption::ipv6;
        vlanTags(filter);
        for (const AddressForms& forms : sides) addresses(filter, forms);
        if (filter.protocols()) protocols(filter.protocols());
        forEachIpCriterion(
            [&](const auto& numeric) { ranges(numeric.field, (filter.*numeric.ranges)()); },
            [&] {
                if (filter.fragment()) fragment(*filter.fragment());
            });
        if (filter.neighborsProtocol() == NeighborsProtocol::bgp) isSet(Field::bgpNeighbor);
        if (filter.l4Protocol() == L4Protocol::bgp) bgp();
        if (filter.ipOptions()) ofIp(Field::ipOptions, share({ValueSet::numbers(1, 1)}));
        if (filter.tracked()) isSet(Field::tracked);
        if (filter.otherCriteria()) compiled_.asksOther = true;
        if (filter.innerMatch()) innerMatch(*filter.innerMatch());
    }

  private:
    Field at(Field field) const { return fieldAt(field, isInner_); }

    void clause(Field field, std::vector<Alternative> alternatives) {
        compiled_.clauses.push_back({at(field), std::move(alternatives)});
    }
    void clause(Field field, Values values) {
        clause(field, {{{at(field), at(field), std::move(values)}}});
    }
    void isSet(Field field) { clause(field, share({ValueSet::numbers(1, 1)})); }
    // Of a field that only IP packets have.
    void ofIp(Field field, Values values) {
        if (hasIp_) {
            clause(field, std::move(values));
        } else {
            clause(field, std::vector<Alternative>());
        }
    }
    template <class Range>
    void ranges(Field field, const Orb::HashSet2018<Range>& numbers) {
        if (!numbers) return;
        if (field == Field::otherCriteria) {
            compiled_.asksOther = true;
        } else {
            ofIp(field, share(intervalsOf(numbers)));
        }
    }

    // A second tag is there only behind a first one. No packet told of has a third.
    void vlanTags(const StructuredFilter& filter) {
        U32 index = 0;
        for (const Orb::Ptr<const VlanRangeSet>& tag : filter.vlanTags()) {
            const U32 level = index++;
            if (!tag) continue;
            Values values = valuesOf(
                tag->vlans(), tag->vlanFieldSets(),
                [this](const auto& name) { return policy_.fieldSets_->vlans(name); }, 1);
            if (!values) continue;
            if (level > 1) {
                clause(Field::vlan, std::vector<Alternative>());
                continue;
            }
            Alternative alternative;
            if (level == 1) {
                alternative.push_back(
                    {at(Field::vlan), at(Field::secondVlan), share({ValueSet::numbers(1, 4096)})});
            }
            const Field field = at(level == 0 ? Field::vlan : Field::secondVlan);
            alternative.push_back({field, field, std::move(values)});
            clause(Field::vlan, {std::move(alternative)});
        }
    }

    void addresses(const StructuredFilter& filter, const AddressForms& forms) {
        const Prefixes& prefixes = (filter.*forms.prefixes)();
        const Names& names = (filter.*forms.prefixSets)();
        if (prefixes) ofIp(forms.field, share(addressesOf(prefixes, isIpv4_)));
        if (names) {
            const Orb::HashSet2018<NumericalRange> none;
            ofIp(forms.field, valuesOf(none, names, [this](const auto& name) {
                     return policy_.fieldSets_->prefixes(name, isIpv4_);
                 }));
        }
        if ((filter.*forms.lpms)() || (filter.*forms.lpmPrefixSets)()) {
            if (!hasIp_) return ofIp(forms.field, nullptr);
            ofIp(forms.field, policy_.longestMatches(forms.isSource, isInner_, isIpv4_)[rule_]);
        }
    }

    // A layer-4 header is that of a protocol, and not in a later fragment.
    void needsLayer4(Alternative& alternative, Field asked, Values protocols) const {
        alternative.push_back({at(Field::protocol), at(asked), std::move(protocols)});
        alternative.push_back(
            {at(Field::fragment), at(asked), share(ValueSet(fragmentsWithLayer4()))});
    }
    static Values only(U32 number) { return share({ValueSet::numbers(number, number)}); }

    Values portValues(const Orb::HashSet2018<PortRange>& ports, const Names& names) const {
        return valuesOf(ports, names,
                        [this](const auto& name) { return policy_.fieldSets_->ports(name); });
    }

    // Protocols of which nothing more is asked are one alternative.
    void protocols(const Orb::HashMap2018<ProtocolRange, Orb::Ptr<const ProtoField>>& protocols) {
        Intervals plain;
        std::vector<Alternative> alternatives;
        for (const auto& [range, protoField] : protocols) {
            const bool asksMore = protoField && (protoField->portFields() ||
                                                 protoField->tcpFlags() || protoField->icmpTypes());
            if (asksMore) {
                protocolWith(range, *protoField, alternatives);
            } else {
                plain.push_back(ValueSet::numbers(range.low, range.high));
            }
        }
        if (!plain.empty()) {
            alternatives.push_back(
                {{at(Field::protocol), at(Field::protocol), share(std::move(plain))}});
        }
        if (!hasIp_) alternatives.clear();
        clause(Field::protocol, std::move(alternatives));
    }

    // One alternative for each port field and each group of ICMP types.
    void protocolWith(const ProtocolRange& range, const ProtoField& protoField,
                      std::vector<Alternative>& alternatives) const {
        Alternative first = {{at(Field::protocol), at(Field::protocol),
                              share({ValueSet::numbers(range.low, range.high)})}};
        if (protoField.tcpFlags()) {
            needsLayer4(first, Field::tcpFlags, only(protocolTcp));
            first.push_back(
                {at(Field::tcpFlags), at(Field::tcpFlags), flagValues(protoField.tcpFlags())});
        }
        std::vector<Alternative> withPorts;
        for (const Orb::Ptr<const PortField>& ports : protoField.portFields()) {
            withPorts.push_back(first);
            if (ports) portField(*ports, withPorts.back());
        }
        if (!protoField.portFields()) withPorts.push_back(std::move(first));
        for (const Alternative& alternative : withPorts) {
            if (!protoField.icmpTypes()) alternatives.push_back(alternative);
            for (const IcmpTypeRange& types : protoField.icmpTypes()) {
                alternatives.push_back(alternative);
                icmpTypes(types, alternatives.back());
            }
        }
    }

    void portField(const PortField& ports, Alternative& alternative) const {
        const struct {
            Field field;
            Values values;
        } rows[] = {
            {Field::sourcePort, portValues(ports.sport(), ports.sportFieldSets())},
            {Field::destinationPort, portValues(ports.dport(), ports.dportFieldSets())},
        };
        for (const auto& [field, values] : rows) {
            if (!values) continue;
            needsLayer4(alternative, field, share(ValueSet(protocolsWithPorts())));
            alternative.push_back({at(field), at(field), values});
        }
    }

    void icmpTypes(const IcmpTypeRange& types, Alternative& alternative) const {
        needsLayer4(alternative, Field::icmpType, only(isIpv4_ ? protocolIcmp : protocolIcmpv6));
        alternative.push_back({at(Field::icmpType), at(Field::icmpType),
                               share({ValueSet::numbers(types.low, types.high)})});
        if (types.codes) {
            alternative.push_back(
                {at(Field::icmpCode), at(Field::icmpCode), share(intervalsOf(types.codes))});
        }
    }

    // Offsets are told plus 1; what is not fragmented has the offset 0.
    void fragment(const Fragment& fragment) {
        if (fragment.type() == FragmentType::matchAll) {
            return ofIp(Field::fragment, share({ValueSet::numbers(1, 8192)}));
        }
        if (!fragment.offset()) return;
        Intervals intervals = intervalsOf(fragment.offset(), 1);
        for (const FragmentOffsetRange& range : fragment.offset()) {
            if (range.low == 0) intervals.push_back(ValueSet::numbers(0, 0));
        }
        ofIp(Field::fragment, share(std::move(intervals)));
    }

    void bgp() {
        std::vector<Alternative> alternatives;
        for (const Field port : {Field::sourcePort, Field::destinationPort}) {
            Alternative alternative;
            alternative.push_back({at(Field::protocol), at(Field::protocol), only(protocolTcp)});
            alternative.push_back(
                {at(Field::fragment), at(port), share(ValueSet(fragmentsWithLayer4()))});
            alternative.push_back({at(port), at(port), only(portBgp)});
            alternatives.push_back(std::move(alternative));
        }
        if (!hasIp_) alternatives.clear();
        clause(Field::protocol, std::move(alternatives));
    }

    // What is inside a tunnel is looked at once; no packet told of has a tunnel in a tunnel.
    void innerMatch(const InnerMatch& inner) {
        if (!hasIp_ || isInner_) return clause(Field::protocol, std::vector<Alternative>());
        const bool isIpv4 = inner.af() == Wire::AddressFamily::ipv4;
        Alternative tunnel;
        tunnel.push_back({Field::protocol, Field::protocol, only(protocolUdp)});
        tunnel.push_back(
            {Field::fragment, Field::destinationPort, share(ValueSet(fragmentsWithLayer4()))});
        tunnel.push_back({Field::destinationPort, Field::destinationPort, only(portGtpU)});
        tunnel.push_back({Field::innerFamily, Field::innerFamily, only(isIpv4 ? 4 : 6)});
        clause(Field::innerFamily, {std::move(tunnel)});
        if (inner.structuredFilter()) {
            header(*inner.structuredFilter(), isIpv4 ? MatchOption::ipv4 : MatchOption::ipv6, true);
        }
    }

    const CompiledPolicy& policy_;
    U32 rule_;
    CompiledRule& compiled_;
    bool isInner_ = false;
    bool isIpv4_ = false;
    bool hasIp_ = false;
};

CompiledPolicy::CompiledPolicy(const PolicyMap::PolicyMapSubConfig* version, MatchOption family,
                               FieldSetValues& fieldSets, const Takes& takes)
    : version_(version), family_(family), fieldSets_(&fieldSets) {
    if (version == nullptr) return;
    U32 position = 0;
    for (const auto& [priority, name] : version->classPriority()) {
        const U32 likely = position++;
        const auto* const classMap = version->classMap().find(name, likely);
        if (classMap == nullptr) continue;
        const auto* const match = (*classMap)->match().find(family);
        if (match == nullptr || (takes && !takes(name))) continue;
        entries_.push_back({&name, match->get(), priority, likely, nullptr});
    }
}

CompiledPolicy::~CompiledPolicy() = default;
CompiledPolicy::CompiledPolicy(CompiledPolicy&&) noexcept = default;

const CompiledRule& CompiledPolicy::rule(U32 rule) const {
    const Entry& entry = entries_[rule];
    if (entry.compiled) return *entry.compiled;
    auto compiled = std::make_unique<CompiledRule>();
    if (entry.match->structuredFilter()) {
        Compiler(*this, rule, *compiled).header(*entry.match->structuredFilter(), family_, false);
    }
    compileActions(*compiled, rule);
    entry.compiled = std::move(compiled);
    return *entry.compiled;
}

void CompiledPolicy::compileActions(CompiledRule& compiled, U32 rule) const {
    const Entry& entry = entries_[rule];
    const auto* const actionSet = version_->policyAction().find(*entry.name, entry.position);
    if (actionSet == nullptr) return;
    const auto& actions = (*actionSet)->action();
    compiled.drops = actions.contains(ActionType::drop);
    compiled.redirects = actions.contains(ActionType::redirectNexthop) ||
                         actions.contains(ActionType::redirectNexthopGroup) ||
                         actions.contains(ActionType::setAggGroup);
    compiled.doesOther = !compiled.drops && actions.contains(ActionType::other);
    const auto* const action = actions.find(ActionType::gotoMatch);
    if (action == nullptr || compiled.drops) return;
    const Orb::String& target = static_cast<const PolicyMap::GotoAction&>(**action).matchName();
    if (target.empty()) {
        compiled.next = rule + 1;
        return;
    }
    // A rule that is not asked itself says where asking goes on.
    for (const auto& [priority, name] : version_->classPriority()) {
        if (name != target) continue;
        if (priority <= entry.priority) return;
        const auto at = std::ranges::lower_bound(entries_, priority, {}, &Entry::priority);
        compiled.next = static_cast<U32>(at - entries_.begin());
        return;
    }
}

namespace {

// What each rule's prefixes hold when, from the longest on, each holds what no longer one does.
std::vector<Intervals> heldByLongest(std::vector<LongestMatchPrefix> prefixes, U32 rules) {
    std::ranges::stable_sort(prefixes, std::greater<>(), &LongestMatchPrefix::length);
    std::vector<Intervals> held(rules);
    ValueSet covered;
    for (auto at = prefixes.begin(); at != prefixes.end();) {
        Intervals ofLength;
        const U32 length = at->length;
        for (; at != prefixes.end() && at->length == length; ++at) {
            const auto mine = at->addresses.without(covered);
            held[at->rule].insert(held[at->rule].end(), mine.intervals().begin(),
                                  mine.intervals().end());
            ofLength.insert(ofLength.end(), at->addresses.intervals().begin(),
                            at->addresses.intervals().end());
        }
        covered = covered.united(ValueSet(std::move(ofLength)));
    }
    return held;
}

}  // namespace

const CompiledPolicy::LongestMatches& CompiledPolicy::longestMatches(bool isSource, bool isInner,
                                                                     bool isIpv4) const {
    const U32 key = (isSource ? 1U : 0U) + (isInner ? 2U : 0U) + (isIpv4 ? 4U : 0U);
    LongestMatches& matches = longestMatches_[key];
    if (!matches.empty()) return matches;

    const AddressForms& forms = sides[isSource ? 0 : 1];
    std::vector<LongestMatchPrefix> prefixes;
    for (U32 rule = 0; rule < size(); ++rule) {
        const StructuredFilter* const filter = filterOf(*entries_[rule].match, isInner, isIpv4);
        if (filter == nullptr) continue;
        addPrefixes((filter->*forms.lpms)(), {}, rule, isIpv4, prefixes);
        for (const Orb::String& name : (filter->*forms.lpmPrefixSets)()) {
            const auto* const version = fieldSets_->prefixVersion(name, isIpv4);
            if (version == nullptr) continue;
            addPrefixes(version->prefixes(), addressesOf(version->exceptPrefixes(), isIpv4), rule,
                        isIpv4, prefixes);
        }
    }

    std::vector<Intervals> held = heldByLongest(std::move(prefixes), size());
    for (Intervals& intervals : held) matches.push_back(share(std::move(intervals)));
    return matches;
}

}  // namespace TrafficPolicyCli::Diagnosis
