// What follows "filter": what is taken, and what is said about the rest.
#include "cli/Filters.h"

#include <gtest/gtest.h>

namespace {

constexpr auto portsExpected = "ports 0 to 65535: one, as 443, or a range, as 1024-65535";
constexpr auto vlansExpected = "VLANs 1 to 4094: one, as 10, or a range, as 100-199";

// The filter that is made of the text, or what is wrong with it and what would be right.
template <class Read>
std::string outcome(std::string text, Read read) {
    constexpr std::size_t position = 5;
    try {
        return read(Cli::Token{"", std::move(text), position}).stringValue();
    } catch (const Cli::CommandError& error) {
        EXPECT_EQ(error.position(), position);
        return std::string(error.what()) + ": " + error.expected();
    }
}

TEST(Filters, readPrefixes) {
    const std::string ipv4Expected = "a prefix, as 10.1.0.0/16, or an address, as 10.1.2.3";
    const std::string ipv6Expected = "a prefix, as 2001:db8::/32, or an address, as 2001:db8::1";
    struct {
        std::string text;
        bool ipv4;
        std::string expected;
    } const rows[] = {
        {"10.1.0.0/16", true, "10.1.0.0/16"},
        {"0.0.0.0/0", true, "0.0.0.0/0"},
        {"10.1.2.3", true, "10.1.2.3/32"},
        {"2001:DB8::1", false, "2001:db8::1/128"},
        // One of the other family matches nothing, but is none the less a prefix.
        {"2001:db8::/32", true, "2001:db8::/32"},
        {"10.1.2.3/16", true, "\"10.1.2.3/16\" has host bits: 10.1.0.0/16"},
        {"2001:db8::1/32", false, "\"2001:db8::1/32\" has host bits: 2001:db8::/32"},
        {"10.1.0.0/33", true, "\"10.1.0.0/33\" is not a prefix: " + ipv4Expected},
        {"10.1", true, "\"10.1\" is not a prefix: " + ipv4Expected},
        {"\x1b[2J", false, "\"\\x1b[2J\" is not a prefix: " + ipv6Expected},
    };
    for (const auto& row : rows) {
        const auto read = [&](const Cli::Token& token) {
            return Cli::prefixFilter(token, row.ipv4);
        };
        EXPECT_EQ(outcome(row.text, read), row.expected);
    }
}

TEST(Filters, readRanges) {
    struct {
        std::string text, ports, vlans;
    } const rows[] = {
        {"80", "80", "80"},
        {"80-80", "80", "80"},
        {"1-4094", "1-4094", "1-4094"},
        {"90-80", "\"90-80\" starts above its end: 80-90", "\"90-80\" starts above its end: 80-90"},
        {"0443", "\"0443\" has leading zeros: 443", "\"0443\" has leading zeros: 443"},
        {"0", "0", std::string("\"0\" is out of range: ") + vlansExpected},
        {"65535", "65535", std::string("\"65535\" is out of range: ") + vlansExpected},
        {"1-65536", std::string("\"1-65536\" is out of range: ") + portsExpected,
         std::string("\"1-65536\" is out of range: ") + vlansExpected},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(outcome(row.text, Cli::portFilter), row.ports);
        EXPECT_EQ(outcome(row.text, Cli::vlanFilter), row.vlans);
    }
    EXPECT_EQ(outcome("http", Cli::portFilter),
              std::string("\"http\" is not a range: ") + portsExpected);
}

}  // namespace
