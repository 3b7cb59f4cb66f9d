// What a packet meets at a point, in each of the truths there: as configured, in hardware, and on
// the CPU in the kernel. A truth is a policy with the rules that count in it; truths with the same
// rules share one compiled policy.
#pragma once

#include <memory>

#include "diagnosis/Attachments.h"
#include "diagnosis/Matching.h"
#include "traffic-policy/ShowPacket.h"

namespace TrafficPolicyCli::Diagnosis {

struct Truth {
    Truth(std::string_view jsonKey, std::string_view words) : key(jsonKey), label(words) {}

    std::string_view key;    // of the JSON: "configured", "hardware", "software"
    std::string_view label;  // "as configured", "in hardware", "in the kernel"
    Installed installed;     // not of the configured one
    // Null: nothing filters here.
    std::shared_ptr<const CompiledPolicy> policy;
    // Rules that are installed, and of which the configuration does not say what they match.
    std::vector<Orb::String> unknownRules;
    const PolicyMap::PolicyMapStatus* status = nullptr;  // null: of the configured one

    bool hasRule(const Orb::String& name, MatchOption family) const;
};

struct PolicyAtPoint {
    Attachment attachment;  // without a policy where the point has none
    std::vector<Truth> truths;
};

class PointQuestion {
  public:
    // REQUIRES: the sources stay as they are, and outlive the object.
    PointQuestion(const DiagnosisSources& sources, const AskedPoint& point, MatchOption family);

    // At least one: what is configured first, then what is left over in hardware.
    const std::vector<PolicyAtPoint>& policies() const { return policies_; }

  private:
    void addConfigured(PolicyAtPoint& at, MatchOption family);
    void addTruths(PolicyAtPoint& at, MatchOption family);
    Truth installedTruth(const PolicyAtPoint& at, MatchOption family, Target target);

    Attachments attachments_;
    FieldSetValues fieldSets_;
    std::vector<PolicyAtPoint> policies_;
};

// How asking ended in one truth, by names: what is told, and compared between truths.
struct NamedEnding {
    Verdict verdict = Verdict::forwarded;
    bool redirects = false;
    std::vector<Orb::String> decidedBy{};
    FieldMask hangsOn{};

    bool isSameAs(const NamedEnding& other) const {
        return verdict == other.verdict && decidedBy == other.decidedBy;
    }
};

struct TruthAnswer {
    PolicyAnswer answer{};
    std::vector<NamedEnding> endings{};  // empty: nothing filters here
    // The rules that were asked, when they are all that counts: the same ones answer the same.
    const CompiledPolicy* rules = nullptr;

    bool isFiltered() const { return !endings.empty(); }
    bool isDecided() const { return answer.isComplete && endings.size() == 1; }
    // The rules whose actions count, whatever is unknown; null: that hangs on it.
    const std::vector<Orb::String>* decidedBy() const;
    // The verdict, even where it is open which rule decides.
    Verdict sureVerdict() const;
    Verdict verdict() const {
        if (!isFiltered()) return Verdict::notFiltered;
        return isDecided() ? endings.front().verdict : Verdict::undecided;
    }
    // Says whether the packet meets the same in both: nothing that filters is as good as no rule
    // that takes it.
    bool agreesWith(const TruthAnswer& other) const;
};

// Says whether a truth has the rules of the first one, and so the same answers.
bool sharesAnswers(const std::vector<Truth>& truths, std::size_t truth);
TruthAnswer askTruth(const Truth& truth, const Packet& packet);

// What the policies at a point do together in one truth: each is asked, and one that drops drops.
class Together {
  public:
    void add(const Orb::String& policy, const TruthAnswer& answer);

    Verdict verdict() const { return verdict_; }
    // Of a packet that is dropped the first policy that does; else empty.
    const Orb::String& droppedBy() const { return droppedBy_; }

  private:
    Verdict verdict_ = Verdict::notFiltered;
    Orb::String droppedBy_;
};

}  // namespace TrafficPolicyCli::Diagnosis
