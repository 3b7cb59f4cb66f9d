#include "exporter/ExporterOptions.h"

#include <arpa/inet.h>

#include <filesystem>
#include <map>

#include "base/Escape.h"
#include "base/Text.h"

namespace Exporter {

namespace {

using Base::inQuotes;

constexpr const char* defaultListen = "127.0.0.1:9812";
constexpr Base::Bounds ports{0, 65535};
constexpr Base::Bounds intervals{1, 86400};

ListenAddress listenAddress(const std::string& value) {
    const std::size_t colon = value.rfind(':');
    const std::string host = value.substr(0, colon);
    ListenAddress listen{};
    const bool isIpv6 = host.size() > 2 && host.front() == '[' && host.back() == ']';
    const bool isAddress = isIpv6 ? ::inet_pton(AF_INET6, host.substr(1, host.size() - 2).c_str(),
                                                &listen.ipv6.sin6_addr) == 1
                                  : ::inet_pton(AF_INET, host.c_str(), &listen.ipv4.sin_addr) == 1;
    if (colon == std::string::npos || !isAddress) {
        Base::refuseValue("--listen", value, "is no address with a port",
                          "ADDRESS:PORT, as 127.0.0.1:9812 or [::1]:9812");
    }
    const auto port =
        static_cast<in_port_t>(Base::numberValue("--listen, port", value.substr(colon + 1), ports));
    if (isIpv6) {
        listen.ipv6.sin6_family = AF_INET6;
        listen.ipv6.sin6_port = htons(port);
    } else {
        listen.ipv4.sin_family = AF_INET;
        listen.ipv4.sin_port = htons(port);
    }
    return listen;
}

// DIR or NAME=DIR. A directory whose own name has a "=" is written with a "/" before it.
StateName stateName(const std::string& value) {
    const std::size_t equals = value.find('=');
    StateName state{value, ""};
    if (equals != std::string::npos && value.find('/') > equals) {
        state = {value.substr(equals + 1), value.substr(0, equals)};
        if (state.name.empty()) {
            Base::refuseValue("--state", value, "has no name before the =", "NAME=DIR");
        }
        if (Base::escaped(state.name) != state.name) {
            Base::refuseValue("--state", value, "has characters in its name that cannot be shown",
                              "a name in printable UTF-8");
        }
    }
    if (state.directory.empty()) Base::refuseValue("--state", value, "is empty", "a directory");
    return state;
}

std::string lastNameOf(const std::string& directory) {
    std::error_code ignored;
    auto path = std::filesystem::absolute(directory, ignored).lexically_normal();
    if (!path.has_filename()) path = path.parent_path();
    return Base::escaped(path.filename().string());
}

// Several switches are told apart by names, which are those of their directories unless given.
void nameStates(std::vector<StateName>& states) {
    std::map<std::string, std::string> directories;
    for (StateName& state : states) {
        if (states.size() > 1 && state.name.empty()) state.name = lastNameOf(state.directory);
        const auto [other, isNew] = directories.emplace(state.name, state.directory);
        if (isNew) continue;
        throw OptionError("--state: " + inQuotes(other->second) + " and " +
                          inQuotes(state.directory) + " would both be the switch " +
                          inQuotes(state.name) + ", expected different names: give one with " +
                          "--state NAME=DIR");
    }
}

const std::vector<Base::Option<Options>>& table() {
    static const std::vector<Base::Option<Options>> rows = {
        {{"--state", "[NAME=]DIR...", "a directory",
          "the state directories, one per switch; may be repeated. With several, or with NAME, "
          "each series has a label \"switch\": NAME, or else the directory's own name. Default: "
          "the current directory"},
         [](const std::string& value, Options& options) {
             options.states.push_back(stateName(value));
         }},
        {{"--listen", "ADDRESS:PORT", "an address with a port",
          std::string("where to serve; default ") + defaultListen +
              ". Port 0 is any that is free; the first line of the log says which"},
         [](const std::string& value, Options& options) {
             options.listen = listenAddress(value);
             options.isListenGiven = true;
         }},
        {{"--per-rule", "", "", "a series for each rule and each named counter; the default"},
         [](const std::string&, Options& options) { options.grain = Grain::perRule; }},
        {{"--per-policy", "", "",
          "instead one for all rules, and one for all named counters, of a policy on a side"},
         [](const std::string&, Options& options) { options.grain = Grain::perPolicy; }},
        {{"--textfile", "PATH", "a file",
          "instead of serving write the figures into a file, which is replaced as a whole, for "
          "the textfile collector of the node exporter; its name ends in .prom"},
         [](const std::string& value, Options& options) {
             if (!value.ends_with(".prom")) {
                 Base::refuseValue("--textfile", value, "is not read by the collector",
                                   "a name that ends in .prom");
             }
             options.textfile = value;
         }},
        {{"--interval", "SECONDS", "a number of seconds",
          "go on writing the file every so many seconds, " + intervals.stringValue() +
              ", until SIGTERM, which removes it; without, it is written once"},
         [](const std::string& value, Options& options) {
             options.intervalSeconds = Base::numberValue("--interval", value, intervals);
         }},
    };
    return rows;
}

}  // namespace

Base::Request parseOptions(const std::vector<std::string>& arguments, Options& options) {
    options.listen = listenAddress(defaultListen);
    const auto moreStates = [&](const std::string& word) {
        if (options.states.empty()) {
            throw OptionError(inQuotes(word) + " is not an option; --help lists them");
        }
        options.states.push_back(stateName(word));
    };
    const Base::Request request =
        Base::parseOptions<Options>(arguments, table(), options, moreStates);
    if (request != Base::Request::run) return request;
    if (options.states.empty()) options.states.push_back({".", ""});
    nameStates(options.states);
    if (options.isListenGiven && !options.textfile.empty()) {
        throw OptionError("--listen and --textfile exclude each other: run one of each");
    }
    if (options.intervalSeconds != 0 && options.textfile.empty()) {
        throw OptionError("--interval goes with --textfile");
    }
    return request;
}

std::string helpText() {
    const std::vector<Base::OptionForm> forms = Base::formsOf<Options>(table());
    return "Serves counts, installation and problems of traffic policies to Prometheus, at\n"
           "http://127.0.0.1:9812/metrics, until SIGTERM or SIGINT.\n"
           "\n" +
           Base::usageLine("tpexporter", forms, "") +
           "       tpexporter --help | --version\n"
           "\n" +
           Base::optionsHelp(forms) +
           R"(
Counts are the live ones, not those since a clear. A state that cannot be read
shows traffic_policy_up 0 and nothing else of it; the log, which is standard
error, says why. Nobody is asked for a password: serve other addresses than the
loopback only where every host may see the figures, or behind a proxy.

Exit status:
  0  ended by SIGTERM or SIGINT, or the file was written
  1  wrong options
  3  the address cannot be served, or the file cannot be written
  4  out of memory

Examples:
  tpexporter --state /var/lib/traffic-policy
  tpexporter --state /var/lib/switches/* --listen 192.0.2.10:9812 --per-policy
  tpexporter --state . --textfile /var/lib/prometheus/node-exporter/policy.prom
)";
}

}  // namespace Exporter
