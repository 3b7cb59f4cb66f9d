#include "cli/Failures.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "base/OptionTable.h"
#include "cli/ExitStatus.h"
#include "state/StateError.h"
#include "textout/Exceptions.h"

namespace Cli {

void complain(const std::string& message) { std::fprintf(stderr, "tpcli: %s\n", message.c_str()); }

std::string hintFor(const std::string& directory) {
    std::error_code ignored;
    const std::filesystem::path path(directory);
    if (std::filesystem::exists(path / "config.json", ignored)) return "";
    return "\ntpcli: name a state directory with --state DIR; an example comes with the sources: "
           "--state examples/campus";
}

int reportFailures(const std::string& place, const Words& words, const std::function<int()>& body) {
    try {
        return body();
    } catch (const CommandError& error) {
        complain(place + explain(words, error));
        return ExitStatus::badCommand;
    } catch (const Base::OptionError& error) {
        complain(place + error.what());
        return ExitStatus::badCommand;
    } catch (const StateDirectory::StateError& error) {
        complain(place + error.what());
        return ExitStatus::badState;
    } catch (const textout::SigIntException& interrupt) {
        textout::printExiting(interrupt.what());
        return ExitStatus::interrupted;
    } catch (const textout::WriteError& error) {
        if (error.code().value() == EPIPE) return ExitStatus::closedPipe;
        complain(place + "standard output: " + error.code().message());
        return ExitStatus::notWritten;
    } catch (const std::exception& error) {
        complain(place + error.what());
        return ExitStatus::fault;
    }
}

}  // namespace Cli
