// What a scrape shows of a state directory, and which format a client gets.
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include "TemporaryFolder.h"
#include "exporter/Exposition.h"
#include "exporter/Negotiation.h"
#include "exporter/Patience.h"

namespace {

using Exporter::Format;
using Exporter::Grain;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string config = R"({"policyMapConfig": {"E\\D\"GE": {"currCfg": {
    "namedCounter": ["HITS"],
    "rules": [
        {"name": "web", "priority": 1, "match": {"ipv4": {}}, "action": {"count": {}}},
        {"name": "rest", "priority": 2, "match": {"ipv4": {}}, "action": {"drop": {}}}]}}},
    "intfConfigInput": {"Ethernet1": "E\\D\"GE", "Ethernet2": "E\\D\"GE"}})";

std::string statusOf(const std::string& web, const std::string& hits,
                     const std::string& granted = R"("rest": ["ipv4"],)") {
    return R"({"hwStatus": {"byteCountersSupported": true}, "interfaceInput": {"policyMapStatus": {
        "E\\D\"GE": {"classMapStatus": {)" +
           granted + R"("web": ["ipv4"]},
        "intfStatus": {"Ethernet1": {"ipv4": {"state": "programmed"}},
                       "Ethernet2": {"ipv4": {"state": "failed"}}},
        "classCounter": {"web": )" +
           web + R"(, "rest": {"uniqueId": 2, "packets": 7}}, "namedCounter": {"HITS": )" + hits +
           "}}}}}";
}
const std::string web = R"({"uniqueId": 1, "packets": 18446744073709551615})";
const std::string hits = R"({"uniqueId": 3, "packets": 5, "bytes": 320})";

class Exposed : public testing::Test {
  protected:
    void SetUp() override {
        fileIs(folder_.file("config.json"), config);
        fileIs(folder_.file("status.json"), statusOf(web, hits));
    }
    // Writes a document as agents do: whole, and under its name at once.
    void documentIs(const std::string& name, const std::string& text) {
        fileIs(folder_.file("new"), text);
        std::filesystem::rename(folder_.file("new"), folder_.file(name));
    }
    std::string scraped(Format format = Format::text, Grain grain = Grain::perRule) {
        auto& shown = grain == Grain::perRule ? perRule_ : perPolicy_;
        if (!shown) shown.emplace(Exporter::StateName{folder_.path(), "leaf \"1\""}, grain);
        std::vector<Exporter::Reading> readings;
        readings.push_back(shown->read(Exporter::Switch::Clock::now() + std::chrono::minutes(1)));
        Exporter::Exposition exposition(std::move(readings), format);
        std::string text;
        while (exposition.next(text, 1)) {
        }
        return text;
    }

    TemporaryFolder folder_;
    std::optional<Exporter::Switch> perRule_;
    std::optional<Exporter::Switch> perPolicy_;
};

TEST_F(Exposed, showsCountsInstallationAndProblems) {
    const std::string labels = R"({switch="leaf \"1\"",policy="E\\D\"GE",)";
    const std::string counted = R"(kind="interface",direction="input"} )";
    const std::string at = labels + R"(kind="interface",point="Ethernet)";
    const std::string text = scraped();
    for (const std::string& line : std::vector<std::string>{
             R"(traffic_policy_up{switch="leaf \"1\""} 1)",
             "traffic_policy_rule_packets_total" + labels + R"(rule="web",)" + counted +
                 "18446744073709551615",
             "traffic_policy_rule_packets_total" + labels + R"(rule="rest",action="drop",)" +
                 counted + "7",
             "traffic_policy_counter_bytes_total" + labels + R"(counter="HITS",)" + counted + "320",
             "traffic_policy_installed" + at +
                 R"(1",direction="input",family="ipv4",place="hardware"} 1)",
             "traffic_policy_installed" + at +
                 R"(2",direction="input",family="ipv4",place="hardware"} 0)",
             R"(traffic_policy_rules{switch="leaf \"1\"",policy="E\\D\"GE"} 2)",
             std::string(
                 R"(traffic_policy_problems{switch="leaf \"1\"",kind="installationFailed"} 1)"),
         }) {
        EXPECT_THAT(text, HasSubstr("\n" + line + "\n"));
    }
    EXPECT_THAT(text, AllOf(Not(HasSubstr("_created")), Not(HasSubstr("traffic_policy_store"
                                                                      "_up{"))));
}

// A scrape never shows what was read before the state went bad.
TEST_F(Exposed, showsNothingOfAStateThatCannotBeRead) {
    EXPECT_THAT(scraped(), HasSubstr("rule=\"web\""));
    for (const char* name : {"status.json", "config.json"}) {
        const std::string good = contentsOf(folder_.file(name));
        documentIs(name, "{");
        EXPECT_THAT(scraped(), AllOf(HasSubstr("traffic_policy_up{switch=\"leaf \\\"1\\\"\"} 0\n"),
                                     Not(HasSubstr("policy=")), Not(HasSubstr("_problems{"))));
        std::filesystem::remove(folder_.file(name));
        EXPECT_THAT(scraped(), Not(HasSubstr("policy=")));
        documentIs(name, good);
        EXPECT_THAT(scraped(), HasSubstr("rule=\"web\""));
    }
    EXPECT_THAT(scraped(), HasSubstr("load_errors_total{switch=\"leaf \\\"1\\\"\"} 4\n"));
}

TEST_F(Exposed, tellsWhenACounterBegan) {
    const auto created = [&](const std::string& name) {
        const std::string text = scraped(Format::openMetrics);
        EXPECT_TRUE(text.ends_with("# EOF\n"));
        const std::size_t line = text.find("_packets_created", text.find(name + "\",kind") - 100);
        const std::size_t value = text.find("} ", line) + 2;
        return text.substr(value, text.find('\n', value) - value);
    };
    const std::string first = created("web");
    const std::string ofHits = created("HITS");
    documentIs("status.json", statusOf(R"({"uniqueId": 1, "packets": 9})", hits, ""));
    EXPECT_EQ(created("web"), first);
    documentIs("status.json", statusOf(R"({"uniqueId": 8, "packets": 9})", hits));
    EXPECT_NE(created("web"), first);
    EXPECT_EQ(created("HITS"), ofHits);
}

// What a policy counted never falls, and never grows by what another counter had counted before.
TEST_F(Exposed, addsUpWithoutFallingOrJumping) {
    const auto total = [&] {
        const std::string text = scraped(Format::text, Grain::perPolicy);
        EXPECT_THAT(text, Not(HasSubstr("rule=\"")));
        const std::string before = R"(E\\D\"GE",kind="interface",direction="input"} )";
        const std::size_t value =
            text.find(before, text.find("\ntraffic_policy_rule_packets_total{")) + before.size();
        return std::stoull(text.substr(value));
    };
    documentIs("status.json", statusOf(R"({"uniqueId": 1, "packets": 100})", hits));
    EXPECT_EQ(total(), 100U);
    const struct {
        const char* what;
        const char* web;
        const char* granted;
        U64 expected;
    } rows[] = {
        {"counted on", R"({"uniqueId": 1, "packets": 130})", R"("rest": ["ipv4"],)", 130},
        {"began anew", R"({"uniqueId": 8, "packets": 4000})", R"("rest": ["ipv4"],)", 130},
        {"counted on", R"({"uniqueId": 8, "packets": 4010})", R"("rest": ["ipv4"],)", 140},
        {"a rule went", R"({"uniqueId": 8, "packets": 4011})", "", 141},
        {"and came back", R"({"uniqueId": 8, "packets": 4011})", R"("rest": ["ipv4"],)", 141},
        {"fell", R"({"uniqueId": 8, "packets": 1})", R"("rest": ["ipv4"],)", 141},
    };
    for (const auto& row : rows) {
        documentIs("status.json", statusOf(row.web, hits, row.granted));
        EXPECT_EQ(total(), row.expected) << row.what;
    }
}

// Scrapes at once, while documents change, are refused, and come back: each shows one state, whole.
class ExposedThreads : public Exposed {};
TEST_F(ExposedThreads, showOneStateEachWhileDocumentsChange) {
    documentIs("status.json", statusOf(hits, hits));
    Exporter::Switch shown({folder_.path(), "leaf"}, Grain::perRule);
    std::atomic<bool> ends = false;
    std::atomic<int> scrapes = 0;
    const auto scrape = [&] {
        while (!ends) {
            std::vector<Exporter::Reading> readings;
            readings.push_back(
                shown.read(Exporter::Switch::Clock::now() + std::chrono::minutes(1)));
            Exporter::Exposition exposition(std::move(readings), Format::openMetrics);
            std::string text;
            while (exposition.next(text, 100)) {
            }
            const bool isUp = text.find("up{switch=\"leaf\"} 1\n") != text.npos;
            ++scrapes;
            // Both counters are of the same document.
            const auto countAt = [&](const std::string& label) {
                const std::size_t at = text.find("} ", text.find(label));
                return text.substr(at, text.find('\n', at) - at);
            };
            if (!isUp) {
                EXPECT_THAT(text, Not(HasSubstr("policy=")));
            } else {
                EXPECT_EQ(countAt("rule=\"web\""), countAt("counter=\"HITS\""));
            }
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) threads.emplace_back(scrape);
    for (int round = 0; round < 20; ++round) {
        const std::string record = R"({"uniqueId": 1, "packets": )" + std::to_string(round) + "}";
        documentIs("status.json", round % 5 == 4 ? "{" : statusOf(record, record));
        while (scrapes < 5 * round) std::this_thread::yield();
    }
    ends = true;
    for (std::thread& thread : threads) thread.join();
}

TEST(Negotiation, givesClientsWhatTheyLikeBest) {
    const struct {
        const char* accept;
        Format format;
    } formats[] = {
        {"", Format::text},
        {"*/*", Format::text},
        {"application/openmetrics-text", Format::openMetrics},
        {"Application/OpenMetrics-Text ; version=1.0.0 ; charset=utf-8", Format::openMetrics},
        {"application/openmetrics-text;version=2.0.0,text/plain;q=0.1", Format::text},
        {"application/openmetrics-text;version=1.0.0,application/openmetrics-text;version=0.0.1;"
         "q=0.75,text/plain;version=0.0.4;q=0.5,*/*;q=0.1",
         Format::openMetrics},
        {"text/plain;version=0.0.4,application/openmetrics-text;q=0.9", Format::text},
        {"application/openmetrics-text;q=0", Format::text},
        {"application/openmetrics-text;q=nonsense", Format::text},
        {";;,,q=", Format::text},
    };
    for (const auto& row : formats) {
        EXPECT_EQ(Exporter::formatFor(row.accept), row.format) << row.accept;
    }
    const struct {
        const char* encodings;
        bool isGzip;
    } rows[] = {{"", false},
                {"gzip", true},
                {"deflate, GZIP;q=0.5", true},
                {"gzip;q=0", false},
                {"*", true},
                {"*, gzip;q=0.000", false},
                {"identity", false},
                {"br;q=1.0, *;q=0", false}};
    for (const auto& row : rows) {
        EXPECT_EQ(Exporter::wantsGzip(row.encodings), row.isGzip) << row.encodings;
    }
}

TEST(Patience, endsWhatTakesTooLong) {
    using Exporter::Patience;
    int sockets[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, sockets), 0);
    const auto isEnded = [&] {
        char byte = 0;
        return ::read(sockets[1], &byte, 1) == 0;
    };
    const Patience::Clock::time_point start{};
    Patience patience;
    patience.begins(&sockets[0], sockets[0], start);
    patience.begins(&sockets[0], sockets[0], start + Patience::longest);  // a response
    patience.begins(&patience, sockets[0], start);
    patience.ends(&patience);
    patience.endLate(start + 2 * Patience::longest);
    EXPECT_FALSE(isEnded());
    patience.endLate(start + 2 * Patience::longest + std::chrono::seconds(1));
    EXPECT_TRUE(isEnded());
    ::close(sockets[0]);
    ::close(sockets[1]);
}

TEST(ExporterOptions, nameSwitches) {
    const auto names = [](const std::vector<std::string>& arguments) {
        Exporter::Options options;
        std::string text;
        try {
            Exporter::parseOptions(arguments, options);
        } catch (const Base::OptionError& error) {
            return std::string(error.what());
        }
        for (const auto& state : options.states) text += state.name + "=" + state.directory + ";";
        return text;
    };
    EXPECT_EQ(names({}), "=.;");
    EXPECT_EQ(names({"--state", "/s/a/"}), "=/s/a/;");
    EXPECT_EQ(names({"--state", "leaf=/s/a"}), "leaf=/s/a;");
    EXPECT_EQ(names({"--state", "./x=1"}), "=./x=1;");
    EXPECT_EQ(names({"--state", "/s/a//", "/s/b", "--per-policy", "c=/s/b"}),
              "a=/s/a//;b=/s/b;c=/s/b;");
    EXPECT_EQ(names({"--state", "/s/a", "/t/a"}),
              "--state: \"/s/a\" and \"/t/a\" would both be the switch \"a\", expected different "
              "names: give one with --state NAME=DIR");
    EXPECT_EQ(names({"--listen", "localhost:1"}),
              "--listen: \"localhost:1\" is no address with a port, expected ADDRESS:PORT, as "
              "127.0.0.1:9812 or [::1]:9812");
    EXPECT_EQ(names({"--listen", "[::1]:70000"}),
              "--listen, port: \"70000\" is out of range, expected a number 0 to 65535");
    EXPECT_EQ(names({"--interval", "5"}), "--interval goes with --textfile");
    EXPECT_EQ(names({"/s/a"}), "\"/s/a\" is not an option; --help lists them");
}

}  // namespace
