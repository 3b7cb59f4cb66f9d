// tpimport: turns the data of a switch into a state directory.
#include <fcntl.h>
#include <signal.h>

#include <cstdio>
#include <new>

#include "base/Escape.h"
#include "import/Follow.h"
#include "import/OpenConfig.h"
#include "import/OpenConfigInput.h"
#include "import/Report.h"
#include "import/Sonic.h"
#include "import/SonicRedis.h"
#include "state/ImportedDirectory.h"

namespace Import {

namespace {

Gathered gatherFiles(const ImportOptions& options, Findings& findings) {
    JsonTree tree;
    for (const std::string& file : options.files) readOpenConfig(file, tree, findings);
    Gathered gathered = gatherOpenConfig(tree, findings);
    gathered.source = "openconfig";
    for (const std::string& file : options.files) gathered.source += " " + Base::escaped(file);
    return gathered;
}

Gathered gatherDatabases(const ImportOptions& options, Findings& findings) {
    SonicDatabases databases;
    std::string source;
    if (options.redis) {
        source = options.redis->text();
        databases = SonicRedis(*options.redis).readAll(findings);
    }
    for (std::size_t i = 0; i < std::size(sonicDatabases); ++i) {
        const std::string& file = options.databaseFiles[i];
        if (file.empty()) continue;
        source += (source.empty() ? "" : " ") + Base::escaped(file);
        readSonicFile(file, sonicDatabases[i], databases, findings);
    }
    if (!holdsAcls(databases)) {
        throw StateDirectory::StateError(
            Base::escaped(source) +
            ": there is no ACL in it, expected keys such as \"ACL_TABLE|NAME\" in CONFIG_DB");
    }
    Gathered gathered = gatherSonic(databases, findings);
    gathered.source = "sonic " + source;
    return gathered;
}

int importOnce(const ImportOptions& options) {
    Findings findings;
    const Gathered gathered = options.source == Source::openConfig
                                  ? gatherFiles(options, findings)
                                  : gatherDatabases(options, findings);
    const StateDirectory::State state = stateOf(gathered);
    const std::string config = configText(state);
    const std::string status = statusText(state);
    if (!options.dryRun) {
        writing([&] {
            StateDirectory::ImportedDirectory directory(options.output);
            directory.documentsAre(config, status);
            directory.heardIs(std::nullopt);
        });
    }
    say((options.dryRun ? "not written: " : Base::escaped(options.output) + ": ") +
        summaryOf(state));
    tellFindings(findings, options.report);
    return statusOf(findings);
}

int run(const ImportOptions& options) {
    try {
        return options.follow ? follow(options) : importOnce(options);
    } catch (const OutputError& error) {
        say(error.what());
        return badOutput;
    } catch (const std::bad_alloc&) {
        say("out of memory");
        return outOfMemory;
    } catch (const std::exception& error) {
        say(error.what());
        return badInput;
    }
}

}  // namespace

}  // namespace Import

int main(int argc, char** argv) {
    using namespace Import;
    // Closed standard descriptors would become those of files.
    for (int fd = 0; fd >= 0 && fd <= 2;) fd = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    try {
        ImportOptions options;
        const auto request = parseOptions({argv + 1, argv + argc}, options);
        if (request != Base::Request::run) {
            const bool isHelp = request == Base::Request::help;
            std::fputs((isHelp ? helpText() : Base::versionText("tpimport")).c_str(), stdout);
            return 0;
        }
        if (options.follow) {
            sigset_t signals;
            ::sigemptyset(&signals);
            ::sigaddset(&signals, SIGTERM);
            ::sigaddset(&signals, SIGINT);
            ::sigprocmask(SIG_BLOCK, &signals, nullptr);
        }
        // A lost connection, and a file that grows beyond its limit, are errors of writing.
        ::signal(SIGPIPE, SIG_IGN);
        ::signal(SIGXFSZ, SIG_IGN);
        return run(options);
    } catch (const OptionError& error) {
        say(error.what());
        return badOptions;
    }
}
