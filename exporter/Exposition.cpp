#include "exporter/Exposition.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "base/Version.h"

namespace Exporter {

namespace {

enum class Type { counter, gauge, info };
constexpr std::string_view typeNames[] = {"counter", "gauge", "info"};
constexpr std::string_view suffixes[] = {"_total", "", "_info"};

struct Family;

// Writes samples of one family and one switch.
class Samples {
  public:
    Samples(std::string& out, Format format, const Family& family, const Reading& reading)
        : out_(out), format_(format), family_(family), reading_(reading) {}

    const Reading& reading() const { return reading_; }
    bool isOpenMetrics() const { return format_ == Format::openMetrics; }

    // begin(), any number of label(), and value().
    Samples& begin(std::string_view suffix);
    Samples& begin();
    Samples& label(std::string_view name, std::string_view value) {
        if (value.empty()) return *this;
        out_ += out_.size() > labelsAt_ ? ',' : '{';
        out_.append(name).append("=\"");
        appendEscaped(value);
        out_ += '"';
        return *this;
    }
    void value(U64 number) {
        char digits[24];
        endLabels();
        out_.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
        out_ += '\n';
    }
    // With three digits behind the point.
    void seconds(double number) {
        char digits[32];
        endLabels();
        const auto milliseconds = static_cast<U64>(std::llround(std::max(number, 0.0) * 1000));
        char* end = std::to_chars(std::begin(digits), std::end(digits), milliseconds / 1000).ptr;
        *end++ = '.';
        for (const U64 digit : {milliseconds / 100, milliseconds / 10, milliseconds}) {
            *end++ = static_cast<char>('0' + digit % 10);
        }
        *end++ = '\n';
        out_.append(digits, end);
    }
    // Begins a sample with the labels of the last one.
    Samples& again(std::string_view suffix);

  private:
    void endLabels() {
        labelsSize_ = out_.size() - labelsAt_;
        out_ += labelsSize_ > 0 ? "} " : " ";
    }
    void appendEscaped(std::string_view value) {
        const auto isPlain = [](char byte) { return byte != '"' && byte != '\\' && byte != '\n'; };
        while (!value.empty()) {
            const auto end = std::ranges::find_if_not(value, isPlain);
            out_.append(value.begin(), end);
            if (end == value.end()) return;
            out_ += '\\';
            out_ += *end == '\n' ? 'n' : *end;
            value.remove_prefix(static_cast<std::size_t>(end - value.begin()) + 1);
        }
    }

    std::string& out_;
    Format format_;
    const Family& family_;
    const Reading& reading_;
    std::size_t labelsAt_ = 0;
    std::size_t labelsSize_ = 0;
};

struct Family {
    std::string_view name;  // without the suffix of its type
    Type type;
    std::string_view unit;  // with which the name ends; empty: none
    std::string_view help;
    // How many items a switch has, of which each writes its samples, if any.
    std::size_t (*items)(const Reading& reading);
    void (*write)(Samples& samples, std::size_t item);
};

Samples& Samples::begin(std::string_view suffix) {
    out_.append(family_.name).append(suffix);
    labelsAt_ = out_.size();
    return label("switch", reading_.name);
}
Samples& Samples::again(std::string_view suffix) {
    out_.append(family_.name).append(suffix).append(out_, labelsAt_, labelsSize_);
    labelsAt_ = out_.size() - labelsSize_;
    return *this;
}
Samples& Samples::begin() { return begin(suffixes[static_cast<std::size_t>(family_.type)]); }

// One series, of every switch and of those that can be read.
std::size_t always(const Reading&) { return 1; }
std::size_t whenRead(const Reading& reading) { return reading.plan ? 1 : 0; }

// An item for each counter, or two for each group: rules that do not drop and those that do.
std::size_t counters(const Reading& reading) {
    if (!reading.plan) return 0;
    return reading.counts.empty() ? 2 * reading.totals.size() : reading.counts.size();
}

// A counter of a rule or a named one, or with an empty name all of a group.
struct Counter {
    const CounterGroup& group;
    std::string_view name;
    bool isOfRule;
    bool isDrop;
};

Samples& beginCounter(Samples& samples, const Counter& counter) {
    return samples.begin("_total")
        .label("policy", counter.group.policy)
        .label(counter.isOfRule ? "rule" : "counter", counter.name)
        .label("action", counter.isDrop ? "drop" : "")
        .label("kind", counter.group.kind)
        .label("direction", counter.group.direction);
}

void writeTotal(Samples& samples, std::size_t item, bool ofRules, U64 PacketAndByte::*count) {
    const CounterGroup& group = samples.reading().plan->groups[item / 2];
    const GroupTotal& total = samples.reading().totals[item / 2];
    const bool isDrop = item % 2 != 0;
    if (ofRules ? !group.hasRules.at(item % 2) : isDrop || group.firstNamed == group.endRow) return;
    beginCounter(samples, {group, "", ofRules, isDrop})
        .value(ofRules ? total.rulePackets.at(item % 2) : total.named.*count);
}

void writeCounter(Samples& samples, std::size_t item, bool ofRules, U64 PacketAndByte::*count) {
    const Reading& reading = samples.reading();
    if (reading.counts.empty()) {
        writeTotal(samples, item, ofRules, count);
        return;
    }
    const CounterRow& row = reading.plan->rows[item];
    if (!reading.counts[item] || reading.plan->isRule(row, item) != ofRules) return;
    const Counter counter{reading.plan->groups[row.group], row.name, ofRules, row.isDrop};
    beginCounter(samples, counter).value((*reading.counts[item]).*count);
    if (samples.isOpenMetrics() && row.created > 0) {
        samples.again("_created").seconds(row.created);
    }
}

const Family families[] = {
    {"traffic_policy_build", Type::info, "", "The version of the exporter.",
     [](const Reading&) { return std::size_t{0}; }, nullptr},
    {"traffic_policy_up", Type::gauge, "",
     "Whether the state of the switch could be read; without it there is nothing else of it.",
     always,
     [](Samples& samples, std::size_t) { samples.begin().value(samples.reading().plan ? 1 : 0); }},
    {"traffic_policy_load_errors", Type::counter, "",
     "How many times the documents of the state were refused since the exporter began.", always,
     [](Samples& samples, std::size_t) { samples.begin().value(samples.reading().loadErrors); }},
    {"traffic_policy_state_age_seconds", Type::gauge, "seconds",
     "The time since a document of the state was written.",
     [](const Reading& reading) { return 2 * whenRead(reading); },
     [](Samples& samples, std::size_t item) {
         samples.begin()
             .label("document", item == 0 ? "config.json" : "status.json")
             .seconds(samples.reading().ages.at(item));
     }},
    {"traffic_policy_store_up", Type::gauge, "",
     "Whether the shared-memory counter store could be read, where the state has its counts there.",
     [](const Reading& reading) { return std::size_t{reading.hasStore ? 1U : 0U}; },
     [](Samples& samples, std::size_t) {
         samples.begin().value(*samples.reading().hasStore ? 1 : 0);
     }},
    {"traffic_policy_store_records_not_available", Type::gauge, "",
     "How many records of the counter store are damaged or were left unfinished.",
     [](const Reading& reading) { return std::size_t{reading.hasStore ? 1U : 0U}; },
     [](Samples& samples, std::size_t) { samples.begin().value(samples.reading().notAvailable); }},
    {"traffic_policy_problems", Type::gauge, "",
     "How many problems the policies have, by kind, as the command about problems lists them.",
     [](const Reading& reading) { return reading.plan ? reading.plan->health.problems.size() : 0; },
     [](Samples& samples, std::size_t item) {
         const auto& problem = samples.reading().plan->health.problems[item];
         samples.begin().label("kind", problem.kind).value(problem.count);
     }},
    {"traffic_policy_rules", Type::gauge, "", "How many rules a policy has.",
     [](const Reading& reading) { return reading.plan ? reading.plan->health.rules.size() : 0; },
     [](Samples& samples, std::size_t item) {
         const auto& policy = samples.reading().plan->health.rules[item];
         samples.begin().label("policy", policy.policy).value(policy.rules);
     }},
    {"traffic_policy_rules_not_taken", Type::gauge, "",
     "How many rules of a policy the platform did not take where the policy is.",
     [](const Reading& reading) { return reading.plan ? reading.plan->health.rules.size() : 0; },
     [](Samples& samples, std::size_t item) {
         const auto& policy = samples.reading().plan->health.rules[item];
         samples.begin().label("policy", policy.policy).value(policy.notTaken);
     }},
    {"traffic_policy_installed", Type::gauge, "",
     "Whether the rules of a family of a policy are installed at a point where they should be.",
     [](const Reading& reading) {
         return reading.plan ? reading.plan->health.installations.size() : 0;
     },
     [](Samples& samples, std::size_t item) {
         const auto& installation = samples.reading().plan->health.installations[item];
         samples.begin()
             .label("policy", installation.policy)
             .label("kind", installation.kind)
             .label("point", installation.point)
             .label("direction", installation.direction)
             .label("family", installation.family)
             .label("place", installation.place)
             .value(installation.isInstalled ? 1 : 0);
     }},
    {"traffic_policy_rule_packets", Type::counter, "packets", "Packets that rules took.", counters,
     [](Samples& samples, std::size_t item) {
         writeCounter(samples, item, true, &PacketAndByte::packets);
     }},
    {"traffic_policy_counter_packets", Type::counter, "packets",
     "Packets that named counters counted.", counters,
     [](Samples& samples, std::size_t item) {
         writeCounter(samples, item, false, &PacketAndByte::packets);
     }},
    {"traffic_policy_counter_bytes", Type::counter, "bytes",
     "Bytes that named counters counted, where the platform counts bytes.",
     [](const Reading& reading) {
         return reading.plan && reading.plan->countsBytes ? counters(reading) : 0;
     },
     [](Samples& samples, std::size_t item) {
         writeCounter(samples, item, false, &PacketAndByte::bytes);
     }},
};

void appendHead(std::string& out, const Family& family, Format format) {
    const bool isOpenMetrics = format == Format::openMetrics;
    // The text format knows no infos, and names a counter as its samples.
    const std::string_view suffix =
        isOpenMetrics ? "" : suffixes[static_cast<std::size_t>(family.type)];
    const Type type = !isOpenMetrics && family.type == Type::info ? Type::gauge : family.type;
    const auto line = [&](std::string_view word, std::string_view text) {
        out.append("# ").append(word).append(" ").append(family.name).append(suffix);
        out.append(" ").append(text).append("\n");
    };
    line("HELP", family.help);
    line("TYPE", typeNames[static_cast<std::size_t>(type)]);
    if (isOpenMetrics && !family.unit.empty()) line("UNIT", family.unit);
    if (family.type == Type::info) {
        out.append(family.name).append("_info{version=\"").append(Base::version).append("\"} 1\n");
    }
}

}  // namespace

Exposition::Exposition(std::vector<Reading> readings, Format format)
    : readings_(std::move(readings)), format_(format) {}

bool Exposition::next(std::string& out, std::size_t atLeast) {
    if (isEnded_) return false;
    const std::size_t enough = out.size() + atLeast;
    for (; family_ < std::size(families); ++family_, switch_ = 0) {
        const Family& family = families[family_];
        if (switch_ == 0 && item_ == 0) appendHead(out, family, format_);
        for (; switch_ < readings_.size(); ++switch_, item_ = 0) {
            Samples samples(out, format_, family, readings_[switch_]);
            const std::size_t items = family.items(readings_[switch_]);
            while (item_ < items) {
                family.write(samples, item_++);
                if (out.size() >= enough) return true;
            }
        }
    }
    if (format_ == Format::openMetrics) out += "# EOF\n";
    isEnded_ = true;
    return true;
}

}  // namespace Exporter
