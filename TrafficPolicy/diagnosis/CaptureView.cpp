// Counts per policy at the point, truth, family and rule. In text a line per rule with the packets
// of every truth side by side; in JSON each truth stands whole.
#include "diagnosis/PointQuestion.h"
#include "diagnosis/QuickPolicy.h"
#include "diagnosis/RuleActions.h"
#include "diagnosis/Table.h"
#include "frame/Creator.h"
#include "traffic-policy/ShowCapture.h"

namespace TrafficPolicyCli {

namespace {

using Diagnosis::MatchOption;
using Diagnosis::Packet;
using Diagnosis::PointQuestion;
using Diagnosis::PolicyAtPoint;
using Diagnosis::QuickPolicy;
using Diagnosis::RuleActions;
using Diagnosis::Truth;
using Diagnosis::Verdict;
using PolicyMap::PacketAndByte;
using textout::RendererV2;

void add(PacketAndByte& count, U64 bytes) {
    ++count.packets;
    count.bytes += bytes;
}

// What one truth made of the packets of a family.
struct TruthCounts {
    std::unique_ptr<const QuickPolicy> quick;  // null: nothing filters here
    std::vector<PacketAndByte> rules;
    PacketAndByte noRule, depends, dropped, notFiltered;
};

using Result = QuickPolicy::Result;

// What the rules of a truth do to a packet; decidedBy: the rules whose actions count, unless that
// depends on what is not known.
Result decide(const TruthCounts& counts, const Truth& truth, const Packet& packet,
              std::vector<U32>& decidedBy) {
    if (!truth.unknownRules.empty()) return Result::depends;
    const Result quick = counts.quick->decide(packet, decidedBy);
    if (quick != Result::depends) return quick;
    const auto answer = askPolicy(*truth.policy, packet);
    if (!answer.isDecided()) return Result::depends;
    decidedBy = answer.endings.front().decidedBy;
    return answer.verdict() == Verdict::dropped ? Result::dropped : Result::forwarded;
}

// Says whether the packet is dropped for certain.
bool count(TruthCounts& counts, const Truth& truth, const Packet& packet, U64 bytes,
           std::vector<U32>& decidedBy) {
    if (!counts.quick) {
        add(counts.notFiltered, bytes);
        return false;
    }
    const Result result = decide(counts, truth, packet, decidedBy);
    if (result == Result::depends) {
        add(counts.depends, bytes);
        return false;
    }
    if (decidedBy.empty()) add(counts.noRule, bytes);
    for (const U32 rule : decidedBy) add(counts.rules[rule], bytes);
    if (result == Result::dropped) add(counts.dropped, bytes);
    return result == Result::dropped;
}

// Counts in each truth, and notes in dropped where the packet is dropped; what has no place there
// is not noted.
void count(std::vector<TruthCounts>& counts, const std::vector<Truth>& truths, const Packet& packet,
           U64 bytes, std::vector<U32>& decidedBy, std::vector<bool>& dropped) {
    bool isFirstDropped = false;
    for (std::size_t truth = 0; truth < truths.size(); ++truth) {
        const bool isDropped = sharesAnswers(truths, truth)
                                   ? isFirstDropped
                                   : count(counts[truth], truths[truth], packet, bytes, decidedBy);
        if (truth == 0) isFirstDropped = isDropped;
        if (truth < dropped.size() && isDropped) dropped[truth] = true;
    }
}

void renderCount(RendererV2& renderer, std::string_view key, const PacketAndByte& count) {
    const auto object = renderer.object(key);
    renderer.pair("packets", count.packets);
    renderer.pair("bytes", count.bytes);
}

}  // namespace

// The policies at the point with the rules of one family, and a count for each truth of each.
struct ShowTrafficPolicyCapture::Family {
    Family(const DiagnosisSources& sources, const AskedPoint& point, MatchOption option)
        : question(sources, point, option) {
        for (const PolicyAtPoint& at : question.policies()) {
            auto& ofPolicy = counts.emplace_back();
            for (const Truth& truth : at.truths) {
                TruthCounts& mine = ofPolicy.emplace_back();
                if (!truth.policy) continue;
                mine.quick = std::make_unique<const QuickPolicy>(*truth.policy);
                mine.rules.resize(truth.policy->size());
            }
        }
    }

    // What has the same answers has the same counts, which were not counted.
    void copyShared() {
        for (std::size_t i = 0; i < counts.size(); ++i) {
            const auto& truths = question.policies()[i].truths;
            const TruthCounts& first = counts[i].front();
            for (std::size_t truth = 1; truth < truths.size(); ++truth) {
                if (!sharesAnswers(truths, truth)) continue;
                TruthCounts& copy = counts[i][truth];
                copy.rules = first.rules;
                copy.noRule = first.noRule;
                copy.depends = first.depends;
                copy.dropped = first.dropped;
            }
        }
    }

    PointQuestion question;
    std::vector<std::vector<TruthCounts>> counts;  // by policy and truth
};

namespace {

// Prints what was counted for one policy at the point.
class CaptureView {
  public:
    struct OfFamily {
        MatchOption option;
        const PolicyAtPoint& at;
        const std::vector<TruthCounts>& counts;
    };

    CaptureView(RendererV2& renderer, const DiagnosisSources& sources, bool isAnywhere,
                std::vector<OfFamily> families)
        : renderer_(renderer),
          isAnywhere_(isAnywhere),
          families_(std::move(families)),
          attachment_(families_.front().at.attachment),
          actions_(sources, attachment_, isAnywhere, false) {}

    void print() {
        const auto object = renderer_.object();
        heading();
        for (std::size_t truth = 0; truth < families_.front().at.truths.size(); ++truth) {
            printTruth(truth);
        }
        if (renderer_.isText()) printTable();
    }

  private:
    void heading() {
        const std::string_view direction =
            isAnywhere_ ? std::string_view() : directionOf(attachment_.place);
        renderer_.pair("point", isAnywhere_ ? attachment_.policy : attachment_.point);
        renderer_.pair("kind", isAnywhere_ ? "policy" : kindOf(attachment_.place));
        if (!direction.empty()) renderer_.pair("direction", direction);
        if (!attachment_.policy.empty()) renderer_.pair("policy", attachment_.policy);
        if (!isAnywhere_) {
            renderer_.name(pointText(attachment_.place, attachment_.point));
            if (!direction.empty()) renderer_.text(" ").text(direction);
            renderer_.text(": ");
        }
        if (attachment_.policy.empty()) {
            renderer_.text("no policy").endLine();
        } else {
            renderer_.text(isAnywhere_ ? "Policy " : "policy ").name(attachment_.policy).endLine();
        }
    }

    void printTruth(std::size_t truth) {
        const auto object = renderer_.object(families_.front().at.truths[truth].key);
        PacketAndByte noRule;
        PacketAndByte depends;
        PacketAndByte dropped;
        PacketAndByte notFiltered;
        const auto sum = [](PacketAndByte& to, const PacketAndByte& from) {
            to.packets += from.packets;
            to.bytes += from.bytes;
        };
        {
            const auto list = renderer_.list("rules");
            for (const OfFamily& family : families_) {
                const TruthCounts& counts = family.counts[truth];
                sum(noRule, counts.noRule);
                sum(depends, counts.depends);
                sum(dropped, counts.dropped);
                sum(notFiltered, counts.notFiltered);
                for (U32 rule = 0; rule < counts.rules.size(); ++rule) {
                    printRule(family, family.at.truths[truth].policy->name(rule),
                              counts.rules[rule]);
                }
            }
        }
        renderCount(renderer_, "noRule", noRule);
        renderCount(renderer_, "depends", depends);
        renderCount(renderer_, "notFiltered", notFiltered);
        renderCount(renderer_, "dropped", dropped);
    }

    void printRule(const OfFamily& family, const Orb::String& name, const PacketAndByte& count) {
        if (!renderer_.isJson()) return;
        const auto object = renderer_.object();
        renderer_.pair("rule", name);
        renderer_.pair("matchOption", matchOptionName(family.option));
        renderer_.pair("packets", count.packets);
        renderer_.pair("bytes", count.bytes);
        if (const auto live = actions_.livePackets(name)) renderer_.pair("liveCount", *live);
    }

    // The count of a rule in a truth; null: the truth does not have it.
    static const PacketAndByte* countOf(const OfFamily& family, std::size_t truth,
                                        const Orb::String& name) {
        const Truth& its = family.at.truths[truth];
        if (!its.policy) return nullptr;
        for (U32 rule = 0; rule < its.policy->size(); ++rule) {
            if (its.policy->name(rule) == name) return &family.counts[truth].rules[rule];
        }
        return nullptr;
    }

    void printTable() {
        const auto& truths = families_.front().at.truths;
        std::vector<std::string_view> headings = {"Rule", "Family", "Packets", "Bytes"};
        for (std::size_t truth = 1; truth < truths.size(); ++truth) {
            headings.push_back(truth == 1 ? "Hardware" : "Kernel");
        }
        headings.push_back("Live");
        Diagnosis::Table table(renderer_, headings);
        for (const OfFamily& family : families_) {
            for (U32 rule = 0; rule < family.counts.front().rules.size(); ++rule) {
                ruleRow(table, family, rule);
            }
            otherRow(table, family, "(no rule takes it)", &TruthCounts::noRule);
            otherRow(table, family, "(depends on what is not known)", &TruthCounts::depends);
            otherRow(table, family, "(not filtered)", &TruthCounts::notFiltered);
        }
        table.print();
    }

    void ruleRow(Diagnosis::Table& table, const OfFamily& family, U32 rule) {
        const auto& truths = family.at.truths;
        const Orb::String& name = truths.front().policy->name(rule);
        const PacketAndByte& configured = family.counts.front().rules[rule];
        table.cell(name);
        table.cell(matchOptionName(family.option));
        cell(table, &configured);
        table.cell(std::to_string(configured.bytes));
        for (std::size_t truth = 1; truth < truths.size(); ++truth) {
            const bool isSame =
                truths[truth].policy && truths[truth].policy == truths.front().policy;
            cell(table, isSame ? &family.counts[truth].rules[rule] : countOf(family, truth, name));
        }
        const auto live = actions_.livePackets(name);
        table.cell(live ? std::to_string(*live) : "-");
    }

    // What no rule counts; no row when no truth has any.
    static void otherRow(Diagnosis::Table& table, const OfFamily& family, std::string_view label,
                         PacketAndByte TruthCounts::*member) {
        if (std::ranges::none_of(family.counts, [member](const TruthCounts& counts) {
                return (counts.*member).packets > 0;
            })) {
            return;
        }
        table.cell(label);
        table.cell(matchOptionName(family.option));
        for (std::size_t truth = 0; truth < family.counts.size(); ++truth) {
            const PacketAndByte& count = family.counts[truth].*member;
            cell(table, &count);
            if (truth == 0) table.cell(std::to_string(count.bytes));
        }
        table.cell("");
    }

    static void cell(Diagnosis::Table& table, const PacketAndByte* count) {
        table.cell(count == nullptr ? "-" : std::to_string(count->packets));
    }

    RendererV2& renderer_;
    const bool isAnywhere_;
    const std::vector<OfFamily> families_;
    const Diagnosis::Attachment& attachment_;
    RuleActions actions_;
};

}  // namespace

ORB_DEFINE_TYPE(ShowTrafficPolicyCapture)

ShowTrafficPolicyCapture::ShowTrafficPolicyCapture(DiagnosisSources sources, AskedPoint point)
    : ShowTrafficPolicyDiagnosis(std::move(sources)), point_(std::move(point)) {}
ShowTrafficPolicyCapture::~ShowTrafficPolicyCapture() = default;

ShowTrafficPolicyCapture::Family& ShowTrafficPolicyCapture::familyOf(MatchOption option) {
    auto& family = families_[option];
    if (family) return *family;
    family = std::make_unique<Family>(sources(), point_, option);
    const auto& policies = family->question.policies();
    const auto configured = std::ranges::count_if(
        policies, [](const PolicyAtPoint& at) { return at.attachment.isConfigured; });
    if (configured > 1) together_.resize(policies.front().truths.size());
    return *family;
}

void ShowTrafficPolicyCapture::packetIs(const Packet& packet, U64 bytes) {
    add(total_, bytes);
    Family& family = familyOf(packet.family());
    dropped_.assign(together_.size(), false);
    for (std::size_t i = 0; i < family.counts.size(); ++i) {
        count(family.counts[i], family.question.policies()[i].truths, packet, bytes, decidedBy_,
              dropped_);
    }
    for (std::size_t truth = 0; truth < dropped_.size(); ++truth) {
        if (dropped_[truth]) add(together_[truth], bytes);
    }
}

void ShowTrafficPolicyCapture::undecodedIs(const Orb::String& reason) { ++undecoded_[reason]; }

void ShowTrafficPolicyCapture::renderReport(RendererV2& renderer) {
    if (families_.empty()) familyOf(MatchOption::ipv4);
    {
        const auto object = renderer.object("capture");
        renderer.pair("packets", total_.packets);
        renderer.pair("bytes", total_.bytes);
        renderer.text("Capture: ").number(total_.packets).text(" packets, ");
        renderer.number(total_.bytes).text(" bytes").endLine();
        const auto list = renderer.list("undecoded");
        for (const auto& [reason, frames] : undecoded_) {
            const auto entry = renderer.object();
            renderer.pair("reason", reason);
            renderer.pair("frames", frames);
            renderer.text("   ")
                .number(frames)
                .text(frames == 1 ? " frame not decoded: " : " frames not decoded: ")
                .name(reason)
                .endLine();
        }
    }
    for (auto& [option, family] : families_) family->copyShared();
    {
        const auto list = renderer.list("points");
        const std::size_t policies = families_.begin()->second->counts.size();
        for (std::size_t i = 0; i < policies; ++i) {
            std::vector<CaptureView::OfFamily> families;
            for (const auto& [option, family] : families_) {
                families.push_back({option, family->question.policies()[i], family->counts[i]});
            }
            CaptureView(renderer, sources(), point_.kind == AskedPoint::Kind::policy,
                        std::move(families))
                .print();
        }
    }
    if (!together_.empty()) renderTogether(renderer);
}

// Where several policies are configured at the point.
void ShowTrafficPolicyCapture::renderTogether(RendererV2& renderer) {
    const auto& policies = families_.begin()->second->question.policies();
    const auto object = renderer.object("together");
    renderer.text("Dropped by one of ").number(policies.size()).text(" policies: ");
    for (std::size_t truth = 0; truth < together_.size(); ++truth) {
        const Truth& its = policies.front().truths[truth];
        const auto ofTruth = renderer.object(its.key);
        renderCount(renderer, "dropped", together_[truth]);
        renderer.text(truth == 0 ? "" : ", ").number(together_[truth].packets);
        renderer.text(truth == 0 ? " packets " : " ").text(its.label);
    }
    renderer.endLine();
}

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyCapture, showTrafficPolicyCaptureFactory,
                           (DiagnosisSources sources, AskedPoint point), {
                               return Orb::make<ShowTrafficPolicyCapture>(std::move(sources),
                                                                          std::move(point));
                           })

namespace {

const bool isCaptureRegistered = Orb::registerFactory<&showTrafficPolicyCaptureFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
