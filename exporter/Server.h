// The exporter's pages over HTTP: /metrics, /healthz and /.
#pragma once

#include <memory>
#include <vector>

#include "exporter/ExporterOptions.h"
#include "exporter/Patience.h"
#include "exporter/Switch.h"

struct MHD_Daemon;

namespace Exporter {

using Switches = std::vector<std::unique_ptr<Switch>>;

// The figures of all switches. Waits for documents that are being read, a second at most.
std::vector<Reading> readAll(const Switches& switches);

class Server {
  public:
    // Begins to serve, each connection by a thread of its own. Throws std::system_error when the
    // address cannot be had. REQUIRES: the switches outlive it.
    Server(const ListenAddress& address, const Switches& switches);
    // Ends all connections.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // "http://127.0.0.1:9812/".
    std::string url() const;
    // Ends the connections whose clients take too long. To be called now and then.
    void endLateConnections() { patience_.endLate(Patience::Clock::now()); }

    const Switches& switches() const { return switches_; }
    Patience& patience() { return patience_; }

  private:
    ListenAddress address_;
    const Switches& switches_;
    Patience patience_;
    MHD_Daemon* daemon_;
};

}  // namespace Exporter
