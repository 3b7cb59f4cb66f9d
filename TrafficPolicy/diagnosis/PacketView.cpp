// The answer about one packet: the packet as understood, then for each policy at the point its
// truths. In JSON each truth stands whole; in text those that agree are told once.
#include "diagnosis/PacketFields.h"
#include "diagnosis/PointQuestion.h"
#include "diagnosis/RuleActions.h"
#include "frame/Creator.h"

namespace TrafficPolicyCli {

namespace {

using Diagnosis::FieldMask;
using Diagnosis::NamedEnding;
using Diagnosis::Outcome;
using Diagnosis::Packet;
using Diagnosis::PolicyAtPoint;
using Diagnosis::RuleActions;
using Diagnosis::RuleAnswer;
using Diagnosis::RuleResult;
using Diagnosis::Together;
using Diagnosis::Truth;
using Diagnosis::TruthAnswer;
using Diagnosis::Verdict;
using textout::RendererV2;

constexpr std::string_view verdictKeys[] = {"dropped", "forwarded", "undecided", "notFiltered"};
constexpr std::string_view verdictTexts[] = {"dropped", "forwarded", "undecided", "not filtered"};
constexpr std::string_view resultKeys[] = {"match", "noMatch", "depends"};

template <class Value>
std::size_t indexOf(Value value) {
    return static_cast<std::size_t>(value);
}

class PacketView {
  public:
    PacketView(RendererV2& renderer, const DiagnosisSources& sources, const Packet& packet,
               bool isAnywhere, bool detail)
        : renderer_(renderer),
          sources_(sources),
          packet_(packet),
          isAnywhere_(isAnywhere),
          detail_(detail) {}

    void print(const std::vector<PolicyAtPoint>& policies) {
        {
            const auto object = renderer_.object("packet");
            renderer_.text("Packet: ");
            renderPacketFields(renderer_, packet_);
            renderer_.endLine();
        }
        {
            const auto list = renderer_.list("points");
            for (const PolicyAtPoint& at : policies) printPoint(at);
        }
        const auto configured = std::ranges::count_if(
            policies, [](const PolicyAtPoint& at) { return at.attachment.isConfigured; });
        if (configured > 1) printTogether(policies);
    }

  private:
    // One policy at the point, with the answer of each of its truths.
    void printPoint(const PolicyAtPoint& at) {
        std::vector<TruthAnswer> answers;
        answers.reserve(at.truths.size());
        for (std::size_t i = 0; i < at.truths.size(); ++i) {
            answers.push_back(sharesAnswers(at.truths, i) ? answers.front()
                                                          : askTruth(at.truths[i], packet_));
        }
        together_.resize(answers.size());
        for (std::size_t i = 0; i < answers.size(); ++i) {
            together_[i].add(at.attachment.policy, answers[i]);
        }
        RuleActions actions(sources_, at.attachment, isAnywhere_, detail_);
        const auto object = renderer_.object();
        heading(at);
        const bool differs = std::ranges::any_of(answers, [&](const TruthAnswer& answer) {
            return !answer.agreesWith(answers.front());
        });
        if (differs) printDifference(at, answers);
        std::vector<bool> isTold(at.truths.size());
        for (std::size_t i = 0; i < at.truths.size(); ++i) {
            const std::string labels = isTold[i] ? "" : labelsOf(at, answers, i, isTold);
            printTruth(at, at.truths[i], answers[i], labels, actions);
        }
        closing(at, answers, differs);
    }

    // The labels of the truths from the first on that agree with it, which are told with it.
    static std::string labelsOf(const PolicyAtPoint& at, const std::vector<TruthAnswer>& answers,
                                std::size_t first, std::vector<bool>& isTold) {
        std::string labels;
        for (std::size_t other = first; other < at.truths.size(); ++other) {
            if (!answers[first].agreesWith(answers[other])) continue;
            isTold[other] = true;
            labels += labels.empty() ? "" : " and ";
            labels += at.truths[other].label;
        }
        return labels;
    }

    void heading(const PolicyAtPoint& at) {
        const auto& attachment = at.attachment;
        const std::string_view direction =
            isAnywhere_ ? std::string_view() : directionOf(attachment.place);
        renderer_.pair("point", isAnywhere_ ? attachment.policy : attachment.point);
        renderer_.pair("kind", isAnywhere_ ? "policy" : kindOf(attachment.place));
        if (!direction.empty()) renderer_.pair("direction", direction);
        if (!isAnywhere_) {
            const bool isOnInterface = !direction.empty();
            if (isOnInterface) renderer_.text("Interface ");
            renderer_.name(pointText(attachment.place, attachment.point));
            if (isOnInterface) renderer_.text(" ").text(direction);
            renderer_.text(": ");
        }
        if (attachment.policy.empty()) {
            renderer_.pair("family", matchOptionName(packet_.family()));
            renderer_.text("no policy").endLine();
            return;
        }
        renderer_.pair("policy", attachment.policy);
        renderer_.pair("family", matchOptionName(packet_.family()));
        renderer_.text(isAnywhere_ ? "Policy " : "policy ").name(attachment.policy);
        if (attachment.isByAll) renderer_.text(", that of VRF all");
        if (isPolicyUnknown(attachment.policy)) renderer_.text(", which is not configured");
        renderer_.endLine();
        for (const Truth& truth : at.truths) installation(truth);
    }

    bool isPolicyUnknown(const Orb::String& policy) const {
        return !sources_.config || sources_.config->policyMapConfig(policy) == nullptr;
    }

    void installation(const Truth& truth) {
        if (truth.key == "configured") return;
        const bool isHardware = truth.key == "hardware";
        const auto& [outcome, reason] = truth.installed;
        renderer_.pair(isHardware ? "installation" : "softwareInstallation", wordsOf(outcome).key);
        if (!reason.empty()) {
            renderer_.pair(isHardware ? "installationError" : "softwareInstallationError", reason);
        }
        renderer_.text(isHardware ? "   Hardware: " : "   Kernel: ");
        const bool isNothingThere = outcome == Outcome::notAsked && !reason.empty();
        renderer_.text(isNothingThere ? "not asked" : wordsOf(outcome).sentence);
        if (!reason.empty()) renderer_.text(" (").name(reason).text(")");
        renderer_.endLine();
    }

    void names(const std::vector<Orb::String>& rules) {
        std::string_view separator;
        for (const Orb::String& rule : rules) {
            renderer_.text(separator).name(rule);
            separator = ", ";
        }
    }

    // "dropped by scans"; "forwarded, redirected by a, b"; "forwarded, no rule takes it".
    void ending(const NamedEnding& ending) {
        renderer_.text(verdictTexts[indexOf(ending.verdict)]);
        if (ending.redirects) renderer_.text(", redirected");
        if (ending.decidedBy.empty()) {
            renderer_.text(", no rule takes it");
        } else {
            renderer_.text(" by ");
            names(ending.decidedBy);
        }
    }
    void answerText(const TruthAnswer& answer) {
        if (answer.isDecided()) {
            ending(answer.endings.front());
        } else {
            renderer_.text(verdictTexts[indexOf(answer.verdict())]);
        }
        if (answer.verdict() != Verdict::undecided) return;
        renderer_.text(" (").number(answer.endings.size());
        renderer_.text(answer.answer.isComplete ? " possible)" : " possible, and more)");
    }

    void eachAnswer(const PolicyAtPoint& at, const std::vector<TruthAnswer>& answers) {
        for (std::size_t i = 0; i < answers.size(); ++i) {
            renderer_.text(i == 0 ? "" : "; ").text(at.truths[i].label).text(" ");
            answerText(answers[i]);
        }
    }

    // What the operator came for: the platform does not do what is configured.
    void printDifference(const PolicyAtPoint& at, const std::vector<TruthAnswer>& answers) {
        renderer_.text("   NOT AS CONFIGURED: ");
        eachAnswer(at, answers);
        renderer_.endLine();
        for (const Truth& truth : at.truths) {
            if (!truth.policy || truth.status == nullptr) continue;
            for (const NamedEnding& ending : answers.front().endings) {
                for (const Orb::String& rule : ending.decidedBy) {
                    if (truth.hasRule(rule, packet_.family())) continue;
                    renderer_.text("   Rule ").name(rule).text(" is not there ").text(truth.label);
                    renderer_.endLine();
                }
            }
        }
    }

    // labels: of the truths that the text tells here; empty: it tells nothing.
    void printTruth(const PolicyAtPoint& at, const Truth& truth, const TruthAnswer& answer,
                    const std::string& labels, RuleActions& actions) {
        const auto object = renderer_.object(truth.key);
        renderer_.pair("verdict", verdictKeys[indexOf(answer.verdict())]);
        const bool inText = !labels.empty() && !at.attachment.policy.empty();
        if (inText) heading(truth, answer, labels);
        const std::vector<Orb::String> none;
        const auto* const sure = answer.decidedBy();
        const auto& decidedBy = sure == nullptr ? none : *sure;
        {
            const auto list = renderer_.list("decidedBy");
            for (const Orb::String& rule : decidedBy) renderer_.item(rule);
        }
        rules(at, truth, answer, decidedBy, inText, actions);
        if (!decidedBy.empty() && renderer_.isJson()) {
            actions.render(renderer_, decidedBy.back(), 9);
        }
        if (answer.verdict() == Verdict::undecided) {
            possible(answer, inText);
            limits(answer);
        }
    }

    void heading(const Truth& truth, const TruthAnswer& answer, const std::string& labels) {
        std::string line = labels;
        if (line.front() == 'a') line.front() = 'A';
        if (line.front() == 'i') line.front() = 'I';
        renderer_.text("   ").text(line).text(":");
        if (!answer.isFiltered()) renderer_.text(" not filtered");
        if (answer.isFiltered() && truth.policy->size() == 0 && truth.unknownRules.empty()) {
            renderer_.text(truth.status == nullptr ? " no rules of the family" : " no rules");
        }
        renderer_.endLine();
    }

    void rules(const PolicyAtPoint& at, const Truth& truth, const TruthAnswer& answer,
               const std::vector<Orb::String>& decidedBy, bool inText, RuleActions& actions) {
        const auto list = renderer_.list("rules");
        unknownRules(truth, inText);
        U32 passedOver = 0;
        for (const RuleAnswer& rule : answer.answer.rules) {
            const Orb::String& name = truth.policy->name(rule.rule);
            const bool isListed = detail_ || rule.result != RuleResult::noMatch;
            if (inText && isListed) tellPassedOver(passedOver);
            passedOver += isListed ? 0 : 1;
            const auto object = renderer_.object();
            ruleResult(name, rule);
            if (inText && isListed) ruleText(at, name, rule);
            if (showsActions(name, decidedBy, inText)) actions.render(renderer_, name, 9);
        }
        if (inText) tellPassedOver(passedOver);
    }

    // Those of a rule that decides; in JSON those of the last one stand behind all rules.
    bool showsActions(const Orb::String& rule, const std::vector<Orb::String>& decidedBy,
                      bool inText) const {
        if (std::ranges::find(decidedBy, rule) == decidedBy.end()) return false;
        return renderer_.isJson() ? rule != decidedBy.back() : inText;
    }

    void unknownRules(const Truth& truth, bool inText) {
        for (const Orb::String& rule : truth.unknownRules) {
            const auto object = renderer_.object();
            renderer_.pair("rule", rule);
            renderer_.pair("result", resultKeys[indexOf(RuleResult::depends)]);
            const auto fields = renderer_.list("dependsOn");
            if (!inText) continue;
            ruleLine(rule).text("not configured, so what it matches is not known").endLine();
        }
    }

    // The pairs of a rule in JSON.
    void ruleResult(const Orb::String& name, const RuleAnswer& rule) {
        renderer_.pair("rule", name);
        renderer_.pair("result", resultKeys[indexOf(rule.result)]);
        if (rule.result == RuleResult::noMatch) {
            renderer_.pair("criterion", fieldName(rule.criterion));
        }
        if (rule.result == RuleResult::depends) {
            const auto fields = renderer_.list("dependsOn");
            rule.dependsOn.forEachName([this](std::string_view field) { renderer_.item(field); });
        }
    }

    RendererV2& ruleLine(const Orb::String& rule) {
        return renderer_.text("      match ").name(rule).text(": ");
    }

    void tellPassedOver(U32& rules) {
        if (rules > 0) {
            renderer_.text("      ").number(rules).text(rules == 1 ? " rule says no"
                                                                   : " rules say no");
            renderer_.endLine();
        }
        rules = 0;
    }

    void ruleText(const PolicyAtPoint& at, const Orb::String& name, const RuleAnswer& rule) {
        ruleLine(name);
        switch (rule.result) {
            case RuleResult::match:
                renderer_.text("yes");
                break;
            case RuleResult::noMatch:
                renderer_.text("no, ").text(fieldName(rule.criterion));
                break;
            case RuleResult::depends:
                renderer_.text("depends on ");
                fieldNames(rule.dependsOn);
                break;
        }
        for (const Truth& truth : at.truths) {
            if (!truth.policy || truth.hasRule(name, packet_.family())) continue;
            renderer_.text(" (not ").text(truth.label).text(")");
        }
        renderer_.endLine();
    }

    void fieldNames(const FieldMask& fields) {
        std::string_view separator;
        fields.forEachName([&](std::string_view name) {
            renderer_.text(separator).text(name);
            separator = ", ";
        });
    }

    void possible(const TruthAnswer& answer, bool inText) {
        const auto list = renderer_.list("possible");
        if (inText) renderer_.text("      Possible:").endLine();
        for (const NamedEnding& one : answer.endings) {
            const auto object = renderer_.object();
            renderer_.pair("verdict", verdictKeys[indexOf(one.verdict)]);
            {
                const auto rules = renderer_.list("decidedBy");
                for (const Orb::String& rule : one.decidedBy) renderer_.item(rule);
            }
            if (!inText) continue;
            renderer_.text("         ");
            ending(one);
            if (!one.hangsOn.empty()) {
                renderer_.text("; depends on ");
                fieldNames(one.hangsOn);
            }
            renderer_.endLine();
        }
        if (inText && !answer.answer.isExact) {
            renderer_.text("         Not every one of these need be possible.").endLine();
        }
        if (inText && !answer.answer.isComplete) renderer_.text("         and more").endLine();
    }
    // Not said of a list that is whole.
    void limits(const TruthAnswer& answer) {
        if (!answer.answer.isExact) renderer_.pair("mayBeImpossible", true);
        if (!answer.answer.isComplete) renderer_.pair("andMore", true);
    }

    void closing(const PolicyAtPoint& at, const std::vector<TruthAnswer>& answers, bool differs) {
        renderer_.text("Verdict: ");
        if (differs) {
            eachAnswer(at, answers);
        } else if (at.attachment.policy.empty()) {
            renderer_.text("forwarded, no policy here");
        } else {
            answerText(answers.front());
        }
        renderer_.endLine();
    }

    // Where several policies are configured at the point.
    void printTogether(const std::vector<PolicyAtPoint>& policies) {
        const auto object = renderer_.object("together");
        const auto& truths = policies.front().truths;
        const bool isSame = std::ranges::all_of(together_, [&](const Together& one) {
            return one.verdict() == together_.front().verdict() &&
                   one.droppedBy() == together_.front().droppedBy();
        });
        renderer_.text("Verdict of all ").number(policies.size()).text(" policies: ");
        for (std::size_t i = 0; i < together_.size(); ++i) {
            const Together& one = together_[i];
            const auto truth = renderer_.object(truths[i].key);
            renderer_.pair("verdict", verdictKeys[indexOf(one.verdict())]);
            if (!one.droppedBy().empty()) renderer_.pair("policy", one.droppedBy());
            if (isSame && i > 0) continue;
            if (!isSame) renderer_.text(i == 0 ? "" : "; ").text(truths[i].label).text(" ");
            renderer_.text(verdictTexts[indexOf(one.verdict())]);
            if (!one.droppedBy().empty()) renderer_.text(" by policy ").name(one.droppedBy());
        }
        renderer_.endLine();
    }

    RendererV2& renderer_;
    const DiagnosisSources& sources_;
    const Packet& packet_;
    const bool isAnywhere_;
    const bool detail_;
    std::vector<Together> together_;  // by truth
};

}  // namespace

ORB_DEFINE_TYPE(ShowTrafficPolicyPacket)

ShowTrafficPolicyPacket::ShowTrafficPolicyPacket(DiagnosisSources sources, AskedPoint point,
                                                 Diagnosis::Packet packet, bool detail)
    : ShowTrafficPolicyDiagnosis(std::move(sources)),
      detail_(detail),
      point_(std::move(point)),
      packet_(std::move(packet)) {}

void ShowTrafficPolicyPacket::renderReport(RendererV2& renderer) {
    const Diagnosis::PointQuestion question(sources(), point_, packet_.family());
    PacketView(renderer, sources(), packet_, point_.kind == AskedPoint::Kind::policy, detail())
        .print(question.policies());
}

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyPacket, showTrafficPolicyPacketFactory,
                           (DiagnosisSources sources, AskedPoint point, Diagnosis::Packet packet,
                            bool detail),
                           {
                               return Orb::make<ShowTrafficPolicyPacket>(
                                   std::move(sources), std::move(point), std::move(packet), detail);
                           })

namespace {

const bool isPacketRegistered = Orb::registerFactory<&showTrafficPolicyPacketFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
