#include "diagnosis/PointQuestion.h"

#include <algorithm>

namespace TrafficPolicyCli::Diagnosis {

namespace {

Place placeOf(AskedPoint::Kind kind) {
    switch (kind) {
        case AskedPoint::Kind::output:
            return Place::output;
        case AskedPoint::Kind::cpu:
            return Place::cpu;
        case AskedPoint::Kind::vlan:
            return Place::vlan;
        case AskedPoint::Kind::input:
        case AskedPoint::Kind::policy:
            break;
    }
    return Place::input;
}

}  // namespace

bool Truth::hasRule(const Orb::String& name, MatchOption family) const {
    if (status == nullptr) return true;
    const auto* const rule = status->classMapStatus(name);
    return rule != nullptr && rule->match().contains(family);
}

PointQuestion::PointQuestion(const DiagnosisSources& sources, const AskedPoint& point,
                             MatchOption family)
    : attachments_(sources), fieldSets_(sources.fieldSetConfig) {
    const Place place = placeOf(point.kind);
    if (point.kind == AskedPoint::Kind::policy) {
        Attachment attachment;
        attachment.policy = point.name;
        attachment.isConfigured = true;
        policies_.push_back({std::move(attachment), {}});
        addConfigured(policies_.back(), family);
        return;
    }
    for (Attachment& attachment : attachments_.at(place, point.name)) {
        policies_.push_back({std::move(attachment), {}});
    }
    if (policies_.empty()) {
        Attachment nothing;
        nothing.place = place;
        nothing.point = point.name;
        policies_.push_back({std::move(nothing), {}});
    }
    for (PolicyAtPoint& at : policies_) addTruths(at, family);
}

void PointQuestion::addConfigured(PolicyAtPoint& at, MatchOption family) {
    const auto* const version =
        at.attachment.isConfigured ? attachments_.versionOf(at.attachment.policy) : nullptr;
    Truth truth("configured", "as configured");
    truth.policy = std::make_shared<const CompiledPolicy>(version, family, fieldSets_);
    at.truths.push_back(std::move(truth));
}

void PointQuestion::addTruths(PolicyAtPoint& at, MatchOption family) {
    addConfigured(at, family);
    for (const Target target : attachments_.targetsAt(at.attachment.place)) {
        at.truths.push_back(installedTruth(at, family, target));
    }
}

namespace {

// All rules of the version, which are those that are configured at the point if it is.
std::shared_ptr<const CompiledPolicy> allRules(const PolicyAtPoint& at,
                                               const PolicyMap::PolicyMapSubConfig* version,
                                               MatchOption family, FieldSetValues& fieldSets) {
    if (at.attachment.isConfigured) return at.truths.front().policy;
    return std::make_shared<const CompiledPolicy>(version, family, fieldSets);
}

// Of the rules that are installed those that the version does not have, in order.
std::vector<Orb::String> unknownRules(const PolicyMap::PolicyMapStatus& status,
                                      const PolicyMap::PolicyMapSubConfig* version,
                                      MatchOption family) {
    std::vector<Orb::String> unknown;
    for (const auto& [name, rule] : status.classMapStatus()) {
        if (!rule || !rule->match().contains(family)) continue;
        const auto* const configured =
            version == nullptr ? nullptr : version->classMap().find(name);
        if (configured == nullptr || !(*configured)->match().contains(family)) {
            unknown.push_back(name);
        }
    }
    std::ranges::sort(unknown);
    return unknown;
}

}  // namespace

Truth PointQuestion::installedTruth(const PolicyAtPoint& at, MatchOption family, Target target) {
    const Attachment& attachment = at.attachment;
    const bool isKernel = target == Target::kernel;
    Truth truth(isKernel ? "software" : "hardware", isKernel ? "in the kernel" : "in hardware");
    if (attachment.policy.empty()) return truth;
    truth.installed = attachments_.installed(attachment, family, target);
    truth.status = attachments_.statusOf(attachment.place, target, attachment.policy);
    const Outcome outcome = truth.installed.outcome;
    const bool isThere = outcome == Outcome::applied || outcome == Outcome::notConfigured;
    if (!isThere || truth.status == nullptr) return truth;

    const auto* const version = attachments_.versionOf(attachment.policy);
    if (isKernel && truth.status->classMapStatus().empty()) {
        // The kernel need not tell its rules: they are the configured ones. Of a policy that is not
        // configured any more the hardware may know them.
        const auto* const inHardware =
            attachments_.statusOf(attachment.place, Target::hardware, attachment.policy);
        truth.status = version == nullptr ? inHardware : nullptr;
        if (truth.status == nullptr) {
            truth.policy = allRules(at, version, family, fieldSets_);
            return truth;
        }
    }
    truth.unknownRules = unknownRules(*truth.status, version, family);
    const auto takes = [&](const Orb::String& name) { return truth.hasRule(name, family); };
    auto taken = std::make_shared<const CompiledPolicy>(version, family, fieldSets_, takes);
    const auto& configured = at.truths.front().policy;
    // All rules that are configured: the answer is the same.
    const bool isSame = attachment.isConfigured && taken->size() == configured->size();
    truth.policy = isSame ? configured : taken;
    return truth;
}

bool sharesAnswers(const std::vector<Truth>& truths, std::size_t truth) {
    return truth > 0 && truths[truth].policy && truths[truth].policy == truths.front().policy &&
           truths[truth].unknownRules.empty();
}

TruthAnswer askTruth(const Truth& truth, const Packet& packet) {
    TruthAnswer result;
    if (!truth.policy) return result;
    result.answer = askPolicy(*truth.policy, packet);
    if (truth.unknownRules.empty()) result.rules = truth.policy.get();
    for (const Ending& ending : result.answer.endings) {
        NamedEnding named{ending.verdict, ending.redirects, {}, ending.hangsOn};
        for (const U32 rule : ending.decidedBy) named.decidedBy.push_back(truth.policy->name(rule));
        result.endings.push_back(std::move(named));
    }
    // Where such a rule stands, what it matches and what it does are not known.
    for (const Orb::String& rule : truth.unknownRules) {
        result.endings.push_back({Verdict::dropped, false, {rule}, {}});
        result.endings.push_back({Verdict::forwarded, false, {rule}, {}});
    }
    return result;
}

const std::vector<Orb::String>* TruthAnswer::decidedBy() const {
    if (!isFiltered() || !answer.isComplete) return nullptr;
    const auto& first = endings.front().decidedBy;
    const bool isOne = std::ranges::all_of(
        endings, [&](const NamedEnding& ending) { return ending.decidedBy == first; });
    return isOne ? &first : nullptr;
}

Verdict TruthAnswer::sureVerdict() const {
    if (!isFiltered()) return Verdict::notFiltered;
    const Verdict first = endings.front().verdict;
    const bool isOne = std::ranges::all_of(
        endings, [first](const NamedEnding& ending) { return ending.verdict == first; });
    return isOne && answer.isComplete ? first : Verdict::undecided;
}

void Together::add(const Orb::String& policy, const TruthAnswer& answer) {
    const Verdict verdict = answer.sureVerdict();
    if (verdict_ == Verdict::dropped || verdict == Verdict::notFiltered) return;
    if (verdict == Verdict::dropped) droppedBy_ = policy;
    if (verdict_ != Verdict::undecided || verdict == Verdict::dropped) verdict_ = verdict;
}

bool TruthAnswer::agreesWith(const TruthAnswer& other) const {
    if (this == &other || (rules != nullptr && rules == other.rules)) return true;
    const std::vector<NamedEnding> none = {NamedEnding{}};
    const auto& mine = isFiltered() ? endings : none;
    const auto& others = other.isFiltered() ? other.endings : none;
    return answer.isComplete && other.answer.isComplete &&
           std::ranges::is_permutation(mine, others,
                                       [](const auto& a, const auto& b) { return a.isSameAs(b); });
}

}  // namespace TrafficPolicyCli::Diagnosis
