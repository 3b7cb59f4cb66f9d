// build/generate-state: writes a state directory of any size, for measurements and for play.
#include <cstdio>

#include "StateGenerator.h"
#include "base/OptionTable.h"

namespace {

using Bench::StateShape;

template <U32 StateShape::*number>
Base::Option<StateShape> numberOption(const std::string& name, const std::string& meaning) {
    const std::string help = meaning + "; default " + std::to_string(StateShape().*number);
    return {{name, "N", "a number", help}, [name](const std::string& value, StateShape& shape) {
                shape.*number = static_cast<U32>(Base::numberValue(name, value, {0, ~U32{0}}));
            }};
}

const Base::Option<StateShape> options[] = {
    numberOption<&StateShape::policies>("--policies", "how many policies"),
    numberOption<&StateShape::rules>("--rules", "rules of each policy"),
    numberOption<&StateShape::points>("--points", "interfaces that each policy is attached to"),
    numberOption<&StateShape::ipv6Percent>("--ipv6-percent", "how many rules match IPv6"),
    numberOption<&StateShape::fieldSets>("--field-sets", "how many IPv4 prefix field sets"),
    numberOption<&StateShape::prefixes>("--prefixes", "prefixes of each field set"),
    numberOption<&StateShape::seed>("--seed", "another seed gives another state"),
};

std::string helpText() {
    return "Usage: generate-state [OPTION N]... DIRECTORY\n\n" +
           Base::optionsHelp(Base::formsOf<StateShape>(options));
}

int run(const std::vector<std::string>& arguments) {
    StateShape shape;
    std::vector<std::string> words;
    const auto request = Base::parseOptions<StateShape>(
        arguments, options, shape, [&](const std::string& word) { words.push_back(word); });
    if (request != Base::Request::run) {
        const bool isHelp = request == Base::Request::help;
        std::fputs((isHelp ? helpText() : Base::versionText("generate-state")).c_str(), stdout);
        return 0;
    }
    if (words.size() != 1) {
        std::fputs(helpText().c_str(), stderr);
        return 1;
    }
    Bench::generateState(shape, words.front());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run({argv + 1, argv + argc});
    } catch (const Base::OptionError& error) {
        std::fprintf(stderr, "generate-state: %s\n", error.what());
        return 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "generate-state: %s\n", error.what());
        return 2;
    }
}
