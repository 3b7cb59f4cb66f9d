// Counters whose live record is the one that was cleared last, and yet counts less than then: the
// views show them as 0.
#include "counters/LiveReader.h"
#include "diagnosis/Problems.h"

namespace TrafficPolicyCli::Diagnosis {

using PolicyMap::IntfCountData;
using PolicyMap::PacketAndByte;
using PolicyMap::PacketDataStatus;
using PolicyMap::PolicyMapCounterStatusReaderBase;
using PolicyMap::PolicyMapSmKey;
using TrafficPolicy::NamedCounterVersion;

namespace {

class FallenSearch {
  public:
    using Add = std::function<void(const Orb::String&, Problem)>;

    FallenSearch(const DiagnosisSources& sources, const SideSources& side, std::string_view label,
                 const Orb::String& onlyPolicy, const Add& add)
        : reader_(side.counter ? liveReaderOf(sources, side) : nullptr),
          counter_(side.counter),
          label_(label),
          countsBytes_(sources.trafficPolicyHwStatus &&
                       sources.trafficPolicyHwStatus->byteCountersSupported()),
          onlyPolicy_(onlyPolicy),
          add_(add) {}

    void find() const {
        if (!reader_) return;
        for (const auto& [key, version] : counter_->snapshot()) {
            textout::checkInterrupt();
            if (isLeftOut(key.policyName)) continue;
            const auto live =
                reader_->classCounterData(PolicyMapSmKey{key.policyName, ""}, key.className);
            if (!live || live->uniqueId() != version.uniqueId) continue;
            if (live->count().packets < version.packets) {
                add(key.policyName, "rule " + key.className, key.className, "");
            }
        }
        for (const auto& [key, version] : counter_->namedSnapshot()) {
            textout::checkInterrupt();
            if (isLeftOut(key.policyName) || !version) continue;
            const auto live =
                reader_->namedCounterData(PolicyMapSmKey{key.policyName, ""}, key.counterName);
            if (live) findNamed(key.policyName, *live, *version);
        }
    }

  private:
    bool isLeftOut(const Orb::String& policy) const {
        return !onlyPolicy_.empty() && policy != onlyPolicy_;
    }
    bool isBelow(const PacketAndByte& live, const PacketAndByte& snapshot) const {
        return live.packets < snapshot.packets || (countsBytes_ && live.bytes < snapshot.bytes);
    }

    void findNamed(const Orb::String& policy, const PacketDataStatus& live,
                   const NamedCounterVersion& version) const {
        if (live.uniqueId() == version.uniqueId() && isBelow(live.count(), version.totalCount())) {
            add(policy, "counter " + Orb::String(live.name()), "", "");
        }
        for (const auto& [intfId, intfData] : live.perIntfCount()) {
            const IntfCountData* const snapshot = version.perIntfCount(intfId);
            if (snapshot == nullptr || snapshot->uniqueId() != intfData->uniqueId()) continue;
            if (isBelow(intfData->countData(), snapshot->countData())) {
                add(policy, "counter " + Orb::String(live.name()), "", intfId.stringValue());
            }
        }
    }

    void add(const Orb::String& policy, const Orb::String& what, const Orb::String& rule,
             const Orb::String& intf) const {
        add_(policy, {.kind = ProblemKind::counterBelowSnapshot,
                      .text = what + " on " + label_ + (intf.empty() ? "" : ", " + intf) +
                              ": counts less than at the last clear, and is shown as 0",
                      .rule = rule});
    }

    Orb::Ptr<const PolicyMapCounterStatusReaderBase> reader_;
    Orb::Ptr<const TrafficPolicy::Counter> counter_;
    Orb::String label_;
    bool countsBytes_;
    const Orb::String& onlyPolicy_;
    const Add& add_;
};

}  // namespace

void forEachFallenCounter(const DiagnosisSources& sources, const Orb::String& onlyPolicy,
                          const std::function<void(const Orb::String&, Problem)>& add) {
    FallenSearch(sources, sources.input, "interface input", onlyPolicy, add).find();
    FallenSearch(sources, sources.output, "interface output", onlyPolicy, add).find();
    FallenSearch(sources, sources.cpu, "the CPU", onlyPolicy, add).find();
}

}  // namespace TrafficPolicyCli::Diagnosis
