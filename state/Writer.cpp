#include "state/Writer.h"

#include <simdjson.h>

#include "state/Snapshots.h"
#include "state/Values.h"

namespace StateDirectory {

namespace {

void checkName(std::string_view name) {
    if (canBeName(name)) return;
    throw StateError("the name " + inQuotes(name) +
                     " cannot be written, expected a name without control characters");
}

}  // namespace

void Writer::namedMember(std::string_view name) {
    checkName(name);
    member(name, false);
}

void Writer::name(std::string_view name) {
    checkName(name);
    text(name);
}

void Writer::text(std::string_view text) {
    if (!simdjson::validate_utf8(text)) {
        throw StateError("the text " + inQuotes(text) + " cannot be written, expected UTF-8");
    }
    begin();
    quoted(text);
}

// A comma when something stands before, then the key, if there is one.
void Writer::begin() {
    const bool isFirst = text_.empty() || text_.back() == '{' || text_.back() == '[';
    if (!isFirst) text_ += ',';
    if (depth_ > 0 && depth_ < linesToDepth_) {
        newLine();
    } else if (!isFirst && linesToDepth_ > 0) {
        text_ += ' ';
    }
    if (key_.data() == nullptr) return;
    quoted(key_);
    text_ += linesToDepth_ > 0 ? ": " : ":";
    key_ = {};
}

void Writer::close(char bracket) {
    key_ = {};
    --depth_;
    const bool isEmpty = text_.back() == '{' || text_.back() == '[';
    if (!isEmpty && depth_ + 1 < linesToDepth_) newLine();
    text_ += bracket;
}

void Writer::quoted(std::string_view text) {
    constexpr char digits[] = "0123456789abcdef";
    text_ += '"';
    const char* plain = text.data();  // where what is copied as it stands begins
    const char* const end = plain + text.size();
    for (const char* at = plain; at != end; ++at) {
        const auto byte = static_cast<unsigned char>(*at);
        if (byte >= 0x20 && byte != '"' && byte != '\\') continue;
        text_.append(plain, at);
        plain = at + 1;
        if (byte >= 0x20) {
            text_.append({'\\', *at});
        } else {
            text_.append("\\u00").append({digits[byte >> 4], digits[byte & 15]});
        }
    }
    text_.append(plain, end);
    text_ += '"';
}

}  // namespace StateDirectory
