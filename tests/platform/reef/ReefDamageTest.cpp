// Counter stores that are missing, damaged, or changed while they are read: a clear message or
// correct figures, never a crash, a hang or a wrong figure.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <random>

#include "ReefScene.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/ReefValueMapBase.h"

namespace ReefTest {

namespace {

// The damage that kept a walk from having figures; empty: it had some.
std::string walkDamage(const Orb::Ptr<StoreManager>& manager, Figures& figures) {
    try {
        figures = walk(manager);
        return "";
    } catch (const Cairn::CorruptionDetectedException& exception) {
        return exception.what();
    }
}

class ReefDamage : public ReefScene {
  protected:
    // Expects that the manager reads the figures as they are, but for records that are missing, or
    // none.
    void expectNothingWrong(const Orb::Ptr<StoreManager>& manager) const {
        Figures figures;
        if (!walkDamage(manager, figures).empty()) return;
        Figures whole = expected();
        for (const auto& [name, figure] : figures) {
            ASSERT_EQ(whole.count(name), 1U) << testing::PrintToString(name);
            ASSERT_EQ(figure, whole[name]) << testing::PrintToString(name);
        }
    }
    void expectTold(const std::string& damage) const {
        CaptureStderr();
        const auto view = reader();
        EXPECT_EQ(view.classCounterData({"edge", ""}, "dns"), nullptr);
        EXPECT_EQ(view.namedCounterData({"edge", ""}, "hits"), nullptr);
        EXPECT_EQ(view.numClasses({"edge", ""}), 0U);
        EXPECT_EQ(view.numNamedCounters({"edge", ""}), 0U);
        EXPECT_EQ(GetCapturedStderr(), told(damage));
        EXPECT_EQ(view.counters()->manager()->damage(), damage);
        EXPECT_THROW(StoreWriter::resume(path), std::runtime_error) << damage;
        std::filesystem::remove_all(path);
    }
    void changeAtRandom(int times);
};
class ReefDamageSlow : public ReefDamage {};

TEST_F(ReefDamage, isToldInOneLinePerStore) {
    create();
    const std::string whole = contents();
    const auto with = [&](std::size_t offset, char byte) {
        std::string changed = whole;
        changed[offset] = byte;
        return changed;
    };
    const struct {
        std::string damage, contents;
    } rows[] = {
        {"it is empty", ""},
        {"it is shorter than its header says", "short"},
        {"it is shorter than its header says", whole.substr(0, whole.size() - 1)},
        {"it is longer than its header says", whole + "x"},
        {"it is not a counter store", std::string(100, 'x')},
        {"it has version 2, but this program knows version 1", with(8, 2)},
        {"its header is damaged", with(24, 7)},
        {"its directory is damaged: the checksum differs", with(80, 7)},
    };
    for (const auto& row : rows) {
        std::ofstream(path) << row.contents;
        expectTold(row.damage);
    }
    expectTold("there is no such file");
    ::mkfifo(path.c_str(), 0600);
    expectTold("it is not a regular file");
    std::filesystem::create_directory(path);
    expectTold("it is not a regular file");
    create();
    std::filesystem::rename(path, folder + "/store");
    std::filesystem::create_symlink(folder + "/store", path);
    expectTold("it is a symbolic link");
}

TEST_F(ReefDamage, onceToldKeepsTheStoreFromBeingRead) {
    create();
    const auto store = manager();
    EXPECT_EQ(walk(store), expected());
    CaptureStderr();
    ReefValueMapBase::handleCorruptionDetected("said so", store);
    ReefValueMapBase::handleCorruptionDetected("said again", store);
    EXPECT_THROW(walk(store), Cairn::CorruptionDetectedException);
    EXPECT_EQ(GetCapturedStderr(), told("said so"));
}

TEST_F(ReefDamage, ofEveryByteOfHeaderAndDirectoryAndOfEveryLengthIsFound) {
    create();
    const std::string whole = contents();
    const std::size_t records = whole.size() - expected().size() * 64;
    Figures figures;
    for (std::size_t at = 0; at < records; ++at) {
        for (const int bits : {0x01, 0x80, 0xff}) {
            overwrite(at, std::string(1, static_cast<char>(whole[at] ^ bits)));
            // What stands after the names only fills up to the records.
            if (walkDamage(manager(), figures).empty()) {
                ASSERT_EQ(figures, expected()) << "byte " << at;
                ASSERT_GE(at + 64, records) << "byte " << at;
            }
        }
        overwrite(at, whole.substr(at, 1));
    }
    EXPECT_EQ(walk(manager()), expected());
    for (std::size_t length = whole.size(); length-- > 0;) {
        std::filesystem::resize_file(path, length);
        ASSERT_NE(walkDamage(manager(), figures), "") << length;
    }
}

TEST_F(ReefDamage, byTruncationWhileMappedIsFound) {
    // Beyond one page, so that memory goes away with the end of the file.
    auto status = Orb::make<TrafficPolicy::Status>();
    auto policy = Orb::make<PolicyMap::PolicyMapStatus>("edge");
    for (U64 i = 1; i <= 500; ++i) {
        const std::string name = "rule" + std::to_string(i);
        policy->classCounterIs(name, record(name, {i, {i, i}}));
    }
    status->policyMapStatusIs("edge", policy);
    StoreWriter writer = StoreWriter::create(path, status, nullptr, Identities::ofStatus);

    const auto view = reader();
    EXPECT_NE(view.classCounterData({"edge", ""}, "rule500"), nullptr);
    const auto early = manager();
    EXPECT_EQ(walk(early).size(), 500U);
    std::filesystem::resize_file(path, 4096);
    CaptureStderr();
    EXPECT_EQ(view.classCounterData({"edge", ""}, "rule500"), nullptr);
    EXPECT_EQ(view.classCounterData({"edge", ""}, "rule400"), nullptr);
    EXPECT_EQ(GetCapturedStderr(), told("it was cut short while it was read"));
    EXPECT_THROW(walk(early), Cairn::CorruptionDetectedException);
    const Reef::Increment last[] = {{499, {1, 64}}};
    EXPECT_THROW(writer.add(last), Cairn::CorruptionDetectedException);
    EXPECT_THROW(writer.add(last), Cairn::CorruptionDetectedException) << "a second fault, too";
}

void ReefDamage::changeAtRandom(int times) {
    create();
    const std::string whole = contents();
    std::mt19937 random(20240607);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    CaptureStderr();
    for (int i = 0; i < times; ++i) {
        std::filesystem::resize_file(path, whole.size());
        overwrite(0, whole);
        const auto early = manager();
        walk(early);  // has it mapped while it changes
        const bool lengthChanges = below(4) == 0;
        if (lengthChanges) std::filesystem::resize_file(path, below(whole.size() + 100));
        if (lengthChanges && below(2) == 0) std::filesystem::resize_file(path, whole.size());
        for (std::size_t changes = lengthChanges ? below(2) : 1 + below(8); changes > 0;
             --changes) {
            overwrite(below(whole.size()), std::string(1, static_cast<char>(below(256))));
        }
        expectNothingWrong(early);
        expectNothingWrong(manager());
        if (HasFatalFailure()) break;
    }
    GetCapturedStderr();
    ASSERT_FALSE(HasFatalFailure()) << "seed 20240607";
}

TEST_F(ReefDamage, atRandomShowsNoWrongFigure) { changeAtRandom(300); }

TEST_F(ReefDamageSlow, atRandomShowsNoWrongFigure) { changeAtRandom(10'000); }

// Touches memory of a file that has become too short, and that is no store's.
void faultElsewhere(const std::string& folder) {
    const int fd = ::open((folder + "/other").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (::ftruncate(fd, 4096) != 0) return;
    void* const memory = ::mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fd, 0);
    if (memory == MAP_FAILED || ::ftruncate(fd, 0) != 0) return;
    const char byte = *static_cast<const volatile char*>(memory);
    std::fputc(byte, stderr);
}

class ReefBusDeathTest : public ReefScene {
  protected:
    // Run anew in a process of its own, where no handler was installed before.
    ReefBusDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(ReefBusDeathTest, faultsElsewhereKillAsBefore) {
    create();
    walk(manager());
    EXPECT_DEATH(faultElsewhere(folder), "");
    EXPECT_DEATH(::raise(SIGBUS), "");
}

TEST_F(ReefBusDeathTest, faultsElsewhereGoToTheFormerHandler) {
    struct sigaction simple = {};
    simple.sa_handler = [](int) { ::_exit(7); };
    struct sigaction detailed = {};
    detailed.sa_flags = SA_SIGINFO;
    detailed.sa_sigaction = [](int, siginfo_t* info, void*) { ::_exit(info->si_code > 0 ? 8 : 9); };
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    const auto exitBy = [&](const struct sigaction& former, bool faults) {
        ::sigaction(SIGBUS, &former, nullptr);
        create();
        walk(manager());
        if (faults) faultElsewhere(folder);
        ::raise(SIGBUS);
        ::_exit(10);
    };
    EXPECT_EXIT(exitBy(simple, true), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(exitBy(simple, false), testing::ExitedWithCode(7), "");
    EXPECT_EXIT(exitBy(detailed, true), testing::ExitedWithCode(8), "");
    EXPECT_EXIT(exitBy(detailed, false), testing::ExitedWithCode(9), "");
    EXPECT_EXIT(exitBy(ignore, false), testing::ExitedWithCode(10), "");
    EXPECT_DEATH(exitBy(ignore, true), "");
}

}  // namespace

}  // namespace ReefTest
