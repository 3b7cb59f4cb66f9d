// counteragent: holds the counter store of a state directory and counts into it until it is told to
// stop. The signals that stop it are waited for, never handled: they arrive between two ticks, so
// no record is left unfinished.
#include <fcntl.h>

#include <csignal>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <new>

#include "agent/Counting.h"
#include "base/Escape.h"
#include "reef/CorruptionDetectedException.h"
#include "reef/CounterDirectory.h"
#include "state/CounterStore.h"
#include "state/Snapshots.h"
#include "state/State.h"

namespace CounterAgent {

namespace {

constexpr int badOptions = 1;
constexpr int badState = 2;
constexpr int fault = 4;

constexpr long tickNanoseconds = 50'000'000;

void say(const std::string& message) {
    std::fprintf(stderr, "counteragent: %s\n", message.c_str());
}

sigset_t stopSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    ::sigaddset(&signals, SIGINT);
    return signals;
}

// Waits that long at most for a signal to stop; true: there was one.
bool isStopped(long nanoseconds) {
    static const sigset_t signals = stopSignals();
    const timespec longest = {0, nanoseconds};
    return ::sigtimedwait(&signals, nullptr, &longest) > 0;
}

// Occupies closed standard descriptors, so that none becomes the store's and what is printed ends
// up in there.
void occupyStandardDescriptors() {
    for (int fd = 0; fd >= 0 && fd <= 2;) fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
}

double secondsNow() {
    timespec now = {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

Reef::StoreWriter openStore(const Options& options, const std::string& path) {
    // A snapshot applies to whatever bears its identity. A counter that begins below its snapshot
    // is not the one that was cleared.
    Reef::UsedIdentities used;
    bool isUsedKnown = true;
    try {
        used = StateDirectory::identitiesOf(StateDirectory::readSnapshots(options.stateDirectory));
    } catch (const StateDirectory::StateError&) {
        isUsedKnown = false;  // a clear or a show says so to whom it concerns
    }
    const bool stands = std::filesystem::exists(std::filesystem::symlink_status(path));
    if (stands && !options.recreate) return Reef::StoreWriter::resume(path, used);
    const auto state = StateDirectory::readState(options.stateDirectory);
    const bool isFirst = isUsedKnown && !options.recreate;
    return Reef::StoreWriter::create(
        path, state.interfaceInput, state.interfaceOutput,
        isFirst ? Reef::Identities::ofStatus : Reef::Identities::unused, used);
}

void count(Reef::StoreWriter& writer, Counting& counting) {
    const double begin = secondsNow();
    double last = begin;
    U64 records = 0;
    while (!isStopped(counting.isFastest() ? 0 : tickNanoseconds)) {
        const double now = secondsNow();
        records += counting.advance(writer, now - last);
        last = now;
    }
    std::printf("%llu record updates in %.3f seconds\n", static_cast<unsigned long long>(records),
                secondsNow() - begin);
}

int run(const Options& options) {
    const std::string path = StateDirectory::counterStorePath(options.stateDirectory);
    const std::string store = "counter store " + Base::escaped(path);
    try {
        Reef::StoreWriter writer = openStore(options, path);
        if (writer.recordsRestored() != 0) {
            say(store + ": " + std::to_string(writer.recordsRestored()) +
                " damaged records have their former counts again");
        }
        if (writer.recordsReset() != 0) {
            say(store + ": " + std::to_string(writer.recordsReset()) +
                " damaged records count from 0 again, as new counters");
        }
        Counting counting(writer.directory(), options.rates);
        if (options.once) return 0;
        std::printf("%s: %zu records\n", store.c_str(), writer.directory().counters.size());
        std::fflush(stdout);
        count(writer, counting);
        return 0;
    } catch (const OptionError& error) {
        say(error.what());
        return badOptions;
    } catch (const Cairn::UnreadableException& failure) {
        say(store + ": " + failure.what());
        return badState;
    } catch (const Cairn::CorruptionDetectedException& damage) {
        say(store + ": " + damage.what() + "; --recreate makes it anew");
        return badState;
    } catch (const std::bad_alloc&) {
        say("out of memory");
        return fault;
    } catch (const std::exception& error) {
        say(error.what());
        return badState;
    }
}

}  // namespace

}  // namespace CounterAgent

int main(int argc, char** argv) {
    CounterAgent::occupyStandardDescriptors();
    // Before any thread is started, so that none takes them.
    const sigset_t signals = CounterAgent::stopSignals();
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    // A store beyond the limit of a file's size (ulimit -f) is an error of writing.
    std::signal(SIGXFSZ, SIG_IGN);
    try {
        CounterAgent::Options options;
        const auto request = CounterAgent::parseOptions({argv + 1, argv + argc}, options);
        if (request == Base::Request::run) return CounterAgent::run(options);
        const bool isHelp = request == Base::Request::help;
        std::fputs((isHelp ? CounterAgent::helpText() : Base::versionText("counteragent")).c_str(),
                   stdout);
        return 0;
    } catch (const CounterAgent::OptionError& error) {
        CounterAgent::say(error.what());
        return CounterAgent::badOptions;
    }
}
