// Text and JSON as the renderer writes them: escaping, scopes and commas.
#include <gtest/gtest.h>

#include <functional>

#include "Captured.h"
#include "WellFormed.h"
#include "base/Escape.h"
#include "textout/RendererV2.h"

namespace {

using Captured::MemoryFile;
using textout::RendererV2;
using textout::TextOutBuffer;
using namespace std::string_literals;

std::string printed(U32 format, const std::function<void(RendererV2&)>& print) {
    const MemoryFile file;
    TextOutBuffer out(static_cast<U32>(file.fd()));
    RendererV2 renderer(out, format, 2);
    renderer.documentBegin();
    print(renderer);
    renderer.documentEnd();
    renderer.flush();
    return file.text();
}

TEST(TextOutRenderer, escapesWhatComesFromOutside) {
    const std::string no = "\ufffd";  // what a byte that is not UTF-8 becomes
    const struct {
        std::string given, text, json;
    } rows[] = {
        {"", "", ""},
        {"edge-in ~!", "edge-in ~!", "edge-in ~!"},
        {R"(a"b\c/d)", R"(a"b\c/d)", R"(a\"b\\c/d)"},
        {"\n\r\t", R"(\x0a\x0d\x09)", R"(\n\r\t)"},
        {"\0\b\f\x1b\x1f"s, R"(\x00\x08\x0c\x1b\x1f)", R"(\u0000\u0008\u000c\u001b\u001f)"},
        {"\x7f", R"(\x7f)", R"(\u007f)"},
        {"\xc2\x80\xc2\x9b\xc2\x9f\xc2\xa0\xc2\xa1", "\\x80\\x9b\\x9f\\xa0\xc2\xa1",
         "\\u0080\\u009b\\u009f\xc2\xa0\xc2\xa1"},
        // Zero width, then what changes the direction, with their neighbours.
        {"\u200a\u200b\u200d\u200e\u200f\u2010", "\u200a\\u200b\\u200d\\u200e\\u200f\u2010",
         "\u200a\u200b\u200d\\u200e\\u200f\u2010"},
        {"\u2029\u202a\u202e\u202f", "\u2029\\u202a\\u202e\u202f", "\u2029\\u202a\\u202e\u202f"},
        {"\u205f\u2060\u2065\u2066\u2069\u206a", "\u205f\\u2060\\u2065\\u2066\\u2069\u206a",
         "\u205f\u2060\u2065\\u2066\\u2069\u206a"},
        {"\ufefe\ufeff\uff00", "\ufefe\\ufeff\uff00", "\ufefe\ufeff\uff00"},
        {"gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80",
         "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80",
         "gr\xc3\xbc\xc3\x9f \xe2\x82\xac \xf0\x9f\x98\x80"},
        {"\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf", "\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf",
         "\xed\x9f\xbf\xee\x80\x80\xf4\x8f\xbf\xbf"},
        // Bare continuation, cut characters, overlong forms, surrogates, beyond U+10FFFF.
        {"\x9b", no, no},
        {"\xc3(", no + "(", no + "("},
        {"\xf0\x80\x80\x9b", no + no + no + no, no + no + no + no},
        {"a\xc3", "a" + no, "a" + no},
        {"\xe2\x82\"", no + no + "\"", no + no + "\\\""},
        {"\xc0\xa2", no + no, no + no},
        {"\xe0\x80\xa2", no + no + no, no + no + no},
        {"\xed\xa0\x80\xed\xbf\xbf", no + no + no + no + no + no, no + no + no + no + no + no},
        {"\xf4\x90\x80\x80", no + no + no + no, no + no + no + no},
        {"\xff\xfe", no + no, no + no},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Base::escaped(row.given), row.text);
        EXPECT_TRUE(!Base::isPlainAscii(row.given) || row.given == row.text) << row.text;
        EXPECT_EQ(printed(1, [&](auto& renderer) { renderer.name(row.given); }), row.text);
        const std::string document =
            printed(2, [&](auto& renderer) { renderer.pair(row.given, row.given); });
        EXPECT_EQ(document, "{\"" + row.json + "\":\"" + row.json + "\"}\n");
        EXPECT_EQ(WellFormed::faultOf(document), "");
    }
}

TEST(TextOutRenderer, findsWhatToEscapeWhereverItStands) {
    const auto asJson = [](const std::string& text) {
        const std::string document = printed(2, [&](auto& renderer) { renderer.pair("k", text); });
        return document.substr(6, document.size() - 9);  // without {"k":" and "}
    };
    constexpr std::size_t longest = 34;  // beyond what is looked at and copied at once
    for (int byte = 0; byte < 256; ++byte) {
        const std::string character(1, static_cast<char>(byte));
        const std::string alone = asJson(character);
        const bool isPlain = Base::escaped(character) == character;
        for (std::size_t at = 0; at < longest; ++at) {
            const std::string before(at, '~');
            const std::string behind(longest - 1 - at, ' ');
            ASSERT_EQ(asJson(before + character + behind), before + alone + behind) << byte;
            ASSERT_EQ(asJson(before + character), before + alone) << byte << " behind " << at;
            ASSERT_EQ(Base::isPlainAscii(before + character + behind), isPlain) << byte;
        }
    }
}

TEST(TextOutRenderer, placesCommasInEveryNesting) {
    const auto everything = [](RendererV2& renderer) {
        { const auto empty = renderer.object("a"); }
        { const auto empty = renderer.list("b"); }
        renderer.pair("c", true);
        renderer.pair("d", false);
        renderer.pair("e", "x");
        renderer.pair("f", ~U64{0});
        renderer.pair("g", U8{255});
        {
            const auto list = renderer.list("h");
            renderer.item("x");
            renderer.item(2U);
            {
                const auto entry = renderer.object();
                renderer.pair("i", 1U);
            }
            renderer.objectInPlace("m", 9, [](char* to) { return std::copy_n("y", 1, to); });
            { const auto entry = renderer.object(); }
            // Scopes of one block close from the inside out.
            const auto entry = renderer.object();
            const auto inner = renderer.list("j");
        }
        renderer.pair("k", 1U);
    };
    EXPECT_EQ(printed(2, everything),
              R"({"a":{},"b":[],"c":true,"d":false,"e":"x","f":18446744073709551615,"g":255,)"
              R"("h":["x",2,{"i":1},{"m":"y"},{},{"j":[]}],"k":1})"
              "\n");
    EXPECT_EQ(printed(1, everything), "") << "text has none of it";
    EXPECT_EQ(printed(2, [](RendererV2&) {}), "{}\n");
}

TEST(TextOutRenderer, textCallsPrintNothingInJson) {
    const auto print = [](RendererV2& renderer) {
        renderer.indent(3).text("a \x1b\n").name("b").number(~U64{0}).indent(2, '-').endLine();
    };
    EXPECT_EQ(printed(1, print), "   a \x1b\nb18446744073709551615--\n");
    EXPECT_EQ(printed(2, print), "{}\n");
}

}  // namespace
