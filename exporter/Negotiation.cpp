#include "exporter/Negotiation.h"

#include <algorithm>
#include <cctype>
#include <charconv>

namespace Exporter {

namespace {

std::string_view trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

// Cuts off what stands before the separator.
std::string_view takeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view taken = trimmed(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return taken;
}

bool isSame(std::string_view a, std::string_view b) {
    return std::ranges::equal(
        a, b, [](unsigned char x, unsigned char y) { return std::tolower(x) == std::tolower(y); });
}

// One item of a list: its name, and how welcome it is.
struct Item {
    std::string_view name;
    std::string_view version{};
    double quality = 1;
};

Item itemOf(std::string_view text) {
    Item item{takeUntil(text, ';')};
    while (!text.empty()) {
        std::string_view value = takeUntil(text, ';');
        const std::string_view key = takeUntil(value, '=');
        value = trimmed(value);
        if (isSame(key, "version")) item.version = value;
        if (!isSame(key, "q")) continue;
        const auto end = std::from_chars(value.begin(), value.end(), item.quality);
        if (end.ec != std::errc() || !(item.quality >= 0 && item.quality <= 1)) item.quality = 0;
    }
    return item;
}

template <class Visit>
void forEachItem(std::string_view header, Visit visit) {
    while (!header.empty()) visit(itemOf(takeUntil(header, ',')));
}

}  // namespace

Format formatFor(std::string_view accept) {
    double openMetrics = 0;
    double text = 0;
    forEachItem(accept, [&](const Item& item) {
        const bool isKnown = item.version.empty() || item.version == "1.0.0";
        if (isSame(item.name, "application/openmetrics-text") && isKnown) {
            openMetrics = std::max(openMetrics, item.quality);
        } else if (isSame(item.name, "text/plain")) {
            text = std::max(text, item.quality);
        }
    });
    return openMetrics > 0 && openMetrics >= text ? Format::openMetrics : Format::text;
}

bool wantsGzip(std::string_view acceptEncoding) {
    double gzip = -1;
    double any = 0;
    forEachItem(acceptEncoding, [&](const Item& item) {
        if (isSame(item.name, "gzip")) gzip = item.quality;
        if (item.name == "*") any = item.quality;
    });
    return gzip < 0 ? any > 0 : gzip > 0;
}

}  // namespace Exporter
