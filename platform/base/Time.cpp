#include "base/Time.h"

#include <algorithm>
#include <ctime>

namespace Base {

namespace {

constexpr Orb::Seconds endOfTheYear9999{253402300800.0};

bool isDigit(char character) { return character >= '0' && character <= '9'; }

// Says whether the text begins as the form does, in which "0" stands for any digit.
bool beginsAs(std::string_view text, std::string_view form) {
    if (text.size() < form.size()) return false;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] == '0' ? !isDigit(text[i]) : text[i] != form[i]) return false;
    }
    return true;
}

int numberAt(std::string_view text, std::size_t at, std::size_t digits) {
    int number = 0;
    for (std::size_t i = at; i < at + digits; ++i) number = 10 * number + (text[i] - '0');
    return number;
}

// The fraction of a second that the text begins with, which is taken off it.
std::optional<double> takeFraction(std::string_view& text) {
    if (!text.starts_with('.')) return 0;
    double fraction = 0;
    double unit = 0.1;
    std::size_t end = 1;
    for (; end < text.size() && isDigit(text[end]); ++end) {
        fraction += unit * (text[end] - '0');
        unit /= 10;
    }
    if (end == 1) return std::nullopt;
    text.remove_prefix(end);
    return fraction;
}

// The seconds by which a zone is ahead of UTC.
std::optional<int> offsetOf(std::string_view zone) {
    if (zone == "Z" || zone == "z") return 0;
    const bool isAhead = zone.starts_with('+');
    if (!isAhead && !zone.starts_with('-')) return std::nullopt;
    if (zone.size() != 6 || !beginsAs(zone.substr(1), "00:00")) return std::nullopt;
    const int hours = numberAt(zone, 1, 2);
    const int minutes = numberAt(zone, 4, 2);
    if (hours > 23 || minutes > 59) return std::nullopt;
    return (isAhead ? 60 : -60) * (60 * hours + minutes);
}

}  // namespace

Orb::String timeText(Orb::Seconds time) {
    const auto seconds = static_cast<std::time_t>(time.count());
    std::tm utc{};
    ::gmtime_r(&seconds, &utc);
    char text[32];
    return {text, std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc)};
}

std::optional<Orb::Seconds> parseTime(std::string_view text) {
    constexpr std::string_view date = "0000-00-00";
    constexpr std::string_view clock = "00:00:00";
    const std::string_view ofDay = text.substr(std::min(text.size(), date.size() + 1));
    if (!beginsAs(text, date) || !beginsAs(ofDay, clock)) return std::nullopt;
    if (const char between = text[date.size()]; between != 'T' && between != 't') {
        return std::nullopt;
    }
    std::tm given{};
    given.tm_year = numberAt(text, 0, 4) - 1900;
    given.tm_mon = numberAt(text, 5, 2) - 1;
    given.tm_mday = numberAt(text, 8, 2);
    given.tm_hour = numberAt(ofDay, 0, 2);
    given.tm_min = numberAt(ofDay, 3, 2);
    const int second = numberAt(ofDay, 6, 2);
    if (given.tm_hour > 23 || given.tm_min > 59 || second > 60) return std::nullopt;
    std::tm day = given;  // a day that its month does not have becomes another
    const std::time_t seconds = ::timegm(&day) + second;
    if (day.tm_mon != given.tm_mon || day.tm_mday != given.tm_mday) return std::nullopt;
    std::string_view rest = ofDay.substr(clock.size());
    const auto fraction = takeFraction(rest);
    const auto offset = offsetOf(rest);
    if (!fraction || !offset) return std::nullopt;
    const Orb::Seconds time(static_cast<double>(seconds - *offset) + *fraction);
    if (time.count() < 0 || time >= endOfTheYear9999) return std::nullopt;
    return time;
}

}  // namespace Base
