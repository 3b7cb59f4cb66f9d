// A connection to a Redis server. Commands go out together and their replies are read behind each
// other, so that ten thousand of them cost few round trips.
#pragma once

#include <hiredis/hiredis.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "import/RedisAddress.h"

namespace Import {

// The server cannot be reached, or does not answer as it should. The message names the server.
class RedisError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct FreeReply {
    void operator()(redisReply* reply) const { ::freeReplyObject(reply); }
};
using RedisReply = std::unique_ptr<redisReply, FreeReply>;

class RedisConnection {
  public:
    // Throws RedisError.
    explicit RedisConnection(const RedisAddress& address);

    // Sends a command, with others before it or later; each one has a reply.
    void send(const std::vector<std::string>& command);
    RedisReply reply();
    // One command and its reply. An error of the server is thrown.
    RedisReply ask(const std::vector<std::string>& command);

    // For a connection that is subscribed: its descriptor, and the next message that has arrived;
    // null: none. Never waits.
    int descriptor() const { return context_->fd; }
    RedisReply arrived();

  private:
    struct Free {
        void operator()(redisContext* context) const { ::redisFree(context); }
    };

    [[noreturn]] void fail() const;

    std::string name_;
    std::unique_ptr<redisContext, Free> context_;
};

// The text of a string reply.
inline std::string textOf(const redisReply& reply) {
    return reply.str == nullptr ? std::string() : std::string(reply.str, reply.len);
}

}  // namespace Import
