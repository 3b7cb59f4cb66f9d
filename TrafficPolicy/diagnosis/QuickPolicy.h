// A compiled policy for many packets of which nearly all fields are known. Rules are first looked
// at by the lowest and highest value that they allow in five fields; what passes is asked in full.
#pragma once

#include <array>

#include "diagnosis/Matching.h"

namespace TrafficPolicyCli::Diagnosis {

class QuickPolicy {
  public:
    // Compiles every rule. The policy must outlive it.
    explicit QuickPolicy(const CompiledPolicy& policy);

    // taken: by the rule, of which it is not known whether it drops.
    enum class Result : U8 { dropped, forwarded, taken, depends };
    // decidedBy: the rules whose actions count, unless a rule depends on what is not known.
    Result decide(const Packet& packet, std::vector<U32>& decidedBy) const;

  private:
    static constexpr std::array<Field, 5> keyFields = {Field::source, Field::destination,
                                                       Field::protocol, Field::destinationPort,
                                                       Field::sourcePort};
    struct Bounds {
        U64 low = 0;
        U64 width = ~U64{0};
    };
    using RuleBounds = std::array<Bounds, keyFields.size()>;

    class Keys;

    RuleResult ask(U32 rule, const Keys& keys, const Packet& packet) const;
    static Bounds boundsOf(const CompiledRule& rule, Field field);

    const CompiledPolicy& policy_;
    std::vector<RuleBounds> bounds_;
};

}  // namespace TrafficPolicyCli::Diagnosis
