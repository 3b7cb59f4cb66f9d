#include "cli/shell/Sinks.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "base/Escape.h"
#include "base/File.h"
#include "textout/TextOutBuffer.h"

namespace Cli::Shell {

namespace {

class DescriptorSink : public Sink {
  public:
    explicit DescriptorSink(int fd) : out_(static_cast<U32>(fd)) {}
    void write(std::string_view bytes) override { out_.append(bytes); }
    void flush() override { out_.flush(); }
    void end(bool) override { out_.flush(); }

  private:
    textout::TextOutBuffer out_;
};

class FileSink : public Sink {
  public:
    explicit FileSink(const std::string& path) : path_(resolved(path)) {
        struct stat status {};
        isReplaced_ = ::stat(path_.c_str(), &status) != 0 || S_ISREG(status.st_mode);
        if (isReplaced_) {
            writtenPath_ = path_ + ".XXXXXX";
            file_ = Base::FileDescriptor(::mkostemp(writtenPath_.data(), O_CLOEXEC));
            const mode_t mask = ::umask(0);
            ::umask(mask);
            const mode_t mode = status.st_mode != 0 ? status.st_mode & 0777 : 0666 & ~mask;
            if (file_.isOpen()) ::fchmod(file_.number(), mode);
        } else {
            writtenPath_ = path_;
            file_ = Base::FileDescriptor(
                ::open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
        }
        if (!file_.isOpen()) refuse();
        sink_ = std::make_unique<DescriptorSink>(file_.number());
    }
    ~FileSink() override {
        sink_.reset();
        if (isReplaced_ && !isWhole_) ::unlink(writtenPath_.c_str());
    }
    void write(std::string_view bytes) override {
        tried([&] { sink_->write(bytes); });
    }
    void flush() override {
        tried([&] { sink_->flush(); });
    }
    void end(bool isWhole) override {
        if (!isWhole) return;
        flush();
        if (!file_.close()) refuse();
        if (isReplaced_ && ::rename(writtenPath_.c_str(), path_.c_str()) != 0) refuse();
        isWhole_ = true;
    }

  private:
    // A link is written through.
    static std::string resolved(const std::string& path) {
        const std::unique_ptr<char, decltype(&::free)> target(::realpath(path.c_str(), nullptr),
                                                              &::free);
        return target ? target.get() : path;
    }
    template <class Operation>
    void tried(Operation operation) const {
        try {
            operation();
        } catch (const textout::WriteError& error) {
            errno = error.code().value();
            refuse();
        }
    }
    [[noreturn]] void refuse() const {
        const std::string reason = std::strerror(errno);
        throw std::runtime_error(Base::escaped(path_) + ": cannot be written: " + reason);
    }

    std::string path_;
    std::string writtenPath_;
    Base::FileDescriptor file_;
    bool isReplaced_ = false;
    bool isWhole_ = false;
    std::unique_ptr<DescriptorSink> sink_;
};

class TextSink : public Sink {
  public:
    explicit TextSink(std::string& text) : text_(text) {}
    void write(std::string_view bytes) override { text_ += bytes; }
    void flush() override {}
    void end(bool) override {}

  private:
    std::string& text_;
};

}  // namespace

std::unique_ptr<Sink> toText(std::string& text) { return std::make_unique<TextSink>(text); }
std::unique_ptr<Sink> toDescriptor(int fd) { return std::make_unique<DescriptorSink>(fd); }
std::unique_ptr<Sink> toFile(const std::string& path) { return std::make_unique<FileSink>(path); }

}  // namespace Cli::Shell
