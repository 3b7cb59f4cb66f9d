// Asks the rules of a policy about a packet. Logic has three values: what hangs on a field that is
// not known is neither yes nor no. A policy's answer follows every way that the packet could take:
//
//     protocol unknown       rule 1: protocol 6, drop        rule 2: any, count
//     [all protocols]    ->  [6] dropped by 1; [not 6]   ->  [not 6] counted by 2, forwarded
//
// A way is what the unknown fields are narrowed to on it. A rule that depends splits a way into
// those on which it holds and those on which it does not, so that what an earlier rule has taken
// never reaches a later one.
#pragma once

#include "diagnosis/CompiledPolicy.h"

namespace TrafficPolicyCli::Diagnosis {

enum class RuleResult : U8 { match, noMatch, depends };
enum class Verdict : U8 { dropped, forwarded, undecided, notFiltered };

// What a rule says of a packet by itself, whatever the rules before it took.
struct RuleAnswer {
    U32 rule = 0;
    RuleResult result = RuleResult::match;
    Field criterion = Field::source;  // noMatch: the first that failed
    FieldMask dependsOn;              // depends: the fields that would settle it
};

// One way in which asking can end.
struct Ending {
    Verdict verdict = Verdict::forwarded;  // dropped or forwarded
    bool redirects = false;
    std::vector<U32> decidedBy;  // the rules whose actions count, in order; empty: none
    FieldMask hangsOn;           // what is unknown and decides whether this is the ending
};

struct PolicyAnswer {
    // The rules that were asked, in order, up to the one that decides on every way.
    std::vector<RuleAnswer> rules;
    // At least one, all different; one: the packet is decided.
    std::vector<Ending> endings;
    // Clear: there were too many ways to follow one by one. Every ending is listed all the same,
    // but some of them may be impossible.
    bool isExact = true;
    // Clear: there are more endings than are listed.
    bool isComplete = true;

    bool isDecided() const { return isComplete && endings.size() == 1; }
    Verdict verdict() const { return isDecided() ? endings.front().verdict : Verdict::undecided; }
};

// How far ways are followed one by one, and how many endings are listed.
struct MatchingLimits {
    U32 steps = 100'000;
    U32 ways = 250;
    U32 endings = 1'000;
};

// What one rule says. REQUIRES: packet.settle() found nothing, and the rule is of its family.
RuleAnswer askRule(const CompiledPolicy& policy, U32 rule, const Packet& packet);

// The same of a compiled rule, criterion by criterion: where fields are unknown it may say that the
// rule depends though it always, or never, holds.
RuleResult askCompiled(const CompiledRule& rule, const Packet& packet);

// What the whole policy says.
PolicyAnswer askPolicy(const CompiledPolicy& policy, const Packet& packet,
                       const MatchingLimits& limits = {});

}  // namespace TrafficPolicyCli::Diagnosis
