// Rates from two looks: by policy, or the busiest counters of all.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unordered_map>

#include "base/Time.h"
#include "counters/RateLook.h"
#include "diagnosis/Table.h"
#include "frame/Creator.h"
#include "frame/Report.h"
#include "frame/Trace.h"

namespace TrafficPolicyCli {

using textout::RendererV2;

ORB_DEFINE_TYPE(ShowTrafficPolicyRates)

namespace {

enum class RateKind : U8 {
    known,
    restarted,  // the record was made anew in between
    noNewer,    // the platform told no newer counts in between
};

// What came between two looks at a record.
struct Rate {
    RateKind kind = RateKind::noNewer;
    PolicyMap::PacketAndByte came = {};
    double seconds = 0;

    double packets() const { return static_cast<double>(came.packets) / seconds; }
    double bits() const { return static_cast<double>(came.bytes) * 8 / seconds; }
};

Rate rateOf(const Figures* before, const Figures& now, double seconds) {
    if (seconds <= 0) return {};
    const bool isSame = before != nullptr && before->uniqueId == now.uniqueId &&
                        before->live.packets <= now.live.packets &&
                        before->live.bytes <= now.live.bytes;
    if (!isSame) return {RateKind::restarted};
    return {RateKind::known,
            {now.live.packets - before->live.packets, now.live.bytes - before->live.bytes},
            seconds};
}

U64 rounded(double value) {
    constexpr double most = 18446744073709549568.0;  // the largest double that fits
    return static_cast<U64>(std::min(std::round(value), most));
}

// Slow rates with a digit behind the point: one packet in ten seconds is not none.
Orb::String rateText(double value) {
    if (value > 0 && value < 0.1) return "<0.1";
    if (value == 0 || value >= 9.95) return std::to_string(rounded(value));
    char text[8];
    std::snprintf(text, sizeof text, "%.1f", value);
    return text;
}

Orb::String exactTimeText(Orb::Seconds time) {
    const auto milliseconds = static_cast<U64>(std::llround(time.count() * 1000));
    char fraction[8];
    std::snprintf(fraction, sizeof fraction, ".%03u", static_cast<U32>(milliseconds % 1000));
    const U64 seconds = milliseconds / 1000;
    Orb::String text = Base::timeText(Orb::Seconds(static_cast<double>(seconds)));
    return text.insert(text.size() - 1, fraction);
}

// The counters of a policy in a former look.
class Former {
  public:
    explicit Former(const PolicyLook* policy) {
        if (policy == nullptr) return;
        for (const CounterLook& counter : policy->counters) {
            (counter.isNamed ? named_ : rules_)[counter.name] = &counter;
        }
    }
    const CounterLook* find(const CounterLook& now) const {
        const auto& counters = now.isNamed ? named_ : rules_;
        const auto found = counters.find(now.name);
        return found == counters.end() || !found->second->isLive ? nullptr : found->second;
    }

  private:
    using Counters = std::unordered_map<std::string_view, const CounterLook*>;
    Counters named_, rules_;
};

const Figures* interfaceOf(const CounterLook* counter, const Orb::String& name) {
    if (counter == nullptr) return nullptr;
    const auto found = std::ranges::find(counter->interfaces, name, &InterfaceLook::name);
    return found == counter->interfaces.end() ? nullptr : &found->figures;
}

const PolicyLook* policyOf(const SideLook* side, const Orb::String& name) {
    if (side == nullptr) return nullptr;
    const auto& policies = side->policies;
    const auto found = std::ranges::lower_bound(policies, name, {}, &PolicyLook::name);
    return found == policies.end() || found->name != name ? nullptr : &*found;
}

// One counter with its rate.
struct RatedCounter {
    const SideLook* side;
    const PolicyLook* policy;
    const CounterLook* counter;
    const CounterLook* before;
    Rate rate;
};

class RateView {
  public:
    RateView(RendererV2& renderer, const std::vector<SideLook>& before,
             const std::vector<SideLook>& now)
        : renderer_(renderer), before_(before), now_(now) {}

    void all() {
        const auto list = renderer_.list("sides");
        bool isFirst = true;
        for (const SideLook& side : now_) {
            if (!isFirst) renderer_.endLine();
            isFirst = false;
            const auto object = renderer_.object();
            const double seconds = times(side);
            const auto policies = renderer_.list("policies");
            forEachPolicy(side, seconds, [&](const PolicyLook& policy, const auto& counters) {
                const auto shown = renderer_.object();
                renderer_.pair("policy", policy.name);
                renderer_.text("Traffic policy ").name(policy.name).endLine();
                const auto figures = renderer_.list("counters");
                for (const RatedCounter& counted : counters) one(counted, seconds);
            });
        }
    }

    void busiest(U64 most) {
        std::vector<RatedCounter> found;
        for (const SideLook& side : now_) {
            forEachPolicy(side, secondsOf(side), [&](const PolicyLook&, const auto& counters) {
                for (const RatedCounter& counted : counters) {
                    if (counted.rate.kind == RateKind::known && counted.rate.came.packets > 0) {
                        found.push_back(counted);
                    }
                }
            });
        }
        std::ranges::stable_sort(found, std::greater<>(), [](const RatedCounter& counted) {
            return counted.rate.packets();
        });
        if (found.size() > most) found.resize(most);
        {
            const auto list = renderer_.list("sides");
            for (const SideLook& side : now_) {
                const auto object = renderer_.object();
                times(side);
            }
        }
        if (found.empty()) renderer_.text("Nothing was counted.").endLine();
        Diagnosis::Table table(renderer_,
                               {"Packets/s", "Bits/s", "Side", "Policy", "Counter", "Packets"});
        const auto list = renderer_.list("busiest");
        for (const RatedCounter& counted : found) busyOne(counted, table);
        if (!found.empty()) table.print();
    }

  private:
    const SideLook* beforeOf(const SideLook& side) const {
        const auto found = std::ranges::find(before_, side.side, &SideLook::side);
        return found == before_.end() ? nullptr : &*found;
    }
    double secondsOf(const SideLook& side) const {
        const SideLook* const before = beforeOf(side);
        return before == nullptr ? 0 : (side.time - before->time).count();
    }

    // Visits the policies with their counters, each beside what it was before.
    template <class Visit>
    void forEachPolicy(const SideLook& side, double seconds, Visit visit) const {
        const SideLook* const sideBefore = beforeOf(side);
        for (const PolicyLook& policy : side.policies) {
            textout::checkInterrupt();
            const Former former(policyOf(sideBefore, policy.name));
            std::vector<RatedCounter> counters;
            counters.reserve(policy.counters.size());
            for (const CounterLook& counter : policy.counters) {
                const CounterLook* const before = former.find(counter);
                const Figures* const figures = before == nullptr ? nullptr : &before->figures;
                counters.push_back(
                    {&side, &policy, &counter, before, rateOf(figures, counter.figures, seconds)});
            }
            visit(policy, counters);
        }
    }

    // The heading of a side, and the times of its looks. Returns the seconds between them.
    double times(const SideLook& side) {
        const double seconds = secondsOf(side);
        const Orb::Seconds from(side.time.count() - seconds);
        renderer_.pair("side", side.side->key);
        renderer_.pair("from", exactTimeText(from));
        renderer_.pair("to", exactTimeText(side.time));
        renderer_.pair("milliseconds", rounded(std::max(seconds, 0.0) * 1000));
        renderer_.text("Traffic-policies applied on ").text(side.side->heading).text(": ");
        if (seconds > 0) {
            char text[32];
            std::snprintf(text, sizeof text, "%.1f s up to ", seconds);
            renderer_.text(text).text(exactTimeText(side.time)).endLine();
        } else {
            renderer_.text("counts of ").text(exactTimeText(side.time)).endLine();
            renderer_.text("NOTE: the platform told no newer counts, so that there are no rates");
            renderer_.endLine();
        }
        return seconds;
    }

    void one(const RatedCounter& counted, double seconds) {
        const CounterLook& counter = *counted.counter;
        constexpr U32 indent = 3;
        const auto object = renderer_.object();
        renderer_.pair(counter.isNamed ? "counter" : "rule", counter.name);
        renderer_.indent(indent).text(counter.isNamed ? "" : "match rule: ").name(counter.name);
        renderer_.text(":");
        if (!counter.isLive) {
            renderer_.text(" N/A").endLine();
            return;
        }
        const bool showsBytes = counter.isNamed && counted.side->countsBytes;
        if (counter.isPerInterface) {
            renderer_.endLine();
            const auto list = renderer_.list("interfaces");
            for (const InterfaceLook& intf : counter.interfaces) {
                const auto shown = renderer_.object();
                renderer_.pair("interface", intf.name);
                renderer_.indent(indent + 3).name(intf.name).text(":");
                figures(intf.figures,
                        rateOf(interfaceOf(counted.before, intf.name), intf.figures, seconds),
                        showsBytes);
            }
            renderer_.indent(indent + 3).text("Total:");
        }
        figures(counter.figures, counted.rate, showsBytes);
    }

    void figures(const Figures& figures, const Rate& rate, bool showsBytes) {
        rateJson(figures, rate, showsBytes);
        switch (rate.kind) {
            case RateKind::known:
                renderer_.text(" ").text(rateText(rate.packets())).text(" packets/s");
                if (showsBytes) renderer_.text(" ").text(rateText(rate.bits())).text(" bits/s");
                break;
            case RateKind::restarted:
                renderer_.text(" counter restarted");
                break;
            case RateKind::noNewer:
                renderer_.text(" no rate");
                break;
        }
        renderer_.text(", ").number(figures.shown.packets).text(" packets");
        if (showsBytes) renderer_.text(" ").number(figures.shown.bytes).text(" bytes");
        renderer_.endLine();
    }

    void rateJson(const Figures& figures, const Rate& rate, bool showsBytes) {
        if (rate.kind == RateKind::known) {
            renderer_.pair("packetsPerSecond", rounded(rate.packets()));
            renderer_.pair("newPackets", rate.came.packets);
            if (showsBytes) {
                renderer_.pair("bitsPerSecond", rounded(rate.bits()));
                renderer_.pair("newBytes", rate.came.bytes);
            }
        }
        if (rate.kind == RateKind::restarted) renderer_.pair("restarted", true);
        renderer_.pair("packetCount", figures.shown.packets);
        if (showsBytes) renderer_.pair("byteCount", figures.shown.bytes);
    }

    void busyOne(const RatedCounter& counted, Diagnosis::Table& table) {
        const CounterLook& counter = *counted.counter;
        const bool showsBytes = counter.isNamed && counted.side->countsBytes;
        const auto object = renderer_.object();
        renderer_.pair("side", counted.side->side->key);
        renderer_.pair("policy", counted.policy->name);
        renderer_.pair(counter.isNamed ? "counter" : "rule", counter.name);
        rateJson(counter.figures, counted.rate, showsBytes);
        table.cell(rateText(counted.rate.packets()));
        table.cell(showsBytes ? rateText(counted.rate.bits()) : "");
        table.cell(counted.side->side->key);
        table.cell(counted.policy->name);
        table.cell(counter.isNamed ? counter.name : "match rule: " + counter.name);
        table.cell(std::to_string(counter.figures.shown.packets));
    }

    RendererV2& renderer_;
    const std::vector<SideLook>& before_;
    const std::vector<SideLook>& now_;
};

}  // namespace

struct ShowTrafficPolicyRates::Looks {
    std::vector<SideLook> before, now;
};

Orb::String RateScope::stringValue() const {
    return Orb::String(input ? "input " : "") + (output ? "output " : "") + (cpu ? "cpu" : "");
}

ShowTrafficPolicyRates::ShowTrafficPolicyRates(const RateScope& scope, Orb::String policyName)
    : scope_(scope), policyName_(std::move(policyName)), looks_(std::make_unique<Looks>()) {}

ShowTrafficPolicyRates::~ShowTrafficPolicyRates() = default;

void ShowTrafficPolicyRates::look(const DiagnosisSources& sources, const LookTimes& times) {
    SHOW_TRACE_ENTRY();
    looks_->before = std::move(looks_->now);
    looks_->now = lookAt(sources, times, scope(), policyName());
}

void ShowTrafficPolicyRates::render(U32 fd, U32 format, U32 revision) {
    SHOW_TRACE_ENTRY();
    untilInterrupted([&] {
        printReport(fd, format, revision, [&](RendererV2& renderer) {
            RateView view(renderer, looks_->before, looks_->now);
            if (top() > 0) {
                view.busiest(top());
            } else {
                view.all();
            }
        });
    });
}

DEFINE_FACTORY_AND_CREATOR(ShowTrafficPolicyRates, showTrafficPolicyRatesFactory,
                           (const RateScope& scope, const Orb::String& policyName),
                           { return Orb::make<ShowTrafficPolicyRates>(scope, policyName); })

namespace {

const bool registered = Orb::registerFactory<&showTrafficPolicyRatesFactory>();

}  // namespace

}  // namespace TrafficPolicyCli
