#include "counters/RateLook.h"

#include <set>

#include "counters/CounterLookup.h"
#include "counters/LiveReader.h"
#include "diagnosis/RuleWalk.h"

namespace TrafficPolicyCli {

using PolicyMap::CountAction;
using PolicyMap::PacketDataStatus;
using PolicyMap::PolicyMapSmKey;
using Reader = PolicyMap::PolicyMapCounterStatusReaderBase;

namespace {

constexpr RateSide sides[] = {
    {"input", "input", &RateScope::input, &DiagnosisSources::input, true},
    {"output", "output", &RateScope::output, &DiagnosisSources::output, true},
    {"cpu", "the CPU", &RateScope::cpu, &DiagnosisSources::cpu, false},
};

class Look {
  public:
    Look(const DiagnosisSources& sources, const RateSide& side, const Reader& reader)
        : from_(sources.*side.sources),
          reader_(reader),
          perInterface_(side.isOfInterfaces && from_.status->countersPerInterface()) {}

    PolicyLook policy(const Orb::String& name, const PolicyMap::PolicyMapStatus& status,
                      const PolicyMap::PolicyMapSubConfig& version) const {
        std::set<std::string_view> named;
        std::vector<const Orb::String*> rules;
        Diagnosis::forEachRule(version, [&](const Diagnosis::Rule& rule) {
            const auto* const taken = status.classMapStatus().find(rule.name, rule.place);
            if (taken == nullptr || (*taken)->matchs() == 0) return;
            const auto* const count =
                Diagnosis::actionOf<CountAction>(rule, PolicyMap::ActionType::count);
            if (count == nullptr) return;
            if (count->counterName().empty()) {
                rules.push_back(&rule.name);
            } else if (version.namedCounter().contains(count->counterName())) {
                named.insert(count->counterName());
            }
        });
        PolicyLook look{name, {}};
        look.counters.reserve(named.size() + rules.size());
        const PolicyMapSmKey key{name, ""};
        for (const std::string_view counter : named) {
            textout::checkInterrupt();
            const auto data = reader_.namedCounterData(key, Orb::String(counter));
            if (data) look.counters.push_back(namedCounter(name, data));
        }
        for (const Orb::String* const rule : rules) {
            textout::checkInterrupt();
            look.counters.push_back(ruleCounter(name, *rule, reader_.classCounterData(key, *rule)));
        }
        return look;
    }

  private:
    CounterLook ruleCounter(const Orb::String& policy, const Orb::String& rule,
                            const Orb::Ptr<const PacketDataStatus>& data) const {
        CounterLook counter{rule, false, static_cast<bool>(data), false, {}, {}};
        if (!data) return counter;
        counter.figures = {
            data->uniqueId(), data->count(), {getRulePacketCount(data, from_.counter, policy), 0}};
        return counter;
    }

    CounterLook namedCounter(const Orb::String& policy,
                             const Orb::Ptr<const PacketDataStatus>& data) const {
        CounterLook counter{data->name(), true, true, perInterface_, {}, {}};
        counter.figures = {data->uniqueId(),
                           data->count(),
                           {getNamedPacketCount(from_.counter, data, policy),
                            getNamedByteCount(from_.counter, data, policy)}};
        if (!perInterface_) return counter;
        for (const auto& [intfId, live] : data->perIntfCount()) {
            counter.interfaces.push_back(
                {intfId.stringValue(),
                 {live->uniqueId(),
                  live->countData(),
                  {getInterfacePacketCount(from_.counter, *data, *live, policy),
                   getInterfaceByteCount(from_.counter, *data, *live, policy)}}});
        }
        return counter;
    }

    const SideSources& from_;
    const Reader& reader_;
    bool perInterface_;
};

SideLook lookAtSide(const DiagnosisSources& sources, const RateSide& side, const Reader& reader,
                    const Orb::String& policyName) {
    SideLook result;
    result.side = &side;
    result.countsBytes =
        sources.trafficPolicyHwStatus && sources.trafficPolicyHwStatus->byteCountersSupported();
    const Look look(sources, side, reader);
    for (const auto& [name, status] : (sources.*side.sources).status->policyMapStatus()) {
        if (!policyName.empty() && policyName != name) continue;
        const auto* const config = sources.config ? sources.config->policyMapConfig(name) : nullptr;
        if (config == nullptr || !config->currCfg()) continue;
        result.policies.push_back(look.policy(name, *status, *config->currCfg()));
    }
    return result;
}

}  // namespace

std::span<const RateSide> rateSides() { return sides; }

std::vector<SideLook> lookAt(const DiagnosisSources& sources, const LookTimes& times,
                             const RateScope& scope, const Orb::String& policyName) {
    std::vector<SideLook> looks;
    for (const RateSide& side : sides) {
        const SideSources& from = sources.*side.sources;
        if (!(scope.*side.isWanted) || !from.status) continue;
        const auto reader = liveReaderOf(sources, from);
        if (!reader) continue;
        const bool isFromStore = side.isOfInterfaces && sources.trafficPolicyHwStatus &&
                                 sources.trafficPolicyHwStatus->countersInReef();
        looks.push_back(lookAtSide(sources, side, *reader, policyName));
        looks.back().time = isFromStore ? times.counterStore : times.status;
    }
    return looks;
}

}  // namespace TrafficPolicyCli
