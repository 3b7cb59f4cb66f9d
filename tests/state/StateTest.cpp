// What the reader makes of documents: every documented key in its attribute, absent objects as null
// references, faulty files, and nothing left behind.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <thread>

#include "TemporaryState.h"
#include "state/OpenDocument.h"

namespace {

using StateDirectory::readState;
using StateDirectory::State;
using ::testing::HasSubstr;

// An object and all below it, a line each: objects with their type, attributes that are not of
// their type's default with their value.
class Listing {
  public:
    void add(const std::string& name, const Orb::Value& value) {
        if (const auto* entries = std::get_if<std::vector<Orb::ValueEntry>>(&value)) {
            for (const auto& [key, entry] : *entries) add(name + "[" + keyText(key) + "]", entry);
        } else if (const auto* object = std::get_if<Orb::Ptr<const Orb::PtrInterface>>(&value)) {
            const Orb::TypeInfo& type = (*object)->fwkType();
            line(name + ": " + type.name());
            indent_ += 2;
            for (const auto& attribute : type.attributes()) {
                add(std::string(attribute.name), attribute.value(**object));
            }
            indent_ -= 2;
        } else if (const auto* text = std::get_if<Orb::String>(&value)) {
            if (!text->empty()) line(name + " = " + *text);
        } else if (const auto* number = std::get_if<U64>(&value)) {
            if (*number != 0) line(name + " = " + std::to_string(*number));
        } else if (const auto* truth = std::get_if<bool>(&value)) {
            if (*truth) line(name + " = true");
        } else if (name.ends_with("]")) {
            line(name);  // a member of a set, or a key without a record
        }
    }
    const std::string& text() const { return text_; }

  private:
    static std::string keyText(const Orb::Value& key) {
        const auto* number = std::get_if<U64>(&key);
        return number != nullptr ? std::to_string(*number) : std::get<Orb::String>(key);
    }
    void line(const std::string& line) { text_ += std::string(indent_, ' ') + line + "\n"; }

    std::size_t indent_ = 0;
    std::string text_;
};

// Every object of a state directory.
std::string listingOf(const std::string& directory) {
    const State state = readState(directory);
    const auto snapshots = StateDirectory::readSnapshots(directory);
    const std::pair<const char*, Orb::Ptr<const Orb::PtrInterface>> objects[] = {
        {"config", state.config},
        {"fieldSetConfig", state.fieldSetConfig},
        {"macDir", state.macDir},
        {"intfConfigInput", state.intfConfigInput},
        {"intfConfigOutput", state.intfConfigOutput},
        {"intfConfigBridged", state.intfConfigBridged},
        {"vrfConfig", state.vrfConfig},
        {"allVrfConfig", state.allVrfConfig},
        {"l3IntfStatusDir", state.l3IntfStatusDir},
        {"hwStatus", state.hwStatus},
        {"intfParamStatus", state.intfParamStatus},
        {"interfaceInput", state.interfaceInput},
        {"interfaceOutput", state.interfaceOutput},
        {"cpu", state.cpu},
        {"cpuSoftware", state.cpuSoftware},
        {"vlan", state.vlan},
        {"snapshots.cpu", snapshots.cpu},
        {"snapshots.interfaceInput", snapshots.interfaceInput},
        {"snapshots.interfaceOutput", snapshots.interfaceOutput}};
    Listing listing;
    for (const auto& [name, object] : objects) {
        EXPECT_TRUE(object) << name;
        if (object) listing.add(name, object);
    }
    return listing.text();
}

TEST(ReadState, DocumentedExampleFillsEveryAttribute) {
    const DocumentedState directory;
    EXPECT_EQ(listingOf(directory.path()),
              contentsOf(SOURCE_DIR "/tests/state/documented-state.txt"));
    const State state = readState(directory.path());
    EXPECT_EQ(state.source, "switch7.example, gNMI /acl");
    EXPECT_EQ(state.time, Orb::Seconds(1795275600));
}

// Writes the documents of a directory that was read.
TEST(WriteState, ReadsBackAsTheSameObjects) {
    const DocumentedState documented;
    for (const std::string& directory : {documented.path(), std::string(EXAMPLES_DIR "/campus")}) {
        const State state = readState(directory);
        const TemporaryState written;
        written.documentIs("config", configText(state));
        written.documentIs("status", statusText(state));
        written.documentIs("snapshots", contentsOf(directory + "/snapshots.json"));
        EXPECT_EQ(listingOf(written.path()), listingOf(directory));
        const State again = readState(written.path());
        EXPECT_EQ(configText(again), configText(state));
        EXPECT_EQ(statusText(again), statusText(state));
    }
}

TEST(WriteState, LeavesOutWhatAbsentKeysMeanAndNothingElse) {
    const std::string config =
        R"({"policyMapConfig": {"P": {}, "Q": {"currCfg": {"rules": [
            {"name": "a \"b\"", "priority": 0, "match": {"ipv4": {}, "mac": {"structuredFilter": {}}},
             "action": {"drop": {}, "setDscp": {"dscp": 0}}}]}}}, "vrfConfig": {}})";
    const TemporaryState directory;
    directory.documentIs("config", config);
    directory.documentIs("status", R"({"cpu": {"policyMapStatus": {"P": {
        "classMapStatus": {"r": []}, "intfStatus": {"Cpu0": {"ipv4": {"state": 3}}},
        "classCounter": {"r": {"uniqueId": 18446744073709551615}}}}}, "vlan": {}})");
    const State state = readState(directory.path());
    EXPECT_EQ(configText(state), R"({
  "policyMapConfig": {
    "P": {},
    "Q": {
      "currCfg": {
        "rules": [
          {"name": "a \"b\"", "priority": 0, "match": {"ipv4": {}, "mac": {"structuredFilter": {}}}, "action": {"drop": {}, "setDscp": {"dscp": 0}}}
        ]
      }
    }
  },
  "vrfConfig": {}
}
)");
    EXPECT_THAT(statusText(state), HasSubstr(R"("classMapStatus": {
          "r": []
        })"));
    EXPECT_THAT(statusText(state),
                HasSubstr(R"("r": {"uniqueId": 18446744073709551615, "packets": 0)"));
    EXPECT_THAT(statusText(state), HasSubstr(R"("Cpu0": {"ipv4": {"state": 3}})"));
    EXPECT_THAT(statusText(state), HasSubstr(R"("vlan": {})"));
}

TEST(ReadState, AbsentObjectsAreNullAndEmptyOnesAreNot) {
    const TemporaryState directory;
    const State empty = readState(directory.path());
    EXPECT_FALSE(empty.config || empty.fieldSetConfig || empty.intfConfigInput ||
                 empty.intfConfigOutput || empty.intfConfigBridged || empty.vrfConfig ||
                 empty.allVrfConfig || empty.l3IntfStatusDir || empty.hwStatus ||
                 empty.intfParamStatus || empty.interfaceInput || empty.interfaceOutput ||
                 empty.cpu || empty.cpuSoftware || empty.vlan);
    EXPECT_TRUE(empty.macDir && empty.macDir->entry().empty());
    EXPECT_TRUE(empty.source.empty() && !empty.time);

    // Keys may stand in any order.
    directory.documentIs("config", R"({"policyMapConfig": {"P": {}, "Q": {"currCfg": {"rules": [
        {"name": "none", "priority": 1, "match": {"ipv4": {}}},
        {"name": "empty", "priority": 2, "match": {"ipv4": {"structuredFilter": {}}}},
        {"name": "bare", "priority": 3},
        {"match": {"ipv4": {"structuredFilter": {"innerMatch": {
            "structuredFilter": {"sources": ["2001:db8::/32"]}, "encapType": "gtpv1", "af": "ipv6"}}}},
         "action": {"log": {}}, "priority": 5, "name": "late"}]}}}})");
    directory.documentIs("status", R"({"cpu": {}})");
    const State state = readState(directory.path());
    EXPECT_TRUE(state.cpu && state.cpu->policyMapStatus().empty());
    EXPECT_FALSE(state.config->policyMapConfig("P")->currCfg());
    const auto* version = state.config->policyMapConfig("Q")->currCfg().get();
    const auto matchOf = [&](const char* rule) {
        return version->classMap(rule)->match(PolicyMap::ClassMapMatchOption::ipv4);
    };
    EXPECT_FALSE(matchOf("none")->structuredFilter());
    EXPECT_TRUE(matchOf("empty")->structuredFilter());
    EXPECT_TRUE(version->classMap("bare")->match().empty());
    EXPECT_EQ(version->policyAction("bare"), nullptr);
    const auto* late = matchOf("late");
    EXPECT_EQ(late->name(), "late");
    EXPECT_EQ(late->structuredFilter()->innerMatch()->structuredFilter()->sources().size(), 1U);
    EXPECT_EQ(version->policyAction("late")->className(), "late");
}

struct FaultyFile {
    void (*make)(const std::string& path);
    const char* says;
};

const FaultyFile faultyFiles[] = {
    {[](const std::string&) {},
     ": cannot be opened: No such file or directory, expected a readable regular file"},
    {[](const std::string& path) { ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0); },
     ": is not a regular file, expected a readable regular file"},
    {[](const std::string& path) { std::filesystem::create_directory(path); },
     ": is not a regular file, expected a readable regular file"},
    {[](const std::string& path) { std::filesystem::create_symlink("/dev/zero", path); },
     ": is not a regular file, expected a readable regular file"},
    {[](const std::string& path) {
         std::ofstream(path) << "{}";
         std::filesystem::resize_file(path, StateDirectory::OpenDocument::maxSize + 1);
     },
     ": has 1073741825 bytes, expected at most 1073741824"},
    {[](const std::string& path) { std::ofstream(path) << "{\"a\xc0\x80\": 1}"; },
     ": line 1, column 4: invalid byte in a string, expected UTF-8"},
    {[](const std::string& path) {
         std::ofstream(path) << std::string(100000, '[') << std::string(100000, ']');
     },
     ": line 1, column 1024: too deeply nested, expected fewer than 1024 levels"},
};

TEST(ReadState, FaultyFilesAreRefusedAtOnce) {
    for (const std::string document : {"config", "status"}) {
        for (const FaultyFile& fault : faultyFiles) {
            const TemporaryState directory;
            std::filesystem::remove(directory.document(document));
            fault.make(directory.document(document));
            EXPECT_EQ(directory.refusal(), directory.document(document) + fault.says);
        }
    }
}

TEST(ReadState, MessagesNameTheFirstFaultyDocumentEscaped) {
    const TemporaryState directory;
    directory.documentIs("config", "[]");
    directory.documentIs("status", "[]");
    EXPECT_THAT(directory.refusal(), HasSubstr("/config.json: "));
    try {
        readState("/no/such\x1b[31m");
        FAIL();
    } catch (const StateDirectory::StateError& error) {
        EXPECT_THAT(error.what(), HasSubstr("/no/such\\x1b[31m/config.json: "));
    }
}

U64 liveObjects() {
    U64 count = 0;
    for (const Orb::TypeInfo* type : Orb::registeredTypes()) count += type->liveCount();
    return count;
}

TEST(ReadState, LeavesNoObjectBehindWhenDroppedOrRefused) {
    const U64 before = liveObjects();
    const DocumentedState directory;
    {
        const State state = readState(directory.path());
        EXPECT_GT(liveObjects(), before);
    }
    EXPECT_EQ(liveObjects(), before);
    directory.documentIs("status", R"({"cpu": {"policyMapStatus": {"P": {}, "Q": []}}})");
    EXPECT_NE(directory.refusal(), "");
    EXPECT_EQ(liveObjects(), before);
}

TEST(ReadState, RulesShareWhatTheyHaveInCommon) {
    const auto rule = [](const char* number, const char* protocol, const char* action) {
        return std::string(R"({"name": "r)") + number + R"(", "priority": )" + number +
               R"(, "match": {"ipv4": {"structuredFilter": {"protocols": )" + protocol +
               R"(}}}, "action": )" + action + "}";
    };
    const char* const web = R"({"6": {"portFields": [{"dport": [80]}]}})";
    const char* const udpWeb = R"({"17": {"portFields": [{"dport": [80]}]}})";
    const char* const fromWeb = R"({"6": {"portFields": [{"sport": [80]}]}})";
    const TemporaryState directory;
    directory.documentIs(
        "config", R"({"policyMapConfig": {"P": {"currCfg": {"rules": [)" +
                      rule("1", web, R"({"drop": {}, "count": {}})") + "," +
                      rule("2", fromWeb, R"({"log": {}, "count": {"counterName": "C"}})") + "," +
                      rule("3", udpWeb, R"({"drop": {}})") + "]}}}}");
    const State state = readState(directory.path());
    const auto& version = *state.config->policyMapConfig("P")->currCfg();
    const auto fieldOf = [&](const char* name) {
        const auto& filter = version.classMap(name)->match().begin()->value->structuredFilter();
        return filter->protocols().begin()->value.get();
    };
    const auto actionOf = [&](const char* name, PolicyMap::ActionType type) {
        return version.policyAction(name)->action(type);
    };
    EXPECT_EQ(fieldOf("r1"), fieldOf("r3"));
    EXPECT_NE(fieldOf("r1"), fieldOf("r2"));
    using enum PolicyMap::ActionType;
    EXPECT_EQ(actionOf("r1", drop), actionOf("r3", drop));
    EXPECT_NE(actionOf("r1", drop), actionOf("r2", log));
    EXPECT_NE(actionOf("r1", count), actionOf("r2", count));
    const auto& name = version.classPriority().begin()->value;
    EXPECT_EQ(&name.text(), &version.classMap("r1")->name().text());
    EXPECT_EQ(&name.text(), &version.policyAction("r1")->className().text());
    // What is refused is refused again, and is not made of what it is like.
    directory.documentIs("config", R"({"policyMapConfig": {"P": {"currCfg": {"rules": [)" +
                                       rule("1", web, R"({"drop": {}})") + "," +
                                       rule("2", web, R"({"log": {"x": 1}})") + "]}}}}");
    EXPECT_THAT(directory.refusal(), HasSubstr("/rules/1/action/log"));
}

// For the thread sanitizer: the two documents of a state, and several states, at the same time.
TEST(ReadStateThreads, StatesAreReadSideBySide) {
    const DocumentedState directory;
    std::vector<std::thread> readers;
    readers.reserve(4);
    for (int i = 0; i < 4; ++i) {
        readers.emplace_back([&] {
            for (int round = 0; round < 5; ++round) {
                EXPECT_TRUE(readState(directory.path()).interfaceInput);
            }
        });
    }
    for (std::thread& reader : readers) reader.join();
}

// Keys and values, in members and in lists; columns count characters, not bytes.
TEST(ReadState, MessagesTellLineAndColumn) {
    const struct {
        std::string_view config, place;
    } rows[] = {
        {"\n []", "\"\", line 2, column 2: is a list"},
        {"{\n  \"allVrfConfig\": [\"\u00e4\", 7]}",
         "\"/allVrfConfig/1\", line 2, column 25: is a number"},
        {"{\"vrfConfig\": {},\n \"vrfKonfig\": {}}", "\"\", line 2, column 2: unknown key"},
        {"{\"vrfConfig\": {\"\\u0061\": \"P\", \"b\": 1}}",
         "\"/vrfConfig/b\", line 1, column 36: is"},
        {"{\"vrfConfig\": {},\n  \"vrfConfig\": {}}", "\"/vrfConfig\", line 2, column 3: the key"},
        {"{\"vrfConfig\": {\"\": 1}}", "\"/vrfConfig/\", line 1, column 16: empty key"},
        {"{\"policyMapConfig\": {\"P\": {\"currCfg\": {\"rules\": [\n{\"name\": \"r\"}]}}}}",
         "rules/0\", line 2, column 1: the key \"priority\" is missing"},
    };
    const TemporaryState state;
    for (const auto& row : rows) {
        state.documentIs("config", row.config);
        EXPECT_THAT(state.refusal(), testing::HasSubstr(row.place)) << row.config;
    }
}

// What a document of megabytes holds does not make a message of megabytes, nor act on a terminal.
TEST(ReadState, MessagesAreShortAndHarmless) {
    const std::string large(1'000'000, 'x');
    const TemporaryState state;
    for (const std::string& config : {
             "{\"" + large + "\": 1}",
             "{\"vrfConfig\": {\"" + large + "\": 1}}",
             "{\"policyMapConfig\": {\"P\": {\"" + large + "\": {}}}}",
             "{\"intfConfigBridged\": {\"" + large + "\": \"P\"}}",
             "{\"allVrfConfig\": [\"" + large + "\", \"" + large + "\"]}",
             "{\"fieldSetConfig\": {\"fieldSetL4Port\": {\"" + large +
                 "\": {\"currCfg\": {\"ports\": [\"" + large + "\"]}}}}}",
         }) {
        state.documentIs("config", config);
        EXPECT_THAT(state.refusal(),
                    testing::SizeIs(testing::AllOf(testing::Gt(0U), testing::Lt(1000U))));
    }
    state.documentIs("config", "{\"policyMapConf\u200big\": {}}");
    EXPECT_THAT(state.refusal(), testing::HasSubstr("unknown key \"policyMapConf\\u200big\""));
    state.documentIs("config", "{\"allVrfConfig\": [\"\u202ea\\\"\\\\\", \"\u202ea\\\"\\\\\"]}");
    EXPECT_THAT(state.refusal(), testing::HasSubstr("\"\\u202ea\\\"\\\\\" appears twice"));
}

}  // namespace
