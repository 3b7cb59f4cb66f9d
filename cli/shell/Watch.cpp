#include "cli/shell/Watch.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

#include "base/Escape.h"
#include "base/Text.h"
#include "base/Time.h"
#include "cli/ExitStatus.h"
#include "cli/shell/Colour.h"
#include "cli/shell/OtherScreen.h"
#include "cli/shell/Pager.h"
#include "textout/Exceptions.h"
#include "textout/TextOutBuffer.h"

namespace Cli::Shell {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view home = "\033[H";
constexpr std::string_view endOfLine = "\033[K\r\n";
constexpr std::string_view endOfScreen = "\033[J";
constexpr std::string_view inverted = "\033[7m";
constexpr std::string_view notInverted = "\033[27m";

void print(std::string_view text) {
    textout::TextOutBuffer out(STDOUT_FILENO);
    out.append(text);
    out.flush();
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// The next word with the blanks before it.
std::string_view takeWord(std::string_view& line) {
    const std::size_t begin = std::min(line.find_first_not_of(' '), line.size());
    const std::size_t end = std::min(line.find(' ', begin), line.size());
    const std::string_view word = line.substr(0, end);
    line.remove_prefix(end);
    return word;
}

std::string withMarks(std::string_view line, std::string_view former) {
    std::string text;
    while (!line.empty()) {
        std::string_view word = takeWord(line);
        const std::string_view formerWord = takeWord(former);
        const std::size_t blanks = std::min(word.find_first_not_of(' '), word.size());
        text += word.substr(0, blanks);
        word.remove_prefix(blanks);
        if (formerWord.substr(std::min(blanks, formerWord.size())) == word) {
            text += word;
        } else {
            text.append(inverted).append(word).append(notInverted);
        }
    }
    return text;
}

std::size_t characterAt(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && (text[length] & 0xC0) == 0x80) ++length;
    return length;
}

// As much of a line as the columns hold; codes of colours take none.
std::string cut(std::string_view line, std::size_t columns) {
    std::string text;
    bool hasCodes = false;
    std::size_t used = 0;
    while (!line.empty()) {
        const bool isCode = line.front() == '\033';
        const std::size_t length =
            isCode ? std::min(line.find('m'), line.size() - 1) + 1 : characterAt(line);
        const std::string_view part = line.substr(0, length);
        line.remove_prefix(length);
        hasCodes = hasCodes || isCode;
        if (!isCode) used += Base::terminalColumns(part);
        if (used > columns) break;
        text += part;
    }
    return hasCodes ? text.append(plain) : text;
}

std::string headingOf(const Watch& how) {
    char interval[32];
    std::snprintf(interval, sizeof interval, "Every %g s, ", how.seconds);
    return interval + Base::timeText(Orb::now()) + ": " + Base::escaped(how.title);
}

// Sleeps until then; calls look() now and then. Throws textout::SigIntException.
void waitUntil(Clock::time_point end, const std::function<void()>& look) {
    while (Clock::now() < end) {
        textout::checkInterrupt();
        look();
        std::this_thread::sleep_until(std::min(end, Clock::now() + std::chrono::milliseconds(20)));
    }
    textout::checkInterrupt();
}

Clock::duration durationOf(const Watch& how) {
    return std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(how.seconds));
}

using Report = std::function<int(std::string& text)>;

[[noreturn]] void watchOnScreen(const Watch& how, const Report& report) {
    OtherScreen screen;
    std::string former;
    for (;;) {
        const Clock::time_point begin = Clock::now();
        std::string text;
        report(text);
        textout::checkInterrupt();
        text += screen.takeMessages();
        const std::string heading = headingOf(how);
        ScreenSize size = screenSize();
        const auto draw = [&] {
            screen.draw(frameText(how, heading, text, former, size.lines, size.columns));
        };
        draw();
        waitUntil(begin + durationOf(how), [&] {
            const ScreenSize now = screenSize();
            const bool isSameSize = now.lines == size.lines && now.columns == size.columns;
            if (isSameSize && !screen.lacksFrame()) return;
            size = now;
            draw();
        });
        former = text;
    }
}

[[noreturn]] void watchInLines(const Watch& how, const Report& report) {
    for (;;) {
        const Clock::time_point begin = Clock::now();
        const std::string time = Base::timeText(Orb::now());
        std::string text;
        report(text);
        textout::checkInterrupt();
        if (how.json) {
            if (text.ends_with('\n')) text.pop_back();
            print("{\"time\":\"" + time + "\",\"report\":" + text + "}\n");
        } else {
            print(time + "\n" + text + "\n");
        }
        waitUntil(begin + durationOf(how), [] {});
    }
}

}  // namespace

std::string frameText(const Watch& how, const std::string& heading, const std::string& text,
                      const std::string& former, std::size_t lines, std::size_t columns) {
    std::string frame(home);
    frame.append(cut(heading, columns)).append(endOfLine);
    const std::vector<std::string_view> now = linesOf(text);
    const std::vector<std::string_view> before = linesOf(former);
    // One line for the heading, one for what is left out.
    const std::size_t room = lines > 2 ? lines - 2 : 1;
    const std::size_t shown = now.size() <= room ? now.size() : room - 1;
    for (std::size_t i = 0; i < shown; ++i) {
        const std::string_view formerLine = i < before.size() ? before[i] : "";
        const bool isMarked = !former.empty() && formerLine != now[i];
        std::string line(now[i]);
        if (isMarked && how.colour) line = withMarks(now[i], formerLine);
        if (!how.colour) line = (isMarked ? "* " : "  ") + line;
        frame.append(cut(line, columns)).append(endOfLine);
    }
    if (shown < now.size()) {
        const std::string left = std::to_string(now.size() - shown) + " more lines";
        frame.append(cut("... " + left, columns)).append(endOfLine);
    }
    return frame.append(endOfScreen);
}

int watch(const Watch& how, const Report& report) {
    try {
        if (::isatty(STDOUT_FILENO) == 1) watchOnScreen(how, report);
        watchInLines(how, report);
    } catch (const textout::SigIntException&) {
        return ExitStatus::interrupted;
    }
}

}  // namespace Cli::Shell
