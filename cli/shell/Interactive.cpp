#include "cli/shell/Interactive.h"

#include <dlfcn.h>
#include <langinfo.h>
#include <signal.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "base/Escape.h"
#include "cli/ExitStatus.h"
#include "cli/Failures.h"
#include "cli/Marks.h"
#include "cli/editor/LineEditor.h"
#include "cli/shell/Completer.h"
#include "cli/shell/History.h"
#include "orb/Interrupt.h"

namespace Cli::Shell {

namespace {

constexpr const char* prompt = "tpcli> ";

volatile sig_atomic_t endingSignal = 0;

// An interrupt ends the command; a lost terminal, or SIGTERM, the command and the shell.
void handleSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { Orb::interruptRequestedIs(true); };
    ::sigaction(SIGINT, &action, nullptr);
    action.sa_handler = [](int signal) {
        endingSignal = signal;
        Orb::interruptRequestedIs(true);
    };
    ::sigaction(SIGHUP, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
    action.sa_handler = SIG_IGN;
    ::sigaction(SIGQUIT, &action, nullptr);
}

// Names are UTF-8 whatever the locale.
void speakUtf8() {
    std::setlocale(LC_CTYPE, "");
    if (std::strcmp(::nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

std::unique_ptr<LineEditor> makeEditor(EditorHooks hooks) {
    void* const object = ::dlopen("libTpcliLineEditor.so", RTLD_NOW | RTLD_LOCAL);
    void* const entry = object != nullptr ? ::dlsym(object, makeLineEditorName) : nullptr;
    if (entry == nullptr) {
        complain(std::string("no line editor: ") + ::dlerror());
        return nullptr;
    }
    return std::unique_ptr<LineEditor>(reinterpret_cast<MakeLineEditor*>(entry)(std::move(hooks)));
}

EditorHooks hooksOf(CommandLoop& loop) {
    const auto completion = [&loop](std::string_view line) {
        const StatePtr state = loop.live().loadedSoFar();
        return complete(line, loop.grammar(),
                        {state.get(), [&loop] { return markNames(loop.stateDirectory()); }});
    };
    EditorHooks hooks;
    hooks.tab = [=](std::string_view line) -> EditorHooks::Answer {
        const TabAnswer answer = answerTab(line, completion(line), screenSize().columns);
        return {answer.inserted, answer.shown};
    };
    hooks.question = [=](std::string_view line) -> EditorHooks::Answer {
        const Completion found = completion(line);
        if (found.isInQuotes) return {"?", ""};
        return {"", helpText(found)};
    };
    hooks.news = [&loop] {
        const auto news = loop.live().takeNews();
        return news ? Base::escaped(*news) : std::string();
    };
    hooks.newsDescriptor = loop.live().newsDescriptor();
    hooks.isLeft = [] { return Orb::interruptRequested(); };
    return hooks;
}

bool isBlank(const std::string& line) { return line.find_first_not_of(" \t") == line.npos; }

// A line that is the same as the last one is not listed again.
void remember(std::vector<std::string>& history, const std::string& line) {
    if (history.empty() || history.back() != line) history.push_back(line);
}

}  // namespace

int runInteractive(CommandLoop& loop) {
    speakUtf8();
    handleSignals();
    const HistoryFile file;
    const std::unique_ptr<LineEditor> editor = makeEditor(hooksOf(loop));
    if (editor == nullptr) return ExitStatus::fault;
    loop.history() = file.read();
    for (const std::string& line : loop.history()) editor->addToHistory(line);
    loop.pagesReports(true);

    while (endingSignal == 0 && !loop.isEnding()) {
        Orb::interruptRequestedIs(false);
        if (endingSignal != 0) break;
        if (const auto news = loop.live().takeNews()) std::puts(Base::escaped(*news).c_str());
        std::string line;
        const LineEditor::Ending ending = editor->read(prompt, line);
        if (ending == LineEditor::Ending::end) {
            std::puts("");
            break;
        }
        if (ending == LineEditor::Ending::left) {
            std::puts("^C");
            continue;
        }
        std::fflush(stdout);
        if (isBlank(line)) continue;
        editor->addToHistory(line);
        file.append(line);
        remember(loop.history(), line);
        loop.run(line, "");
    }
    std::fflush(stdout);
    return endingSignal != 0 ? 128 + endingSignal : ExitStatus::success;
}

}  // namespace Cli::Shell
