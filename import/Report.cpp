#include "import/Report.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

#include "base/Escape.h"

namespace Import {

namespace {

std::string counted(U64 number, const char* one, const char* many) {
    return std::to_string(number) + " " + (number == 1 ? one : many);
}

}  // namespace

void say(const std::string& message) { std::fprintf(stderr, "tpimport: %s\n", message.c_str()); }

std::string summaryOf(const StateDirectory::State& state) {
    U64 rules = 0;
    for (const auto& [name, policy] : state.config->policyMapConfig()) {
        rules += policy->currCfg()->classPriority().size();
    }
    U64 attachments = 0;
    const auto count = [&](const auto& config) {
        if (!config) return;
        PolicyMap::forEachAttachment(*config, [&](const auto&, const auto&) { ++attachments; });
    };
    count(state.intfConfigInput);
    count(state.intfConfigOutput);
    count(state.vrfConfig);
    const auto& sets = *state.fieldSetConfig;
    const U64 setCount = sets.fieldSetIpPrefix().size() + sets.fieldSetIpv6Prefix().size() +
                         sets.fieldSetL4Port().size();
    return counted(state.config->policyMapConfig().size(), "policy", "policies") + ", " +
           counted(rules, "rule", "rules") + ", " + counted(setCount, "field set", "field sets") +
           ", " + counted(attachments, "attachment", "attachments");
}

void tellFindings(const Findings& findings, const std::string& reportFile) {
    for (const std::string& line : findings.counts()) say(line);
    if (reportFile.empty()) return;
    std::ofstream report(reportFile, std::ios::trunc);
    report << findings.report();
    report.close();
    if (!report) {
        throw OutputError(Base::escaped(reportFile) +
                          ": cannot be written: " + std::strerror(errno));
    }
}

}  // namespace Import
