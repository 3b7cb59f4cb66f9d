// The output buffer before descriptors that take everything, take it slowly, or take no more.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/resource.h>
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

enum class Kind { pipe, socket, terminal };

// Two connected descriptors: what is written to one can be read from the other.
class Pipe {
  public:
    explicit Pipe(Kind kind = Kind::pipe) {
        const int made = kind == Kind::pipe ? ::pipe2(ends_.data(), O_CLOEXEC)
                         : kind == Kind::socket
                             ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_.data())
                             : ::openpty(&ends_[0], &ends_[1], nullptr, nullptr, nullptr);
        EXPECT_EQ(made, 0);
        std::signal(SIGPIPE, SIG_IGN);
    }
    ~Pipe() {
        closeReader();
        closeWriter();
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    U32 writer() const { return static_cast<U32>(ends_[1]); }
    void closeReader() { closeEnd(0); }
    void closeWriter() { closeEnd(1); }
    void isNonBlocking(std::size_t end) const { ::fcntl(ends_[end], F_SETFL, O_NONBLOCK); }
    // Everything until the writer closes, in small pieces and slowly at first.
    std::string readSlowly() const {
        std::string all;
        std::array<char, 7001> piece{};
        for (ssize_t size = 0; (size = ::read(ends_[0], piece.data(), piece.size())) > 0;) {
            all.append(piece.data(), static_cast<std::size_t>(size));
            if (all.size() < 100'000) std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
        return all;
    }
    // What a slow reader gets of what is written meanwhile.
    template <class Write>
    std::string readWhile(Write write) {
        std::string received;
        std::thread reader([&] { received = readSlowly(); });
        write();
        closeWriter();
        reader.join();
        return received;
    }

  private:
    void closeEnd(std::size_t end) {
        if (ends_[end] >= 0) ::close(ends_[end]);
        ends_[end] = -1;
    }
    std::array<int, 2> ends_{-1, -1};
};

// Text in which every byte says where it stands, up to 26 times 251.
std::string sample(std::size_t size) {
    std::string text(size, ' ');
    for (std::size_t i = 0; i < size; ++i) text[i] = static_cast<char>('a' + i % 251 % 26);
    return text;
}

TEST(TextOutBuffer, writesOnlyWhenFullOrFlushed) {
    for (const auto size : {std::size_t{0}, capacity - 1, capacity, capacity + 1, 3 * capacity}) {
        const std::string text = sample(size);
        for (const std::size_t piece : {std::size_t{4096}, size + 1}) {
            const MemoryFile file;
            TextOutBuffer out(static_cast<U32>(file.fd()));
            for (std::size_t at = 0; at < size; at += piece) {
                out.append(std::string_view(text).substr(at, piece));
            }
            EXPECT_EQ(file.text().size(), size == 0 ? 0 : (size - 1) / capacity * capacity);
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
    {
        TextOutBuffer out(static_cast<U32>(file.fd()));
        out.fill(2 * capacity + 1, '-');
    }
    EXPECT_EQ(file.text(), std::string(2 * capacity + 1, '-')) << "without a flush";
}

TEST(TextOutBuffer, dropsWhatAnExceptionCutShort) {
    const MemoryFile file;
    const auto cutShort = [&] {
        TextOutBuffer out(static_cast<U32>(file.fd()));
        out.append(std::string_view("a part"));
        throw std::bad_alloc();
    };
    EXPECT_THROW(cutShort(), std::bad_alloc);
    EXPECT_EQ(file.text(), "");
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
    const std::pair<U32, int> rows[] = {
        {static_cast<U32>(full), ENOSPC}, {closed.writer(), EPIPE}, {9999, EBADF}};
    for (const auto& [fd, error] : rows) {
        EXPECT_EQ(errorOf(fd, 10), error);
        EXPECT_EQ(errorOf(fd, capacity + 1), error);
        // The destructor tries alone, and keeps silent.
        EXPECT_NO_THROW(TextOutBuffer(fd).append(std::string_view("left")));
    }
    ::close(full);

    // A failure that comes in the middle.
    Pipe pipe;
    TextOutBuffer out(pipe.writer());
    out.append(std::string_view("first"));
    out.flush();
    pipe.closeReader();
    out.append(std::string_view("second"));
    EXPECT_THROW(out.flush(), WriteError);
}

TEST(TextOutBuffer, goesOnAfterAShortWrite) {
    // A file that takes a part of a write first, then says why not the rest.
    const MemoryFile file;
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limit{500'000, before.rlim_max};
    const auto signalBefore = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    const int error = errorOf(static_cast<U32>(file.fd()), 600'000);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, signalBefore);
    EXPECT_EQ(error, EFBIG);
    EXPECT_EQ(file.text().size(), 500'000U);
}

TEST(TextOutInterrupt, isNoticedByEveryCallAndLeavesTheReportUnfinished) {
    for (const U32 format : {1U, 2U}) {
        const MemoryFile file;
        {
            TextOutBuffer out(static_cast<U32>(file.fd()));
            RendererV2 renderer(out, format, 2);
            renderer.documentBegin();
            const auto object = renderer.object("a");
            renderer.text("begun");
            Orb::interruptRequestedIs(true);
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
        Orb::interruptRequestedIs(false);
        EXPECT_EQ(file.text(), format == 1 ? "begun\n" : R"({"a":{})");
    }
    EXPECT_STREQ(SigIntException().what(), "interrupted");
}

// Short writes are continued, also where another process set the descriptor to non-blocking.
TEST(TextOutBufferThreads, servesASlowReader) {
    const std::string text = sample(3 * capacity + 17);
    for (const Kind kind : {Kind::pipe, Kind::socket, Kind::terminal}) {
        for (const bool isNonBlocking : {false, true}) {
            Pipe pipe(kind);
            if (isNonBlocking) pipe.isNonBlocking(1);
            const std::string received = pipe.readWhile([&] {
                TextOutBuffer out(pipe.writer());
                out.append(text);
                out.flush();
            });
            EXPECT_EQ(received, text) << "kind " << static_cast<int>(kind);
        }
    }
}

// No signal helps here: whoever loads the library need not handle any.
TEST(TextOutBufferThreads, interruptEndsTheWaitForAReaderThatReadsNothing) {
    for (const Kind kind : {Kind::pipe, Kind::socket, Kind::terminal}) {
        const Pipe pipe(kind);
        const int flags = ::fcntl(static_cast<int>(pipe.writer()), F_GETFL);
        std::thread operatorThread([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(30));
            // The shell on the other end of a terminal would stumble over a changed flag.
            EXPECT_EQ(::fcntl(static_cast<int>(pipe.writer()), F_GETFL), flags);
            Orb::interruptRequestedIs(true);
        });
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
        // What the descriptor took is the beginning of the report, without a gap.
        pipe.isNonBlocking(0);
        const std::string contents = pipe.readSlowly();
        EXPECT_GT(contents.size(), 0U);
        EXPECT_EQ(contents, sample(capacity).substr(0, contents.size()));
    }
}

TEST(TextOutBufferThreads, interruptStillHandsOverWhatAReaderTakes) {
    Pipe pipe;
    const std::string text = sample(300'000);
    const std::string received = pipe.readWhile([&] {
        TextOutBuffer out(pipe.writer());
        out.append(text);
        Orb::interruptRequestedIs(true);
    });
    Orb::interruptRequestedIs(false);
    EXPECT_EQ(received, text.substr(0, received.size()));
    EXPECT_GT(received.size(), 0U);
}

}  // namespace
