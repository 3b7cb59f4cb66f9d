// The output buffer before descriptors that take everything, take it slowly, or take no more.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <thread>

#include "Captured.h"
#include "textout/RendererV2.h"

namespace {

using Captured::MemoryFile;
using textout::RendererV2;
using textout::SigIntException;
using textout::TextOutBuffer;
using textout::WriteError;

constexpr std::size_t capacity = 1'048'576;

class Pipe {
  public:
    Pipe() {
        EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
        std::signal(SIGPIPE, SIG_IGN);
    }
    ~Pipe() {
        closeReader();
        closeWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    U32 writer() const { return static_cast<U32>(ends_[1]); }
    int reader() const { return ends_[0]; }
    void closeReader() { closeEnd(0); }
    void closeWriter() { closeEnd(1); }
    // Everything until the writer closes, in small pieces.
    std::string readSlowly() const {
        std::string all;
        std::array<char, 7001> piece{};
        for (ssize_t size = 0; (size = ::read(reader(), piece.data(), piece.size())) > 0;) {
            all.append(piece.data(), static_cast<std::size_t>(size));
            if (all.size() % 5 == 0) std::this_thread::yield();
        }
        return all;
    }
    // What stands in the pipe now.
    std::string contents() const {
        ::fcntl(reader(), F_SETFL, O_NONBLOCK);
        return readSlowly();
    }

  private:
    void closeEnd(std::size_t end) {
        if (ends_[end] >= 0) ::close(ends_[end]);
        ends_[end] = -1;
    }
    std::array<int, 2> ends_{-1, -1};
};

// The interrupt is requested for the life of the object.
class Interrupted {
  public:
    Interrupted() { Orb::interruptRequestedIs(true); }
    ~Interrupted() { Orb::interruptRequestedIs(false); }
    Interrupted(const Interrupted&) = delete;
    Interrupted& operator=(const Interrupted&) = delete;
};

// Text in which every byte says where it stands, up to 26 times 251.
std::string sample(std::size_t size) {
    std::string text(size, ' ');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 251 % 26);
    return text;
}

TEST(TextOutBuffer, writesOnlyWhenFullOrFlushed) {
    const struct {
        std::size_t appended, writtenBefore;
    } rows[] = {{0, 0},
                {1, 0},
                {capacity - 1, 0},
                {capacity, 0},
                {capacity + 1, capacity},
                {3 * capacity, 2 * capacity}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.appended);
        const std::string text = sample(row.appended);
        for (const std::size_t piece : {std::size_t{4096}, row.appended + 1}) {
            const MemoryFile file;
            TextOutBuffer out(static_cast<U32>(file.fd()));
            for (std::size_t at = 0; at < text.size(); at += piece) {
                out.append(std::string_view(text).substr(at, piece));
            }
            EXPECT_EQ(file.text().size(), row.writtenBefore);
            out.flush();
            EXPECT_EQ(file.text(), text);
        }
    }
}

TEST(TextOutBuffer, keepsWhatCrossesTheBoundary) {
    const U64 greatest = ~U64{0};
    for (std::size_t before = capacity - 21; before <= capacity; ++before) {
        const MemoryFile file;
        TextOutBuffer out(static_cast<U32>(file.fd()));
        out.fill(before, '.');
        out.append(greatest);
        out.append('|');
        out.append(std::string_view("name"));
        out.fill(3, ' ');
        out.flush();
        EXPECT_EQ(file.text(), std::string(before, '.') + "18446744073709551615|name   ");
    }
    const MemoryFile file;
    TextOutBuffer out(static_cast<U32>(file.fd()));
    out.fill(2 * capacity + 1, '-');
    out.flush();
    EXPECT_EQ(file.text(), std::string(2 * capacity + 1, '-'));
}

TEST(TextOutBuffer, closesScopesInAFullBufferWithoutWriting) {
    const MemoryFile file;
    TextOutBuffer out(static_cast<U32>(file.fd()));
    out.fill(capacity, '.');
    for (int i = 0; i < 64; ++i) out.close('}');
    EXPECT_EQ(file.text(), "");
    out.append('\n');
    out.flush();
    EXPECT_EQ(file.text(), std::string(capacity, '.') + std::string(64, '}') + "\n");
}

TEST(TextOutBuffer, destructorWritesWhatNobodyFlushed) {
    const MemoryFile file;
    { TextOutBuffer(static_cast<U32>(file.fd())).append(std::string_view("left")); }
    EXPECT_EQ(file.text(), "left");
}

// Appends a report and says with which error it ended: 0 for none.
int errorOf(U32 fd, std::size_t size) {
    TextOutBuffer out(fd);
    try {
        out.append(sample(size));
        out.flush();
    } catch (const WriteError& error) {
        // What follows is dropped without a further error.
        out.append(sample(capacity + 1));
        out.flush();
        return error.code().value();
    }
    return 0;
}

TEST(TextOutBuffer, saysWhyItCouldNotWrite) {
    Pipe closed;
    closed.closeReader();
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    const struct {
        const char* name;
        U32 fd;
        int error;
    } rows[] = {
        {"disk full", static_cast<U32>(full), ENOSPC},
        {"closed pipe", closed.writer(), EPIPE},
        {"not open", 9999, EBADF},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(errorOf(row.fd, 10), row.error);
        EXPECT_EQ(errorOf(row.fd, capacity + 1), row.error);
        // The destructor tries alone, and keeps silent.
        EXPECT_NO_THROW(TextOutBuffer(row.fd).append(std::string_view("left")));
    }
    ::close(full);
}

TEST(TextOutBuffer, reportsAFailureThatComesInTheMiddle) {
    Pipe pipe;
    TextOutBuffer out(pipe.writer());
    out.append(std::string_view("first"));
    out.flush();
    pipe.closeReader();
    out.append(std::string_view("second"));
    EXPECT_THROW(out.flush(), WriteError);
}

TEST(TextOutInterrupt, isNoticedByEveryCallInEitherFormat) {
    for (const U32 format : {1U, 2U}) {
        const MemoryFile file;
        TextOutBuffer out(static_cast<U32>(file.fd()));
        RendererV2 renderer(out, format, 2);
        renderer.documentBegin();
        const Interrupted interrupted;
        EXPECT_THROW(renderer.text("a"), SigIntException);
        EXPECT_THROW(renderer.name("a"), SigIntException);
        EXPECT_THROW(renderer.number(1), SigIntException);
        EXPECT_THROW(renderer.indent(1), SigIntException);
        EXPECT_THROW(renderer.endLine(), SigIntException);
        EXPECT_THROW(static_cast<void>(renderer.object("a")), SigIntException);
        EXPECT_THROW(static_cast<void>(renderer.object()), SigIntException);
        EXPECT_THROW(static_cast<void>(renderer.list("a")), SigIntException);
        EXPECT_THROW(renderer.pair("a", U64{1}), SigIntException);
        EXPECT_THROW(renderer.item("a"), SigIntException);
        EXPECT_THROW(renderer.documentEnd(), SigIntException);
    }
    EXPECT_STREQ(SigIntException().what(), "interrupted");
}

TEST(TextOutInterrupt, leavesAJsonDocumentUnclosed) {
    const MemoryFile file;
    try {
        TextOutBuffer out(static_cast<U32>(file.fd()));
        RendererV2 renderer(out, 2, 2);
        renderer.documentBegin();
        const auto object = renderer.object("a");
        renderer.pair("b", true);
        Orb::interruptRequestedIs(true);
        renderer.pair("c", true);
    } catch (const SigIntException&) {
    }
    Orb::interruptRequestedIs(false);
    EXPECT_EQ(file.text(), R"({"a":{"b":true})");
}

TEST(TextOutBufferThreads, continuesShortWritesToASlowReader) {
    for (const bool isSocket : {false, true}) {
        Pipe pipe;
        std::array<int, 2> sockets{};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, sockets.data()), 0);
        const std::string text = sample(3 * capacity + 17);
        std::string received;
        std::thread reader([&] {
            std::array<char, 7001> piece{};
            const int fd = isSocket ? sockets[0] : pipe.reader();
            for (ssize_t size = 0; (size = ::read(fd, piece.data(), piece.size())) > 0;) {
                received.append(piece.data(), static_cast<std::size_t>(size));
                if (received.size() < 100'000)
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
        });
        {
            TextOutBuffer out(isSocket ? static_cast<U32>(sockets[1]) : pipe.writer());
            out.append(text);
            out.flush();
        }
        pipe.closeWriter();
        ::close(sockets[1]);
        reader.join();
        ::close(sockets[0]);
        EXPECT_EQ(received, text);
    }
}

// A descriptor that another process set to non-blocking takes what it can, when it can.
TEST(TextOutBufferThreads, waitsForANonBlockingPipe) {
    Pipe pipe;
    ::fcntl(static_cast<int>(pipe.writer()), F_SETFL, O_NONBLOCK);
    std::string received;
    std::thread reader([&] { received = pipe.readSlowly(); });
    {
        TextOutBuffer out(pipe.writer());
        out.append(sample(capacity));
        out.flush();
    }
    pipe.closeWriter();
    reader.join();
    EXPECT_EQ(received, sample(capacity));
}

TEST(TextOutBufferThreads, interruptEndsTheWaitForAReaderThatReadsNothing) {
    Pipe pipe;
    const auto interruptSoon = [] {
        std::this_thread::sleep_for(std::chrono::milliseconds(30));
        Orb::interruptRequestedIs(true);
    };
    std::thread operatorThread(interruptSoon);
    const auto begin = std::chrono::steady_clock::now();
    {
        TextOutBuffer out(pipe.writer());
        out.append(sample(capacity));
        EXPECT_THROW(out.flush(), SigIntException);
    }
    const auto took = std::chrono::steady_clock::now() - begin;
    operatorThread.join();
    Orb::interruptRequestedIs(false);
    EXPECT_LT(took, std::chrono::seconds(5));
    // What the pipe took is the beginning of the report, without a gap.
    const std::string contents = pipe.contents();
    EXPECT_GT(contents.size(), 0U);
    EXPECT_EQ(contents, sample(capacity).substr(0, contents.size()));
}

TEST(TextOutBufferThreads, interruptStillHandsOverWhatAReaderTakes) {
    Pipe pipe;
    const std::string text = sample(300'000);
    std::string received;
    std::thread reader([&] { received = pipe.readSlowly(); });
    {
        TextOutBuffer out(pipe.writer());
        out.append(text);
        Orb::interruptRequestedIs(true);
    }
    pipe.closeWriter();
    reader.join();
    Orb::interruptRequestedIs(false);
    EXPECT_EQ(received, text.substr(0, received.size()));
    EXPECT_GT(received.size(), 0U);
}

}  // namespace
