#include "cli/RateCommands.h"

#include <charconv>
#include <chrono>
#include <thread>

#include "cli/DiagnosisCommands.h"
#include "cli/KnownNames.h"
#include "cli/PrintReport.h"
#include "orb/ActivityLock.h"
#include "textout/Exceptions.h"
#include "traffic-policy/ShowRates.h"

namespace Cli {

namespace {

using Clock = std::chrono::steady_clock;

// Lets others have the activity lock. Throws textout::SigIntException.
void waitUntil(Clock::time_point end) {
    const Orb::ActivityUnlockGuard unlocked;
    while (Clock::now() < end) {
        textout::checkInterrupt();
        std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::milliseconds(20)));
    }
}

// When the platform wrote the counts that stand in the status.
Orb::Seconds timeOfCounts(const StateDirectory::State& state) {
    return state.time.value_or(state.statusWritten);
}

}  // namespace

double secondsOf(const Token& token) {
    constexpr double least = 0.1;
    constexpr double most = 3600;
    double seconds = 0;
    const char* const end = token.text.data() + token.text.size();
    const auto [stop, error] =
        std::from_chars(token.text.data(), end, seconds, std::chars_format::fixed);
    if (error != std::errc() || stop != end || !(seconds >= least && seconds <= most)) {
        throw CommandError(token.position, inQuotes(token.text) + " is not a number of seconds",
                           "0.1 to 3600, as 5");
    }
    return seconds;
}

Plan planRates(const Match& match) {
    TrafficPolicyCli::RateScope scope;
    scope.cpu = match.has("cpu");
    scope.input = !scope.cpu && !match.has("output");
    scope.output = !scope.cpu && !match.has("input");
    const Token* const token = match.find("SECONDS");
    const std::chrono::duration<double> seconds(token == nullptr ? 1 : secondsOf(*token));
    return [scope, seconds, name = match.name()](const Session& session) {
        const auto show = TrafficPolicyCli::showTrafficPolicyRatesFactory(scope, name);
        show->topIs(session.top());
        session.currentState();
        // Time that passes is told by a clock that nobody sets.
        const Orb::Seconds time = Orb::now();
        const auto begin = Clock::now();
        show->look(diagnosisSources(session), {time, timeOfCounts(session.state())});
        waitUntil(begin + std::chrono::duration_cast<Clock::duration>(seconds));

        const Session later = session.another();
        // What is wrong with the store has been said.
        const Orb::String damage = session.counterStore()->damage();
        if (!damage.empty()) later.counterStore()->damageIs(damage);
        later.currentState();
        const Orb::Seconds passed = Clock::now() - begin;
        show->look(diagnosisSourcesSinceClear(later), {time + passed, timeOfCounts(later.state())});
        const int status = print(show, session);
        if (status == ExitStatus::success) {
            reportMissingPolicy(name, scope.cpu ? PolicyKind::cpu : PolicyKind::interface,
                                later.state());
        }
        return status;
    };
}

}  // namespace Cli
