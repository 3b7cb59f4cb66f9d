// The attachments: a line per point, side and policy. On the CPU hardware and kernel are sides of
// one point, so the JSON keeps them in one object.
#include "diagnosis/Attachments.h"
#include "diagnosis/Table.h"

namespace TrafficPolicyCli {

using Diagnosis::Attachment;
using Diagnosis::Attachments;
using Diagnosis::Installed;
using Diagnosis::MatchOption;
using Diagnosis::Outcome;
using Diagnosis::Place;
using Diagnosis::Target;

namespace {

struct Family {
    MatchOption option;
    std::string_view label;
    bool hasColumn;
};
constexpr Family families[] = {
    {MatchOption::ipv4, "IPv4", true},
    {MatchOption::ipv6, "IPv6", true},
    {MatchOption::mac, "MAC", false},
    {MatchOption::mpls, "MPLS", false},
};

// The reasons of a line; one that all families share is said once.
class Reasons {
  public:
    void add(std::string_view label, std::string_view text) {
        if (text.empty()) return;
        isOne_ = first_.empty() || (isOne_ && first_ == text);
        if (first_.empty()) first_ = text;
        if (!each_.empty()) each_ += "; ";
        each_.append(label).append(": ").append(text);
    }
    const Orb::String& text() const { return isOne_ ? first_ : each_; }

  private:
    Orb::String first_;
    Orb::String each_;
    bool isOne_ = true;
};

class AttachmentView {
  public:
    AttachmentView(textout::RendererV2& renderer, const DiagnosisSources& sources)
        : renderer_(renderer),
          sources_(sources),
          attachments_(sources),
          table_(renderer, {"Point", "Side", "Policy", "IPv4", "IPv6", "Reason"}) {}

    void print(const std::vector<Attachment>& found) {
        {
            const auto list = renderer_.list("attachments");
            for (const Attachment& attachment : found) printOne(attachment);
        }
        if (found.empty()) {
            renderer_.text("No attachments.").endLine();
        } else {
            table_.print();
        }
    }
    const Attachments& attachments() const { return attachments_; }

  private:
    void printOne(const Attachment& attachment) {
        const auto object = renderer_.object();
        renderer_.pair("point", attachment.point);
        renderer_.pair("kind", kindOf(attachment.place));
        const std::string_view direction = directionOf(attachment.place);
        if (!direction.empty()) renderer_.pair("direction", direction);
        renderer_.pair("policy", attachment.policy);
        if (attachment.isByAll) renderer_.pair("vrfAll", true);
        for (const Target target : attachments_.targetsAt(attachment.place)) {
            printSide(attachment, target,
                      attachment.place != Place::cpu ? direction
                      : target == Target::kernel     ? "kernel"
                                                     : "hardware");
        }
    }

    void printSide(const Attachment& attachment, Target target, std::string_view label) {
        const auto object = renderer_.object(target == Target::kernel ? "software" : "hardware");
        const Orb::String point = pointText(attachment.place, attachment.point);
        for (const std::string_view text :
             {std::string_view(point), label, std::string_view(attachment.policy)}) {
            table_.cell(text);
        }
        Reasons reasons;
        for (const Family& family : families) {
            const Installed installed = attachments_.installed(attachment, family.option, target);
            // The kernel filters IP packets only.
            const bool isAsked =
                installed.outcome != Outcome::notAsked && target == Target::hardware;
            if (family.hasColumn || isAsked) printFamily(family, installed, reasons);
        }
        const Orb::String note = noteOf(attachment);
        table_.cell(note + (note.empty() || reasons.text().empty() ? "" : "; ") + reasons.text());
    }

    void printFamily(const Family& family, const Installed& installed, Reasons& reasons) {
        const auto& [outcome, reason] = installed;
        const auto object = renderer_.object(matchOptionName(family.option));
        renderer_.pair("installation", wordsOf(outcome).key);
        if (!reason.empty()) renderer_.pair("installationError", reason);
        if (family.hasColumn) {
            const bool isSilent = outcome == Outcome::failed && reason.empty();
            table_.cell(wordsOf(outcome).cell);
            reasons.add(family.label, isSilent ? "no reason given" : reason);
        } else if (outcome != Outcome::applied) {
            reasons.add(family.label,
                        Orb::String(wordsOf(outcome).cell) + (reason.empty() ? "" : ", ") + reason);
        }
    }

    // What is wrong with the policy itself.
    Orb::String noteOf(const Attachment& attachment) const {
        const bool isKnown =
            sources_.config && sources_.config->policyMapConfig(attachment.policy) != nullptr;
        if (!isKnown) return "the policy is not configured";
        if (!attachment.isConfigured) return "not configured here";
        return attachments_.versionOf(attachment.policy) == nullptr
                   ? "the policy has no current version"
                   : "";
    }

    textout::RendererV2& renderer_;
    const DiagnosisSources& sources_;
    Attachments attachments_;
    Diagnosis::Table table_;
};

}  // namespace

ShowTrafficPolicyAttachments::ShowTrafficPolicyAttachments(DiagnosisSources sources,
                                                           Orb::String interfaceName,
                                                           Orb::String vrfName, Orb::String vlan)
    : ShowTrafficPolicyDiagnosis(std::move(sources)),
      interfaceName_(std::move(interfaceName)),
      vrfName_(std::move(vrfName)),
      vlan_(std::move(vlan)) {}

void ShowTrafficPolicyAttachments::renderReport(textout::RendererV2& renderer) {
    AttachmentView view(renderer, sources());
    if (interfaceName().empty() && vrfName().empty() && vlan().empty()) {
        view.print(view.attachments().all());
        return;
    }
    std::vector<Attachment> found;
    const auto add = [&](Place place, const Orb::String& point) {
        if (point.empty()) return;
        for (Attachment& attachment : view.attachments().at(place, point)) {
            found.push_back(std::move(attachment));
        }
    };
    add(Place::input, interfaceName());
    add(Place::output, interfaceName());
    add(Place::cpu, vrfName());
    add(Place::vlan, vlan());
    view.print(found);
}

}  // namespace TrafficPolicyCli
