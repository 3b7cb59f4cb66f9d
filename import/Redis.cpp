#include "import/Redis.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <cstring>

#include "base/Escape.h"
#include "base/Text.h"

namespace Import {

namespace {

constexpr timeval connectTimeout{2, 0};
constexpr timeval answerTimeout{10, 0};

}  // namespace

RedisConnection::RedisConnection(const RedisAddress& address)
    : name_("Redis server " + Base::escaped(address.text())),
      context_(address.path.empty()
                   ? ::redisConnectWithTimeout(address.host.c_str(), address.port, connectTimeout)
                   : ::redisConnectUnixWithTimeout(address.path.c_str(), connectTimeout)) {
    if (!context_) throw std::bad_alloc();
    if (context_->err != 0) fail();
    ::redisSetTimeout(context_.get(), answerTimeout);
    ::fcntl(context_->fd, F_SETFD, FD_CLOEXEC);
}

void RedisConnection::fail() const {
    throw RedisError(name_ + ": " + Base::escaped(context_->errstr));
}

void RedisConnection::send(const std::vector<std::string>& command) {
    std::vector<const char*> texts;
    std::vector<std::size_t> lengths;
    for (const std::string& word : command) {
        texts.push_back(word.data());
        lengths.push_back(word.size());
    }
    if (::redisAppendCommandArgv(context_.get(), static_cast<int>(command.size()), texts.data(),
                                 lengths.data()) != REDIS_OK) {
        fail();
    }
}

RedisReply RedisConnection::reply() {
    void* reply = nullptr;
    if (::redisGetReply(context_.get(), &reply) != REDIS_OK) fail();
    return RedisReply(static_cast<redisReply*>(reply));
}

RedisReply RedisConnection::ask(const std::vector<std::string>& command) {
    send(command);
    RedisReply answer = reply();
    if (answer->type == REDIS_REPLY_ERROR) {
        throw RedisError(name_ + ": " + Base::shortened(textOf(*answer), 200));
    }
    return answer;
}

RedisReply RedisConnection::arrived() {
    void* reply = nullptr;
    if (::redisGetReplyFromReader(context_.get(), &reply) != REDIS_OK) fail();
    if (reply != nullptr) return RedisReply(static_cast<redisReply*>(reply));
    char byte = 0;
    const ssize_t size = ::recv(context_->fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (size == 0) throw RedisError(name_ + ": Server closed the connection");
    if (size < 0) return nullptr;
    if (::redisBufferRead(context_.get()) != REDIS_OK) fail();
    if (::redisGetReplyFromReader(context_.get(), &reply) != REDIS_OK) fail();
    return RedisReply(static_cast<redisReply*>(reply));
}

}  // namespace Import
