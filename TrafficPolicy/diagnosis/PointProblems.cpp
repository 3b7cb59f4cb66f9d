// What is wrong where a policy is, or should be.
#include <algorithm>
#include <set>

#include "diagnosis/Problems.h"

namespace TrafficPolicyCli::Diagnosis {

namespace {

struct Family {
    MatchOption option;
    Orb::String label;
};
const Family families[] = {
    {MatchOption::ipv4, "IPv4"},
    {MatchOption::ipv6, "IPv6"},
    {MatchOption::mac, "MAC"},
    {MatchOption::mpls, "MPLS"},
};

Orb::String withReason(const Orb::String& text, const Orb::String& reason) {
    return reason.empty() ? text : text + ": " + reason;
}

class PointProblems {
  public:
    PointProblems(const DiagnosisSources& sources, const Attachments& attachments,
                  const Attachment& attachment, std::vector<Problem>& problems)
        : sources_(sources),
          attachments_(attachments),
          attachment_(attachment),
          problems_(problems) {}

    void find() {
        if (!vrfIsKnown()) return;
        const auto findOn = [this](Target target) {
            if (attachment_.isConfigured) {
                findInstallation(target);
            } else {
                findLeftOver(target);
            }
        };
        findOn(Target::hardware);
        if (attachment_.place == Place::cpu && attachments_.hasKernel()) findOn(Target::kernel);
    }

  private:
    ProblemPoint pointOn(Target target) const {
        const bool isOnCpu = attachment_.place == Place::cpu;
        return {attachment_.place, attachment_.point,
                isOnCpu ? std::optional(target) : std::nullopt};
    }

    // An attachment to a VRF that does not exist is one problem, not one per family.
    bool vrfIsKnown() {
        if (attachment_.place != Place::cpu || !attachment_.isConfigured || attachment_.isByAll ||
            vrfExists(sources_, attachment_.point)) {
            return true;
        }
        const ProblemPoint point{attachment_.place, attachment_.point};
        problems_.push_back({.kind = ProblemKind::unknownVrf,
                             .text = textOf(point) + ": the VRF does not exist",
                             .point = point});
        return false;
    }

    void findInstallation(Target target) {
        for (const Family& family : families) {
            const Installed installed = attachments_.installed(attachment_, family.option, target);
            if (installed.outcome == Outcome::failed) {
                add(ProblemKind::installationFailed, target, family,
                    withReason("failed", installed.reason));
            } else if (installed.outcome == Outcome::notProcessed &&
                       attachments_.isTold(attachment_, family.option, target)) {
                add(ProblemKind::notProcessed, target, family,
                    withReason("pending", installed.reason));
            }
        }
    }

    void findLeftOver(Target target) {
        Orb::String labels;
        for (const Family& family : families) {
            const Installed installed = attachments_.installed(attachment_, family.option, target);
            if (installed.outcome != Outcome::notConfigured) continue;
            labels += (labels.empty() ? "" : ", ") + family.label;
        }
        if (labels.empty()) return;
        const bool isConfigured =
            sources_.config && sources_.config->policyMapConfig(attachment_.policy) != nullptr;
        const ProblemPoint point = pointOn(target);
        problems_.push_back(
            {.kind = isConfigured ? ProblemKind::notConfigured : ProblemKind::removedPolicy,
             .text = textOf(point) + ": still in place for " + labels + ", but " +
                     (isConfigured ? "not configured here" : "the policy is not configured"),
             .point = point});
    }

    void add(ProblemKind kind, Target target, const Family& family, const Orb::String& text) {
        const ProblemPoint point = pointOn(target);
        problems_.push_back({.kind = kind,
                             .text = textOf(point) + ", " + family.label + ": " + text,
                             .point = point,
                             .family = family.option});
    }

    const DiagnosisSources& sources_;
    const Attachments& attachments_;
    const Attachment& attachment_;
    std::vector<Problem>& problems_;
};

Problem withoutVersion(const Attachment& attachment, bool isPolicyConfigured) {
    const ProblemPoint point{attachment.place, attachment.isByAll ? "all" : attachment.point};
    const bool isInPlace = sayProgrammed(attachment.hardware) || sayProgrammed(attachment.kernel);
    return {.kind = isPolicyConfigured ? ProblemKind::noCurrentVersion : ProblemKind::unknownPolicy,
            .text = textOf(point) + ": the policy " +
                    (isPolicyConfigured ? "has no current version" : "is not configured") +
                    (isInPlace ? ", but is still in place" : ""),
            .point = point};
}

// The attachments of a policy that is configured nowhere, or has no current version. That of the
// VRF "all" is one, whatever the VRFs it stands for.
void addWithoutVersion(const DiagnosisSources& sources, const PolicyAttachments& ofPolicy,
                       std::vector<Problem>& problems) {
    const bool isConfigured =
        sources.config && sources.config->policyMapConfig(ofPolicy.front()->policy) != nullptr;
    bool isAllTold = false;
    for (const Attachment* const attachment : ofPolicy) {
        if (!attachment->isConfigured || (attachment->isByAll && isAllTold)) continue;
        isAllTold = isAllTold || attachment->isByAll;
        problems.push_back(withoutVersion(*attachment, isConfigured));
    }
}

}  // namespace

void addPointProblems(const DiagnosisSources& sources, const Attachments& attachments,
                      const PolicyAttachments& ofPolicy, std::vector<Problem>& problems) {
    if (ofPolicy.empty()) return;
    if (attachments.versionOf(ofPolicy.front()->policy) == nullptr) {
        addWithoutVersion(sources, ofPolicy, problems);
    }
    U32 place = 0;
    for (const Attachment* const attachment : ofPolicy) {
        const std::size_t before = problems.size();
        PointProblems(sources, attachments, *attachment, problems).find();
        for (std::size_t i = before; i < problems.size(); ++i) problems[i].order = place;
        ++place;
    }
}

}  // namespace TrafficPolicyCli::Diagnosis
