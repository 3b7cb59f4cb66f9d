// The CLI renderer. A view walks its data once and makes the calls of both formats; the renderer
// drops those that the format in force does not want:
//
//     const auto object = renderer.object("police");
//     renderer.pair("rate", rate);
//     renderer.indent(indent).text("Police rate ").number(rate).endLine();
//
// prints {"police":{"rate":1000}} or a line of text. Every call throws SigIntException once the
// operator has interrupted, and WriteError when the output cannot be written. No call allocates,
// but for names with other than printable ASCII characters in text.
#pragma once

#include <concepts>

#include "textout/TextOutBuffer.h"

namespace textout {

enum class OutputFormat_t : U32 { text = 1, json = 2 };

class ORB_EXPORT RendererV2 {
  public:
    // An open JSON object or list; closes it at the end of its life, which never throws. Inert in
    // text.
    class [[nodiscard]] Scope {
      public:
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope() {
            if (renderer_ != nullptr) renderer_->close(closing_);
        }

      private:
        friend class RendererV2;
        Scope() = default;
        Scope(RendererV2* renderer, char closing) : renderer_(renderer), closing_(closing) {}

        RendererV2* renderer_ = nullptr;
        char closing_ = 0;
    };

    // format: 1 is text, 2 is JSON. revision: of the JSON model that the client asked for.
    RendererV2(TextOutBuffer& out, U32 format, U32 revision)
        : out_(out), format_(static_cast<OutputFormat_t>(format)), revision_(revision) {}
    // A line that an interrupt cut off is ended, so that what comes behind it does not read as part
    // of it.
    ~RendererV2() {
        if (isText() && Orb::interruptRequested() && !out_.endsLine()) out_.close('\n');
    }
    RendererV2(const RendererV2&) = delete;
    RendererV2& operator=(const RendererV2&) = delete;

    bool isText() const { return format_ == OutputFormat_t::text; }
    bool isJson() const { return format_ == OutputFormat_t::json; }
    U32 format() const { return static_cast<U32>(format_); }
    U32 revision() const { return revision_; }

    // Opens the JSON document; closing it writes "}" and a line end. A document that is left by an
    // exception stays unclosed, so that nobody takes it for a whole one.
    void documentBegin() {
        if (wants(OutputFormat_t::json)) open('{');
    }
    void documentEnd() {
        if (wants(OutputFormat_t::json)) out_.append("}\n");
    }
    // Ends the report: everything is written, or WriteError is thrown.
    void flush() { out_.flush(); }

    // Text only. text() is for the system's own words, name() for everything that comes from
    // outside: control and invisible characters are escaped, bytes that are not UTF-8 replaced.
    RendererV2& text(std::string_view words) {
        if (wants(OutputFormat_t::text)) out_.append(words);
        return *this;
    }
    RendererV2& name(std::string_view name) {
        if (wants(OutputFormat_t::text)) appendName(name);
        return *this;
    }
    RendererV2& number(U64 number) {
        if (wants(OutputFormat_t::text)) out_.append(number);
        return *this;
    }
    RendererV2& indent(U32 count, char fill = ' ') {
        if (wants(OutputFormat_t::text)) out_.fill(count, fill);
        return *this;
    }
    RendererV2& endLine() {
        if (wants(OutputFormat_t::text)) out_.append('\n');
        return *this;
    }

    // What print(to) writes to the buffer itself, at most maxSize bytes; it returns their end.
    template <class Print>
    RendererV2& inPlace(std::size_t maxSize, const Print& print) {
        if (wants(OutputFormat_t::text)) out_.inPlace(maxSize, print);
        return *this;
    }

    // JSON only: an object or a list under a key, or as an entry of the open list.
    Scope object(std::string_view key) { return openUnder(key, '{', '}'); }
    Scope list(std::string_view key) { return openUnder(key, '[', ']'); }
    Scope object() {
        if (!wants(OutputFormat_t::json)) return {};
        separate();
        return {open('{'), '}'};
    }

    // JSON only: a key with its value, and an item of the open list.
    template <class Value>
    void pair(std::string_view key, const Value& value) {
        if (!wants(OutputFormat_t::json)) return;
        appendKey(key);
        appendValue(value);
    }
    template <class Value>
    void item(const Value& value) {
        if (!wants(OutputFormat_t::json)) return;
        separate();
        appendValue(value);
    }
    // An object of a single pair as an entry of the open list. The value is a text that print(to)
    // writes as inPlace() asks, all of it printable ASCII but '"' and '\\'; so is the key.
    template <class Print>
    void objectInPlace(std::string_view key, std::size_t maxSize, const Print& print) {
        if (!wants(OutputFormat_t::json)) return;
        separate();
        const auto printAll = [&](char* to) {
            to = copied(copied(copied(to, "{\""), key), "\":\"");
            return copied(print(to), "\"}");
        };
        out_.inPlace(key.size() + maxSize + 8, printAll);
    }

  private:
    static char* copied(char* to, std::string_view text) {
        std::memcpy(to, text.data(), text.size());
        return to + text.size();
    }
    bool wants(OutputFormat_t format) const {
        checkInterrupt();
        return format_ == format;
    }
    Scope openUnder(std::string_view key, char opening, char closing) {
        if (!wants(OutputFormat_t::json)) return {};
        appendKey(key);
        return {open(opening), closing};
    }
    RendererV2* open(char opening) {
        out_.append(opening);
        needsComma_ = false;
        return this;
    }
    void close(char closing) noexcept {
        out_.close(closing);
        needsComma_ = true;
    }
    void separate() {
        if (needsComma_) out_.append(',');
        needsComma_ = true;
    }
    template <class Value>
    void appendValue(const Value& value) {
        if constexpr (std::same_as<Value, bool>) {
            out_.append(value ? std::string_view("true") : std::string_view("false"));
        } else if constexpr (std::unsigned_integral<Value>) {
            out_.append(U64{value});
        } else {
            appendJsonString(value);
        }
    }
    void appendName(std::string_view name);
    // With the comma before it, if one is due.
    void appendKey(std::string_view key);
    // Escaped as RFC 8259 asks; DEL, C1 and what changes the direction of the text too. Bytes that
    // are not UTF-8 become U+FFFD.
    void appendJsonString(std::string_view text);
    void appendEscaped(std::string_view text);

    TextOutBuffer& out_;
    OutputFormat_t format_;
    U32 revision_;
    bool needsComma_ = false;
};

}  // namespace textout
