#include "Reports.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>
#include <sstream>

#include "WellFormed.h"
#include "cli/Commands.h"
#include "orb/ActivityLock.h"

namespace Fuzz {

namespace {

constexpr U32 text = 1;
constexpr U32 json = 2;

constexpr const char* counterCommands[] = {
    "show traffic-policy interface",
    "show traffic-policy interface counters",
    "show traffic-policy interface output counters",
    "show traffic-policy cpu",
    "show traffic-policy cpu counters",
};

constexpr const char* otherCommands[] = {
    "show traffic-policy interface detail",
    "show traffic-policy interface summary",
    "show traffic-policy interface errors",
    "show traffic-policy interface input errors",
    "show traffic-policy interface output detail",
    "show traffic-policy cpu detail",
    "show traffic-policy cpu summary",
    "show traffic-policy cpu errors",
    "show traffic-policy vlan",
    "show traffic-policy vlan detail",
    "show traffic-policy vlan summary",
    "show traffic-policy vlan errors",
    "show traffic-policy P interface detail",
    "show traffic-policy P cpu",
    "show traffic-policy attachments",
    "show traffic-policy attachments interface Ethernet1",
    "show traffic-policy field-set ipv4 prefix",
    "show traffic-policy field-set ipv4 prefix filter 10.0.0.0/8",
    "show traffic-policy field-set ipv4 prefix S filter 10.0.0.0/8 exact",
    "show traffic-policy field-set ipv6 prefix",
    "show traffic-policy field-set ipv6 prefix filter 2001:db8::/32",
    "show traffic-policy field-set l4-port",
    "show traffic-policy field-set l4-port filter 80-90",
    "show traffic-policy field-set vlan",
    "show traffic-policy field-set vlan S filter 10",
    "show traffic-policy field-set mac",
};

// A state that is read once for many commands.
class ReadState : public Cli::StateSource {
  public:
    explicit ReadState(const std::string& directory)
        : state_(std::make_shared<StateDirectory::State>(StateDirectory::readState(directory))) {}
    Cli::StatePtr loaded() override { return state_; }
    Cli::StatePtr current() override { return state_; }

  private:
    Cli::StatePtr state_;
};

[[noreturn]] void fail(const char* command, std::string_view fault, std::string_view report) {
    std::fprintf(stderr, "%s: %.*s\n", command, static_cast<int>(fault.size()), fault.data());
    std::fwrite(report.data(), 1, report.size(), stderr);
    std::abort();
}

// Ranges of code points that act on a terminal or cannot be seen there.
struct CodeRange {
    U32 low, high;
};
constexpr CodeRange harmfulInText[] = {
    {0x00, 0x09},     {0x0b, 0x1f},     {0x7f, 0xa0},     {0x200b, 0x200f},
    {0x202a, 0x202e}, {0x2060, 0x2069}, {0xfeff, 0xfeff},
};
constexpr CodeRange harmfulInJson[] = {{0x200e, 0x200f}, {0x202a, 0x202e}, {0x2066, 0x2069}};

// Says whether a text in valid UTF-8 holds a character of the ranges.
bool holdsAnyOf(std::string_view report, std::span<const CodeRange> ranges) {
    for (std::size_t at = 0; at < report.size();) {
        const auto first = static_cast<unsigned char>(report[at]);
        const U32 length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
        U32 code = length == 1 ? first : first & (0x7fU >> length);
        for (U32 i = 1; i < length; ++i) {
            code = code << 6 | (static_cast<unsigned char>(report[at + i]) & 0x3fU);
        }
        const auto holdsCode = [&](CodeRange range) {
            return code >= range.low && code <= range.high;
        };
        if (std::ranges::any_of(ranges, holdsCode)) return true;
        at += length;
    }
    return false;
}

std::string faultOfText(std::string_view report) {
    if (!simdjson::validate_utf8(report.data(), report.size())) return "not UTF-8";
    if (!report.empty() && report.back() != '\n') return "the last line does not end";
    return holdsAnyOf(report, harmfulInText) ? "a character that acts on a terminal" : "";
}

std::string faultOfJson(std::string_view report) {
    const std::string fault = WellFormed::faultOf(report);
    if (!fault.empty()) return fault;
    return holdsAnyOf(report, harmfulInJson) ? "a character that changes the direction" : "";
}

void checkRefusal(const char* command, const StateDirectory::StateError& error) {
    const std::string message = error.what();
    const std::string fault = faultOfText(message + '\n');
    if (!fault.empty()) fail(command, fault, message);
    if (message.find('\n') != message.npos) fail(command, "more than one line", message);
}

// The file in memory that reports are printed to.
class Output {
  public:
    U32 fd() const { return static_cast<U32>(fd_); }
    // What was printed since the last call.
    std::string take() const {
        std::string report(static_cast<std::size_t>(::lseek(fd_, 0, SEEK_END)), '\0');
        if (::pread(fd_, report.data(), report.size(), 0) < 0) std::abort();
        if (::ftruncate(fd_, 0) != 0 || ::lseek(fd_, 0, SEEK_SET) != 0) std::abort();
        return report;
    }

  private:
    int fd_ = ::memfd_create("report", MFD_CLOEXEC);
};

// Runs a command in both formats, and in JSON in both revisions of its model.
void run(const char* command, const std::string& directory, Cli::StateSource& source) {
    static const Output output;
    std::istringstream line(command);
    const Cli::Words words{std::istream_iterator<std::string>(line), {}};
    const Cli::Plan plan = Cli::planOf(words);
    for (const auto& [format, revision] : {std::pair(text, 2U), {json, 1U}, {json, 2U}}) {
        try {
            const Cli::Session session(directory, output.fd(), format, revision, source);
            const Orb::ActivityLockGuard lock;
            plan(session);
        } catch (const StateDirectory::StateError& error) {
            checkRefusal(command, error);
            output.take();
            continue;
        }
        const std::string report = output.take();
        const std::string fault = format == text ? faultOfText(report) : faultOfJson(report);
        if (!fault.empty()) fail(command, fault, report);
    }
}

}  // namespace

void runCommands(const std::string& directory, Commands which) {
    try {
        ReadState source(directory);
        for (const char* const command : counterCommands) run(command, directory, source);
        if (which == Commands::all) {
            for (const char* const command : otherCommands) run(command, directory, source);
        }
        run("clear traffic-policy counters", directory, source);
        for (const char* const command : counterCommands) run(command, directory, source);
    } catch (const StateDirectory::StateError& error) {
        checkRefusal("the state", error);
    }
}

}  // namespace Fuzz
