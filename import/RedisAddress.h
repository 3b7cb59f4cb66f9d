// Where a Redis server is: "HOST:PORT", or "unix:PATH".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/Number.h"

namespace Import {

struct RedisAddress {
    std::string host;
    int port = 0;
    std::string path;  // of its socket; empty: host and port

    std::string text() const {
        return path.empty() ? host + ":" + std::to_string(port) : "unix:" + path;
    }
};

// An IPv6 address stands in brackets: "[::1]:6379".
inline std::optional<RedisAddress> parseRedisAddress(std::string_view text) {
    constexpr std::string_view unixPrefix = "unix:";
    RedisAddress address;
    if (text.starts_with(unixPrefix)) {
        address.path = text.substr(unixPrefix.size());
        return address.path.empty() ? std::nullopt : std::optional(address);
    }
    const std::size_t colon = text.rfind(':');
    if (colon == text.npos || colon == 0) return std::nullopt;
    const auto port = Base::parseNumber(text.substr(colon + 1), {1, 65535});
    if (!port) return std::nullopt;
    std::string_view host = text.substr(0, colon);
    if (host.starts_with('[') && host.ends_with(']')) host = host.substr(1, host.size() - 2);
    address.host = host;
    address.port = static_cast<int>(*port);
    return address;
}

}  // namespace Import
