// The rules of one policy and family, as sets of field values. Whatever a rule can ask comes down
// to clauses that must all hold, each of alternatives of which one suffices, each of criteria that
// must all hold, each a set that one field's value must lie in:
//
//     sources 10.0.0.0/8          source in {10.0.0.0/8}
//     protocols 6: dport 22, 80   (protocol in {6} and fragment in {no, 0} and
//               17                 destination-port in {22, 80})  or  protocol in {17}
//
// What a rule asks beyond that, nobody knows: where its clauses hold, it may hold or not. A rule is
// compiled when it is first asked for.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>

#include "hive/FieldSets.h"
#include "hive/PolicyMapConfig.h"
#include "traffic-policy/Packet.h"

namespace TrafficPolicyCli::Diagnosis {

struct Criterion {
    Field field;
    // What is told when it fails: the field that the rule asks for, which may be another. A port
    // asks for a packet that has one.
    Field asked;
    std::shared_ptr<const ValueSet> values;
};
using Alternative = std::vector<Criterion>;
struct Clause {
    Field asked;                            // as above, for a clause without alternatives
    std::vector<Alternative> alternatives;  // none: no packet meets it
};

struct CompiledRule {
    static constexpr U32 endsAsking = ~U32{0};

    std::vector<Clause> clauses;
    bool asksOther = false;  // beyond the clauses, what is not known
    bool doesOther = false;  // what is not known; it may drop
    bool drops = false;
    bool redirects = false;
    // The place of the rule that is asked next when this one holds: endsAsking when it decides.
    U32 next = endsAsking;
};

// The sets of values of the field sets, by kind and name, each made once. A set that is not there,
// or has no version, has no values. Neither a configuration nor the sets of one may change while
// this lives.
class FieldSetValues {
  public:
    using Values = std::shared_ptr<const ValueSet>;

    explicit FieldSetValues(Orb::Ptr<const Classification::FieldSetConfig> config)
        : config_(std::move(config)) {}

    Values prefixes(const Orb::String& name, bool isIpv4);
    Values ports(const Orb::String& name);
    Values vlans(const Orb::String& name);
    // The version of a prefix set; null when there is none.
    const Classification::FieldSetIpPrefixSubConfig* prefixVersion(const Orb::String& name,
                                                                   bool isIpv4) const;

  private:
    using ByName = std::map<Orb::String, Values, std::less<>>;

    Orb::Ptr<const Classification::FieldSetConfig> config_;
    ByName ipv4_, ipv6_, ports_, vlans_;
};

class CompiledPolicy {
  public:
    // Says whether a rule counts among those that are asked.
    using Takes = std::function<bool(const Orb::String& ruleName)>;

    // The rules of the version with a match of the family that takes says yes to (null: all). The
    // version and the field sets must outlive it. A null version has no rules.
    CompiledPolicy(const PolicyMap::PolicyMapSubConfig* version, MatchOption family,
                   FieldSetValues& fieldSets, const Takes& takes = nullptr);
    ~CompiledPolicy();
    CompiledPolicy(CompiledPolicy&&) noexcept;

    // In the order of asking.
    U32 size() const { return static_cast<U32>(entries_.size()); }
    const Orb::String& name(U32 rule) const { return *entries_[rule].name; }
    const CompiledRule& rule(U32 rule) const;

  private:
    class Compiler;
    struct Entry {
        const Orb::Name* name;
        const PolicyMap::ClassMapMatch* match;
        U32 priority;
        U32 position;  // among the version's rules
        mutable std::unique_ptr<const CompiledRule> compiled;
    };
    // For each rule the addresses that its longest-match criteria of a side hold, by a selector of
    // the side and header.
    using LongestMatches = std::vector<std::shared_ptr<const ValueSet>>;

    void compileActions(CompiledRule& compiled, U32 rule) const;
    const LongestMatches& longestMatches(bool isSource, bool isInner, bool isIpv4) const;

    const PolicyMap::PolicyMapSubConfig* version_;
    MatchOption family_;
    FieldSetValues* fieldSets_;
    std::vector<Entry> entries_;
    mutable std::map<U32, LongestMatches> longestMatches_;
};

}  // namespace TrafficPolicyCli::Diagnosis
