#include "StateGenerator.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>
#include <stdexcept>

namespace Bench {

namespace {

struct Service {
    const char* name;
    U32 protocol;
    const char* ports;  // as the document has them
};
constexpr Service services[] = {
    {"web", 6, "80"},   {"https", 6, "443"},   {"dns", 17, "53"},
    {"ntp", 17, "123"}, {"ssh", 6, "22"},      {"smtp", 6, "25,587"},
    {"smb", 6, "445"},  {"netconf", 6, "830"}, {"radius", 17, "\"1812-1813\""},
    {"bgp", 6, "179"},  {"snmp", 17, "161"},   {"rtp", 17, "\"16384-32767\""},
};
constexpr const char* places[] = {"EDGE", "CORE", "ACCESS", "SERVERS", "DMZ", "GUEST"};

// A document on its way to a file.
class Document {
  public:
    explicit Document(const std::string& path)
        : path_(path), file_(std::fopen(path.c_str(), "w"), &std::fclose) {
        if (!file_) fail();
    }

    Document& operator<<(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() > bufferSize) write();
        return *this;
    }
    Document& operator<<(U64 number) { return *this << std::to_string(number); }
    // A comma between the entries of an object or a list.
    Document& entry(U32 index) { return *this << (index == 0 ? "" : ","); }

    void end() {
        write();
        if (std::fclose(file_.release()) != 0) fail();
    }

  private:
    static constexpr std::size_t bufferSize = 1U << 20;

    void write() {
        if (std::fwrite(buffer_.data(), 1, buffer_.size(), file_.get()) != buffer_.size()) fail();
        buffer_.clear();
    }
    [[noreturn]] void fail() const { throw std::runtime_error("cannot write " + path_); }

    std::string path_;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    std::string buffer_;
};

class Generator {
  public:
    Generator(const StateShape& shape, const std::string& directory)
        : shape_(shape),
          random_(shape.seed),
          config_(directory + "/config.json"),
          status_(directory + "/status.json") {}

    void run() {
        config_ << R"({"policyMapConfig":{)";
        for (U32 policy = 0; policy < shape_.policies; ++policy) configurePolicy(policy);
        config_ << R"(},"fieldSetConfig":{"fieldSetIpPrefix":{)";
        for (U32 set = 0; set < shape_.fieldSets; ++set) configureFieldSet(set);
        config_ << "}}";
        attach("intfConfigInput", false);
        attach("intfConfigOutput", true);
        config_ << "}\n";
        config_.end();

        status_ << R"({"hwStatus":{"countersInReef":false,"byteCountersSupported":true},)"
                << R"("intfParamStatus":{"ingressCounterGranularity":"perPolicy",)"
                << R"("egressCounterGranularity":"perPolicy"})";
        report("interfaceInput", false);
        report("interfaceOutput", true);
        status_ << "}\n";
        status_.end();
    }

  private:
    // Distributions of the standard library differ between libraries.
    U32 below(U32 bound) { return static_cast<U32>(random_() % bound); }

    static bool isOutput(U32 policy) { return policy % 4 == 3; }
    static std::string policyName(U32 policy) {
        return std::string(places[policy % std::size(places)]) + "-" +
               std::to_string(policy / std::size(places) + 1) + (isOutput(policy) ? "-OUT" : "-IN");
    }
    static const Service& serviceOf(U32 policy, U32 rule) {
        return services[(policy + rule * 7) % std::size(services)];
    }
    static std::string ruleName(U32 policy, U32 rule) {
        return std::string("deny-") + serviceOf(policy, rule).name + "-" +
               std::to_string(rule * 10 + 10);
    }
    // Spread alike, and the same whenever it is asked.
    bool isIpv6(U32 policy, U32 rule) const {
        return (policy + rule) * 37 % 100 < shape_.ipv6Percent;
    }
    U32 namedCounters() const { return (shape_.rules + 9) / 10; }
    static std::string counterName(U32 counter) {
        return "DROPS-" + std::to_string(counter * 10 + 10);
    }
    static std::string interfaceName(U32 point) {
        return "Ethernet" + std::to_string(point / 4800 + 1) + "/" +
               std::to_string(point / 100 % 48 + 1) + "." + std::to_string(point % 100 + 1);
    }

    static std::string ipv4Text(U32 address, U32 length) {
        const U32 masked = length == 0 ? 0 : address >> (32 - length) << (32 - length);
        std::string text;
        for (int shift = 24; shift >= 0; shift -= 8) {
            text += std::to_string(masked >> shift & 255) + (shift > 0 ? "." : "/");
        }
        return text + std::to_string(length);
    }
    std::string prefix(bool ipv6) {
        if (ipv6) {
            char text[32];
            std::snprintf(text, sizeof text, "2001:db8:%x::/48", 1 + below(65535));
            return text;
        }
        return ipv4Text(10U << 24 | below(1U << 24), 12 + below(21));
    }

    void configurePolicy(U32 policy) {
        config_.entry(policy) << "\"" << policyName(policy) << R"(":{"currCfg":{"namedCounter":[)";
        for (U32 counter = 0; counter < namedCounters(); ++counter) {
            config_.entry(counter) << "\"" << counterName(counter) << "\"";
        }
        config_ << R"(],"rules":[)";
        for (U32 rule = 0; rule < shape_.rules; ++rule) configureRule(policy, rule);
        config_ << "]}}";
    }

    void configureRule(U32 policy, U32 rule) {
        const Service& service = serviceOf(policy, rule);
        const bool ipv6 = isIpv6(policy, rule);
        config_.entry(rule) << R"({"name":")" << ruleName(policy, rule) << R"(","priority":)"
                            << rule * 10 + 10 << R"(,"match":{")" << (ipv6 ? "ipv6" : "ipv4")
                            << R"(":{"structuredFilter":{"sources":[")" << prefix(ipv6)
                            << R"("],"destinations":[")" << prefix(ipv6) << R"("],"protocols":{")"
                            << service.protocol << R"(":{"portFields":[{"sport":["1024-65535"],)"
                            << R"("dport":[)" << service.ports << R"(]}]}}}}},"action":{"drop":{},)"
                            << R"("count":{)";
        if (rule % 10 == 0) config_ << R"("counterName":")" << counterName(rule / 10) << "\"";
        config_ << "}}}";
    }

    // Every prefix lies in a /24 of its own, so all are different.
    void configureFieldSet(U32 set) {
        constexpr U64 networks = 223 * 65536;  // 1.0.0.0/24 to 223.255.255.0/24
        constexpr U64 step = 7'368'787;        // no factor in common with the above
        const U64 first = below(static_cast<U32>(networks));
        config_.entry(set) << R"("BLOCKLIST-)" << set + 1 << R"(":{"currCfg":{"prefixes":[)";
        for (U32 i = 0; i < shape_.prefixes; ++i) {
            const auto network = static_cast<U32>((first + i * step) % networks + 65536);
            config_.entry(i) << "\"" << ipv4Text(network << 8 | below(256), 24 + below(9)) << "\"";
        }
        config_ << "]}}";
    }

    void attach(std::string_view key, bool output) {
        config_ << ",\"" << key << "\":{";
        U32 entries = 0;
        for (U32 policy = 0; policy < shape_.policies; ++policy) {
            if (isOutput(policy) != output) continue;
            for (U32 point = 0; point < shape_.points; ++point) {
                config_.entry(entries++) << "\"" << interfaceName(policy * shape_.points + point)
                                         << "\":\"" << policyName(policy) << "\"";
            }
        }
        config_ << "}";
    }

    void report(std::string_view key, bool output) {
        status_ << ",\"" << key << R"(":{"policyMapStatus":{)";
        U32 entries = 0;
        for (U32 policy = 0; policy < shape_.policies; ++policy) {
            if (isOutput(policy) != output) continue;
            status_.entry(entries++) << "\"" << policyName(policy) << R"(":{"classMapStatus":{)";
            for (U32 rule = 0; rule < shape_.rules; ++rule) {
                status_.entry(rule) << "\"" << ruleName(policy, rule) << R"(":[")"
                                    << (isIpv6(policy, rule) ? "ipv6" : "ipv4") << R"("])";
            }
            status_ << R"(},"intfStatus":{)";
            for (U32 point = 0; point < shape_.points; ++point) {
                status_.entry(point)
                    << "\"" << interfaceName(policy * shape_.points + point) << R"(":{"ipv4":)";
                reportInstallation();
                status_ << R"(,"ipv6":)";
                reportInstallation();
                status_ << "}";
            }
            status_ << R"(},"classCounter":{)";
            for (U32 rule = 0; rule < shape_.rules; ++rule) {
                status_.entry(rule) << "\"" << ruleName(policy, rule) << "\":";
                reportCounter();
            }
            status_ << R"(},"namedCounter":{)";
            for (U32 counter = 0; counter < namedCounters(); ++counter) {
                status_.entry(counter) << "\"" << counterName(counter) << "\":";
                reportCounter();
            }
            status_ << "}}";
        }
        status_ << "}}";
    }

    void reportInstallation() {
        if (below(64) != 0) {
            status_ << R"({"state":"programmed"})";
        } else {
            status_ << R"({"state":"failed","errorText":"TCAM full: )" << 200 + below(400)
                    << " entries needed, " << below(200) << R"( free"})";
        }
    }

    void reportCounter() {
        const U64 packets = below(10) == 0 ? 0 : random_() >> (24 + below(36));
        status_ << R"({"uniqueId":)" << ++lastId_ << R"(,"packets":)" << packets << R"(,"bytes":)"
                << packets * (64 + below(1437)) << "}";
    }

    StateShape shape_;
    std::mt19937_64 random_;
    Document config_;
    Document status_;
    U64 lastId_ = 0;
};

}  // namespace

void generateState(const StateShape& shape, const std::string& directory) {
    std::filesystem::create_directories(directory);
    Generator(shape, directory).run();
}

}  // namespace Bench
