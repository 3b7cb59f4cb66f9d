// Reads a state directory and writes its documents into another: rewrite FROM TO.
#include <fstream>
#include <iostream>

#include "state/State.h"

int main(int argc, char** argv) {
    if (argc != 3) return 1;
    const std::string to = argv[2];
    try {
        const auto state = StateDirectory::readState(argv[1]);
        std::ofstream(to + "/config.json") << configText(state);
        std::ofstream(to + "/status.json") << statusText(state);
    } catch (const StateDirectory::StateError& error) {
        std::cerr << error.what() << '\n';
        return 2;
    }
    return 0;
}
