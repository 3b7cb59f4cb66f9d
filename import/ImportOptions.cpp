#include "import/ImportOptions.h"

#include "base/Text.h"

namespace Import {

namespace {

std::function<void(const std::string&, ImportOptions&)> file(
    const std::string& option, std::string& (*target)(ImportOptions&)) {
    return [option, target](const std::string& value, ImportOptions& options) {
        if (value.empty()) Base::refuseValue(option, value, "is empty", "a path");
        target(options) = value;
    };
}

const std::vector<Base::Option<ImportOptions>>& table() {
    static const std::vector<Base::Option<ImportOptions>> rows = {
        {{"-o", "DIR", "a directory",
          "the state directory to write: a new one, or one that was imported before"},
         file("-o", [](ImportOptions& options) -> std::string& { return options.output; })},
        {{"--dry-run", "", "", "read everything and tell what was not understood, write no state"},
         [](const std::string&, ImportOptions& options) { options.dryRun = true; }},
        {{"--report", "FILE", "a file",
          "write each statement that was not understood to FILE, with its place"},
         file("--report", [](ImportOptions& options) -> std::string& { return options.report; })},
        {{"--redis", "ADDRESS", "HOST:PORT or unix:PATH",
          "sonic: read the databases from this Redis server, HOST:PORT or unix:PATH"},
         [](const std::string& value, ImportOptions& options) {
             options.redis = parseRedisAddress(value);
             if (!options.redis) {
                 Base::refuseValue("--redis", value, "is no server", "HOST:PORT or unix:PATH");
             }
         }},
        {{"--config", "FILE", "a file", "sonic: CONFIG_DB, exported as JSON"},
         file("--config",
              [](ImportOptions& options) -> std::string& { return options.databaseFiles[0]; })},
        {{"--counters", "FILE", "a file", "sonic: COUNTERS_DB, exported as JSON"},
         file("--counters",
              [](ImportOptions& options) -> std::string& { return options.databaseFiles[2]; })},
        {{"--state", "FILE", "a file", "sonic: STATE_DB, exported as JSON"},
         file("--state",
              [](ImportOptions& options) -> std::string& { return options.databaseFiles[1]; })},
        {{"--follow", "", "",
          "sonic: stay connected to the server and keep the state up to date, until SIGTERM or "
          "SIGINT"},
         [](const std::string&, ImportOptions& options) { options.follow = true; }},
    };
    return rows;
}

bool hasDatabaseFile(const ImportOptions& options) {
    for (const std::string& path : options.databaseFiles) {
        if (!path.empty()) return true;
    }
    return false;
}

void check(const ImportOptions& options) {
    if (options.output.empty() && !options.dryRun) {
        throw OptionError("-o is missing, expected the state directory to write, or --dry-run");
    }
    if (options.source == Source::openConfig) {
        if (options.redis || options.follow || hasDatabaseFile(options)) {
            throw OptionError("--redis, --config, --counters, --state and --follow are for sonic");
        }
        if (options.files.empty()) throw OptionError("expected the files of OpenConfig data");
        return;
    }
    if (!options.files.empty()) {
        throw OptionError(Base::inQuotes(options.files.front()) +
                          " is no option; a database file follows --config, --counters or --state");
    }
    if (options.redis.has_value() == !options.databaseFiles[0].empty()) {
        throw OptionError("expected either --redis, or --config with the other files");
    }
    if (options.redis && hasDatabaseFile(options)) {
        throw OptionError("--counters and --state go with --config, not with --redis");
    }
    if (options.follow && (!options.redis || options.dryRun)) {
        throw OptionError("--follow needs --redis, and does not go with --dry-run");
    }
}

}  // namespace

Base::Request parseOptions(const std::vector<std::string>& arguments, ImportOptions& options) {
    bool hasSource = false;
    const auto word = [&](const std::string& text) {
        if (hasSource) {
            options.files.push_back(text);
            return;
        }
        hasSource = true;
        options.source = text == "sonic" ? Source::sonic : Source::openConfig;
        if (text != "sonic" && text != "openconfig") {
            throw OptionError(Base::inQuotes(text) + " is no source, expected openconfig or sonic");
        }
    };
    const auto request = Base::parseOptions<ImportOptions>(arguments, table(), options, word);
    if (request != Base::Request::run) return request;
    if (!hasSource) throw OptionError("expected a source: openconfig or sonic");
    check(options);
    return request;
}

std::string helpText() {
    const std::vector<Base::OptionForm> forms = Base::formsOf<ImportOptions>(table());
    return "Turns the data of a switch into a state directory: OpenConfig data as gNMI or\n"
           "NETCONF tools deliver it (JSON), or the databases of a SONiC switch.\n"
           "\n"
           "Usage: tpimport openconfig FILE... -o DIR [--dry-run] [--report FILE]\n"
           "       tpimport sonic --redis ADDRESS -o DIR [--follow] [--report FILE]\n"
           "       tpimport sonic --config FILE [--counters FILE] [--state FILE] -o DIR\n"
           "       tpimport --help | --version\n"
           "\n" +
           Base::optionsHelp(forms) +
           R"(
The directory changes in one step: who reads it sees the former state or the
new one. What was cleared stays cleared.

What a rule asks or does beyond the criteria and actions of this system is kept
word for word, and shown as "Other". At the end standard error tells how many
statements were carried so, and how many were left out.

Exit status:
  0    everything was understood
  1    wrong options
  2    the input cannot be read, or holds no such data
  3    the state or the report cannot be written
  4    out of memory
  6    the state is written; something was carried as other, or left out

Examples:
  tpimport openconfig acl.json -o state
  tpimport sonic --config config_db.json -o state --report findings.txt
  tpimport sonic --redis 127.0.0.1:6379 -o state --follow
)";
}

}  // namespace Import
