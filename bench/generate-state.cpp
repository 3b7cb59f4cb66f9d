// build/generate-state: writes a state directory of any size, for measurements and for play.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "StateGenerator.h"

namespace {

struct Option {
    const char* name;
    U32 Bench::StateShape::*number;
    const char* meaning;
};
constexpr Option options[] = {
    {"--policies", &Bench::StateShape::policies, "how many policies"},
    {"--rules", &Bench::StateShape::rules, "rules of each policy"},
    {"--points", &Bench::StateShape::points, "interfaces that each policy is attached to"},
    {"--ipv6-percent", &Bench::StateShape::ipv6Percent, "how many rules match IPv6"},
    {"--field-sets", &Bench::StateShape::fieldSets, "how many IPv4 prefix field sets"},
    {"--prefixes", &Bench::StateShape::prefixes, "prefixes of each field set"},
    {"--seed", &Bench::StateShape::seed, "another seed gives another state"},
};

int usage() {
    std::fputs("Usage: generate-state [OPTION NUMBER]... DIRECTORY\n\n", stderr);
    const Bench::StateShape shape;
    for (const Option& option : options) {
        std::fprintf(stderr, "  %-16s%s (%u)\n", option.name, option.meaning, shape.*option.number);
    }
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    Bench::StateShape shape;
    int at = 1;
    for (; at + 1 < argc && std::strncmp(argv[at], "--", 2) == 0; at += 2) {
        const Option* option = options;
        while (option != std::end(options) && std::strcmp(option->name, argv[at]) != 0) ++option;
        if (option == std::end(options)) return usage();
        const char* const end = argv[at + 1] + std::strlen(argv[at + 1]);
        const auto [stop, error] = std::from_chars(argv[at + 1], end, shape.*option->number);
        if (error != std::errc() || stop != end) return usage();
    }
    if (at + 1 != argc || argv[at][0] == '-') return usage();
    try {
        Bench::generateState(shape, argv[at]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "generate-state: %s\n", error.what());
        return 2;
    }
    return 0;
}
