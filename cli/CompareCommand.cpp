#include "cli/CompareCommand.h"

#include <future>

#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/KnownNames.h"
#include "cli/PrintReport.h"
#include "traffic-policy/ShowComparison.h"

namespace Cli {

namespace {

constexpr std::string_view compareWord = "compare";

Names policyNamesOf(const StateDirectory::State& before, const StateDirectory::State& after) {
    Names names = policyNames(before);
    names.merge(policyNames(after));
    return names;
}

}  // namespace

Plan planComparison(const Match& match) {
    return [before = match.find("DIR_BEFORE")->text, after = match.find("DIR_AFTER")->text,
            name = match.name(), detail = match.has("detail")](const Session& session) {
        StateDirectory::State first;
        StateDirectory::State second;
        try {
            auto reading =
                std::async(std::launch::async, [&] { return StateDirectory::readState(after); });
            first = StateDirectory::readState(before);
            second = reading.get();
        } catch (const StateDirectory::StateError& error) {
            complain(error.what());
            return ExitStatus::badState;
        }
        const auto show = TrafficPolicyCli::showTrafficPolicyComparisonFactory(
            TrafficPolicyCli::diagnosisSourcesOf(first, nullptr, nullptr),
            TrafficPolicyCli::diagnosisSourcesOf(second, nullptr, nullptr), name, detail);
        const int status = print(show, session);
        if (status != ExitStatus::success) return status;
        reportUnknownName(name, "traffic policy", policyNamesOf(first, second));
        return show->foundDifferences() ? ExitStatus::different : status;
    };
}

int failedComparisonStatus(const Words& words, int status) {
    const bool isComparison =
        !words.empty() && words.front().size() > 1 && compareWord.starts_with(words.front());
    return isComparison && status == ExitStatus::badCommand ? ExitStatus::badState : status;
}

}  // namespace Cli
