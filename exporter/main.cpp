// tpexporter: keeps the states of switches loaded and shows their figures to Prometheus until it is
// told to stop. The signals that stop it are waited for, never handled.
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <new>
#include <system_error>

#include "base/Escape.h"
#include "exporter/Log.h"
#include "exporter/Server.h"
#include "exporter/Textfile.h"

namespace Exporter {

namespace {

constexpr int badOptions = 1;
constexpr int notServed = 3;
constexpr int fault = 4;

sigset_t stopSignals() {
    sigset_t signals;
    ::sigemptyset(&signals);
    ::sigaddset(&signals, SIGTERM);
    ::sigaddset(&signals, SIGINT);
    return signals;
}

// Each state takes a few descriptors, each connection one.
void allowManyDescriptors() {
    constexpr rlim_t wanted = 65536;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur >= wanted) return;
    limit.rlim_cur = std::min(wanted, limit.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &limit);
}

// Reads all states, so that the first scrape waits for none.
Switches loadStates(const Options& options) {
    Switches switches;
    for (const StateName& state : options.states) {
        switches.push_back(std::make_unique<Switch>(state, options.grain));
    }
    const auto deadline = Switch::Clock::now() + std::chrono::minutes(1);
    for (const auto& one : switches) one->read(deadline);
    return switches;
}

int writeFiles(const Options& options, const Switches& switches) {
    const sigset_t signals = stopSignals();
    writeTextfile(options.textfile, switches);
    if (options.intervalSeconds == 0) return 0;
    const timespec interval = {static_cast<time_t>(options.intervalSeconds), 0};
    for (bool wasWritten = true; ::sigtimedwait(&signals, nullptr, &interval) < 0;) {
        try {
            writeTextfile(options.textfile, switches);
            wasWritten = true;
        } catch (const std::system_error& error) {
            if (std::exchange(wasWritten, false)) say(Base::escaped(error.what()));
        }
    }
    // Nobody is to take the last figures for those of now.
    ::unlink(options.textfile.c_str());
    return 0;
}

int serve(const Options& options, const Switches& switches) {
    Server server(options.listen, switches);
    say("serving at " + server.url());
    const sigset_t signals = stopSignals();
    constexpr timespec interval = {5, 0};
    while (::sigtimedwait(&signals, nullptr, &interval) < 0) server.endLateConnections();
    return 0;
}

int run(const Options& options) {
    allowManyDescriptors();
    try {
        const Switches switches = loadStates(options);
        return options.textfile.empty() ? serve(options, switches) : writeFiles(options, switches);
    } catch (const std::system_error& error) {
        say(Base::escaped(error.what()));
        return notServed;
    } catch (const std::bad_alloc&) {
        say("out of memory");
        return fault;
    }
}

}  // namespace

}  // namespace Exporter

int main(int argc, char** argv) {
    // Before any thread is started, so that none takes them.
    const sigset_t signals = Exporter::stopSignals();
    ::sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    try {
        Exporter::Options options;
        const auto request = Exporter::parseOptions({argv + 1, argv + argc}, options);
        if (request == Base::Request::run) return Exporter::run(options);
        const bool isHelp = request == Base::Request::help;
        std::fputs((isHelp ? Exporter::helpText() : Base::versionText("tpexporter")).c_str(),
                   stdout);
        return 0;
    } catch (const Exporter::OptionError& error) {
        Exporter::say(error.what());
        return Exporter::badOptions;
    }
}
