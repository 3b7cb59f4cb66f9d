// How long a connection may take for one thing: to send a request, or to take a response. A client
// that sends or reads a byte now and then is never idle, and would keep its place for hours.
#pragma once

#include <chrono>
#include <mutex>
#include <unordered_map>

namespace Exporter {

// Several threads may call it.
class Patience {
  public:
    using Clock = std::chrono::steady_clock;
    static constexpr auto longest = std::chrono::seconds(30);

    // Something new begins on a connection: itself, a response, or the time after a response.
    // socket: stays open until the connection ends.
    void begins(const void* connection, int socket, Clock::time_point now);
    void ends(const void* connection);

    // Shuts the sockets down on which something takes too long; whoever serves them sees their end.
    void endLate(Clock::time_point now);

  private:
    struct Connection {
        int socket = -1;
        Clock::time_point since;
    };
    std::mutex mutex_;
    std::unordered_map<const void*, Connection> connections_;
};

}  // namespace Exporter
