#include "exporter/Server.h"

#include <arpa/inet.h>
#include <microhttpd.h>

#include <atomic>
#include <cerrno>
#include <string_view>
#include <system_error>

#include "base/Version.h"
#include "exporter/Body.h"
#include "exporter/Log.h"
#include "exporter/Negotiation.h"

namespace Exporter {

namespace {

// What one client, or many, may ask of us.
constexpr unsigned connections = 32;
constexpr unsigned connectionsPerAddress = 16;
constexpr unsigned scrapesAtOnce = 16;
constexpr unsigned idleSeconds = 10;
constexpr std::size_t requestBytes = 16384;
constexpr std::size_t threadStack = 1 << 20;
constexpr std::size_t sendSize = 32768;

using ResponsePtr = std::unique_ptr<MHD_Response, decltype(&MHD_destroy_response)>;

std::atomic<unsigned> scrapes;

// A body that is being sent, one of the scrapes.
struct Sending {
    explicit Sending(Exposition exposition, bool isCompressed)
        : body(std::move(exposition), isCompressed) {
        ++scrapes;
    }
    ~Sending() { --scrapes; }
    Sending(const Sending&) = delete;
    Sending& operator=(const Sending&) = delete;
    Body body;
};

ssize_t readBody(void* closure, std::uint64_t, char* memory, std::size_t size) {
    Body& body = static_cast<Sending*>(closure)->body;
    try {
        const std::size_t count = body.read({memory, size});
        return count == 0 ? MHD_CONTENT_READER_END_OF_STREAM : static_cast<ssize_t>(count);
    } catch (const std::exception& error) {
        say(error.what());
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
}

void endBody(void* closure) { delete static_cast<Sending*>(closure); }

ResponsePtr responseOf(std::string_view text, const char* type) {
    ResponsePtr response(MHD_create_response_from_buffer(
                             text.size(), const_cast<char*>(text.data()), MHD_RESPMEM_MUST_COPY),
                         MHD_destroy_response);
    if (response) MHD_add_response_header(response.get(), MHD_HTTP_HEADER_CONTENT_TYPE, type);
    return response;
}

constexpr const char* plain = "text/plain; charset=utf-8";

MHD_Result answer(MHD_Connection* connection, unsigned status, std::string_view text,
                  const char* header = nullptr, const char* value = nullptr) {
    const ResponsePtr response = responseOf(text, plain);
    if (!response) return MHD_NO;
    if (header != nullptr) MHD_add_response_header(response.get(), header, value);
    return MHD_queue_response(connection, status, response.get());
}

std::string_view headerOf(MHD_Connection* connection, const char* name) {
    const char* const value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value == nullptr ? "" : value;
}

MHD_Result answerMetrics(MHD_Connection* connection, const Switches& switches, bool isHead) {
    if (scrapes >= scrapesAtOnce) {
        return answer(connection, MHD_HTTP_SERVICE_UNAVAILABLE, "too many scrapes at once\n",
                      MHD_HTTP_HEADER_RETRY_AFTER, "1");
    }
    const Format format = formatFor(headerOf(connection, MHD_HTTP_HEADER_ACCEPT));
    const bool isCompressed = wantsGzip(headerOf(connection, MHD_HTTP_HEADER_ACCEPT_ENCODING));
    auto sending = std::make_unique<Sending>(Exposition(readAll(switches), format), isCompressed);
    const ResponsePtr response(MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, sendSize,
                                                                 readBody, sending.get(), endBody),
                               MHD_destroy_response);
    if (!response) return MHD_NO;
    static_cast<void>(sending.release());  // the response's
    const auto add = [&](const char* name, const char* value) {
        MHD_add_response_header(response.get(), name, value);
    };
    add(MHD_HTTP_HEADER_CONTENT_TYPE,
        format == Format::openMetrics ? "application/openmetrics-text; version=1.0.0; charset=utf-8"
                                      : "text/plain; version=0.0.4; charset=utf-8");
    add(MHD_HTTP_HEADER_VARY, "Accept, Accept-Encoding");
    if (isCompressed) add(MHD_HTTP_HEADER_CONTENT_ENCODING, "gzip");
    // The library may send the mark of a body's end behind the head.
    if (isHead) add(MHD_HTTP_HEADER_CONNECTION, "close");
    return MHD_queue_response(connection, MHD_HTTP_OK, response.get());
}

MHD_Result answerFrontPage(MHD_Connection* connection) {
    const std::string page =
        "<!DOCTYPE html><html lang=\"en\"><head><title>tpexporter</title></head><body>"
        "<h1>tpexporter " +
        std::string(Base::version) +
        "</h1><p>Counts, installation and problems of traffic policies, for Prometheus.</p>"
        "<ul><li><a href=\"/metrics\">/metrics</a></li>"
        "<li><a href=\"/healthz\">/healthz</a></li></ul></body></html>\n";
    const ResponsePtr response = responseOf(page, "text/html; charset=utf-8");
    return response ? MHD_queue_response(connection, MHD_HTTP_OK, response.get()) : MHD_NO;
}

int socketOf(MHD_Connection* connection) {
    const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    return info == nullptr ? -1 : info->connect_fd;
}

void begins(Server& server, MHD_Connection* connection) {
    server.patience().begins(connection, socketOf(connection), Patience::Clock::now());
}

void noteConnection(void* closure, MHD_Connection* connection, void**,
                    MHD_ConnectionNotificationCode code) {
    Server& server = *static_cast<Server*>(closure);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        server.patience().ends(connection);
    } else {
        begins(server, connection);
    }
}

void noteResponse(void* closure, MHD_Connection* connection, void**, MHD_RequestTerminationCode) {
    begins(*static_cast<Server*>(closure), connection);
}

bool hasBody(MHD_Connection* connection) {
    return !headerOf(connection, MHD_HTTP_HEADER_CONTENT_LENGTH).empty() ||
           !headerOf(connection, MHD_HTTP_HEADER_TRANSFER_ENCODING).empty();
}

// Called for the head of a request, and again when all of it is there. An answer to the head ends
// the connection: no body is read.
MHD_Result handle(void* closure, MHD_Connection* connection, const char* path, const char* method,
                  const char*, const char*, std::size_t*, void** request) {
    Server& server = *static_cast<Server*>(closure);
    if (*request == nullptr && !hasBody(connection)) {
        *request = closure;
        return MHD_YES;
    }
    begins(server, connection);
    const std::string_view word = method;
    if (word != MHD_HTTP_METHOD_GET && word != MHD_HTTP_METHOD_HEAD) {
        return answer(connection, MHD_HTTP_METHOD_NOT_ALLOWED, "only GET and HEAD\n",
                      MHD_HTTP_HEADER_ALLOW, "GET, HEAD");
    }
    try {
        const std::string_view page = path;
        if (page == "/metrics") {
            return answerMetrics(connection, server.switches(), word == MHD_HTTP_METHOD_HEAD);
        }
        if (page == "/healthz") return answer(connection, MHD_HTTP_OK, "ok\n");
        if (page == "/") return answerFrontPage(connection);
        return answer(connection, MHD_HTTP_NOT_FOUND, "no such page; try /metrics\n");
    } catch (const std::exception& error) {
        say(error.what());
        return answer(connection, MHD_HTTP_INTERNAL_SERVER_ERROR, "the log says why\n");
    }
}

std::uint16_t portOf(const ListenAddress& address) {
    return ntohs(address.any.sa_family == AF_INET6 ? address.ipv6.sin6_port
                                                   : address.ipv4.sin_port);
}

std::string urlOf(const ListenAddress& address, std::uint16_t port) {
    char text[INET6_ADDRSTRLEN];
    const bool isIpv6 = address.any.sa_family == AF_INET6;
    const void* const bytes = isIpv6 ? static_cast<const void*>(&address.ipv6.sin6_addr)
                                     : static_cast<const void*>(&address.ipv4.sin_addr);
    ::inet_ntop(address.any.sa_family, bytes, text, sizeof text);
    return std::string("http://") + (isIpv6 ? "[" : "") + text + (isIpv6 ? "]:" : ":") +
           std::to_string(port) + "/";
}

}  // namespace

std::vector<Reading> readAll(const Switches& switches) {
    const auto deadline = Switch::Clock::now() + std::chrono::seconds(1);
    std::vector<Reading> readings;
    readings.reserve(switches.size());
    for (const auto& one : switches) readings.push_back(one->read(deadline));
    return readings;
}

Server::Server(const ListenAddress& address, const Switches& switches)
    : address_(address),
      switches_(switches),
      daemon_(MHD_start_daemon(
          MHD_USE_THREAD_PER_CONNECTION | MHD_USE_INTERNAL_POLLING_THREAD | MHD_USE_POLL |
              (address.any.sa_family == AF_INET6 ? MHD_USE_IPv6 : MHD_NO_FLAG),
          0, nullptr, nullptr, handle, this, MHD_OPTION_SOCK_ADDR, &address_.any,
          MHD_OPTION_NOTIFY_CONNECTION, noteConnection, this, MHD_OPTION_NOTIFY_COMPLETED,
          noteResponse, this, MHD_OPTION_CONNECTION_LIMIT, connections,
          MHD_OPTION_PER_IP_CONNECTION_LIMIT, connectionsPerAddress, MHD_OPTION_CONNECTION_TIMEOUT,
          idleSeconds, MHD_OPTION_CONNECTION_MEMORY_LIMIT, requestBytes + sendSize,
          MHD_OPTION_THREAD_STACK_SIZE, threadStack, MHD_OPTION_END)) {
    if (daemon_ == nullptr) {
        throw std::system_error(errno, std::generic_category(), urlOf(address_, portOf(address_)));
    }
}

Server::~Server() { MHD_stop_daemon(daemon_); }

std::string Server::url() const {
    const MHD_DaemonInfo* const info = MHD_get_daemon_info(daemon_, MHD_DAEMON_INFO_BIND_PORT);
    return urlOf(address_, info == nullptr ? portOf(address_) : info->port);
}

}  // namespace Exporter
