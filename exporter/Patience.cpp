#include "exporter/Patience.h"

#include <sys/socket.h>

namespace Exporter {

void Patience::begins(const void* connection, int socket, Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    connections_[connection] = {socket, now};
}

void Patience::ends(const void* connection) {
    const std::lock_guard lock(mutex_);
    connections_.erase(connection);
}

void Patience::endLate(Clock::time_point now) {
    const std::lock_guard lock(mutex_);
    for (const auto& [connection, one] : connections_) {
        if (now - one.since > longest) ::shutdown(one.socket, SHUT_RDWR);
    }
}

}  // namespace Exporter
