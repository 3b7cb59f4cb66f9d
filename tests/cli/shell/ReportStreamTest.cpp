// Reports on their way through a second thread.
#include "cli/shell/ReportStream.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>

#include "orb/Interrupt.h"
#include "textout/Exceptions.h"

namespace Cli::Shell {
namespace {

// What arrived at the end of the way.
struct Arrived {
    std::string bytes;
    std::string end;  // "whole" or "broken"
};

class CollectingSink : public Sink {
  public:
    // Throws ReaderLeft when it has as many bytes.
    CollectingSink(Arrived& arrived, std::size_t limit) : arrived_(arrived), limit_(limit) {}
    void write(std::string_view bytes) override {
        arrived_.bytes += bytes;
        if (arrived_.bytes.size() >= limit_) throw ReaderLeft();
    }
    void flush() override {}
    void end(bool isWhole) override { arrived_.end = isWhole ? "whole" : "broken"; }

  private:
    Arrived& arrived_;
    std::size_t limit_;
};

class ReportStreamThreads : public testing::Test {
  protected:
    ReportStreamThreads() {
        std::signal(SIGPIPE, SIG_IGN);
        std::signal(SIGALRM, [](int) {});
    }
    ~ReportStreamThreads() override {
        Orb::interruptRequestedIs(false);
        std::signal(SIGPIPE, SIG_DFL);
        std::signal(SIGALRM, SIG_DFL);
    }

    std::unique_ptr<Sink> sink(std::size_t limit = ~std::size_t{0}) {
        return std::make_unique<CollectingSink>(arrived_, limit);
    }
    // Writes lines until there are as many, or until nobody reads.
    static std::string written(const ReportStream& stream, int lines) {
        std::string text;
        for (int number = 0; number < lines; ++number) {
            const std::string line = "line " + std::to_string(number) + "\n";
            if (::write(static_cast<int>(stream.fd()), line.data(), line.size()) < 0) break;
            text += line;
        }
        return text;
    }

    Arrived arrived_;
};

TEST_F(ReportStreamThreads, allBytesArriveInTheirOrder) {
    ReportStream stream(sink());
    const std::string text = written(stream, 100'000);
    stream.finish();
    EXPECT_EQ(arrived_.bytes, text);
    EXPECT_EQ(arrived_.end, "whole");
}

TEST_F(ReportStreamThreads, aReportThatFailsIsNotWhole) {
    std::string text;
    {
        const ReportStream stream(sink());
        text = written(stream, 10);
    }
    EXPECT_EQ(arrived_.bytes, text);
    EXPECT_EQ(arrived_.end, "broken");
}

TEST_F(ReportStreamThreads, aReaderThatLeavesEndsTheWriting) {
    ReportStream stream(sink(1000));
    const std::string text = written(stream, 1'000'000);
    EXPECT_LT(text.size(), 10'000'000U);
    EXPECT_THROW(stream.finish(), ReaderLeft);
    EXPECT_TRUE(text.starts_with(arrived_.bytes.substr(0, text.size())));
    EXPECT_EQ(arrived_.end, "");
}

TEST_F(ReportStreamThreads, anInterruptEndsTheWaitForMore) {
    ReportStream stream(sink());
    written(stream, 10);
    Orb::interruptRequestedIs(true);
    written(stream, 1'000'000);  // until nobody reads
    EXPECT_THROW(stream.finish(), textout::SigIntException);
    EXPECT_EQ(arrived_.end, "");
}

}  // namespace
}  // namespace Cli::Shell
