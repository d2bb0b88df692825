#include "hostkit/cache/redis/RedisConnection.h"

#include <curl/curl.h>
#include <hiredis/hiredis.h>
#include <poll.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/cache/redis/RedisCacheError.h"
#include "hostkit/libraries/CLibraries.h"

namespace vellora::hostkit {

namespace {

using std::chrono::milliseconds;
using Reason = RedisCacheError::Reason;

using Easy = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;
using Reader = std::unique_ptr<redisReader, decltype(&redisReaderFree)>;

/// The most items of a list: many more than the rows of any table.
constexpr std::size_t mostItems = std::size_t{1} << 20U;

/// As hiredis does it, but for a list with more items. It would take room for all of them, and walk it when
/// the list is given up, before any of them has come. Newer versions count in another type.
template <class Count>
void* createBoundedArray(const redisReadTask* task, Count count) {
  if (static_cast<std::size_t>(count) > mostItems) return nullptr;
  return static_cast<const redisReplyObjectFunctions*>(task->privdata)->createArray(task, count);
}

redisReader* createReader() {
  redisReader* reader = redisReaderCreate();
  if (reader == nullptr) return nullptr;
  static redisReplyObjectFunctions bounded = [reader] {
    redisReplyObjectFunctions functions = *reader->fn;
    functions.createArray = createBoundedArray;
    return functions;
  }();
  reader->privdata = reader->fn;
  reader->fn = &bounded;
  return reader;
}

milliseconds left(RedisConnection::Deadline deadline) {
  const auto rest = std::chrono::ceil<milliseconds>(deadline - std::chrono::steady_clock::now());
  return std::max(rest, milliseconds(0));
}

RedisReply toReply(const redisReply& reply) {
  using Kind = RedisReply::Kind;
  switch (reply.type) {
    case REDIS_REPLY_STRING:
    case REDIS_REPLY_STATUS:
      return {.kind = Kind::text, .text = std::string(reply.str, reply.len)};
    case REDIS_REPLY_ERROR:
      return {.kind = Kind::error, .text = std::string(reply.str, reply.len)};
    case REDIS_REPLY_INTEGER:
      return {.kind = Kind::number, .number = reply.integer};
    case REDIS_REPLY_ARRAY:
      break;
    default:
      return {};
  }
  RedisReply list{.kind = Kind::list};
  for (std::size_t i = 0; i < reply.elements; ++i) list.items.push_back(toReply(*reply.element[i]));
  return list;
}

/// How many bytes its arguments have together. hiredis counts them in a type that may be too small.
std::size_t sizeOf(const RedisCommand& command) {
  std::size_t size = 0;
  for (const std::string& argument : command) size += argument.size();
  return size;
}

/// The bytes of `command`; nothing when there is no memory for them.
std::optional<std::string> formatted(const RedisCommand& command) {
  std::vector<const char*> texts;
  std::vector<std::size_t> sizes;
  for (const std::string& argument : command) {
    texts.push_back(argument.data());
    sizes.push_back(argument.size());
  }
  char* bytes = nullptr;
  const int size =
      redisFormatCommandArgv(&bytes, static_cast<int>(command.size()), texts.data(), sizes.data());
  if (size < 0) return std::nullopt;
  const std::unique_ptr<char, decltype(&redisFreeCommand)> owned(bytes, redisFreeCommand);
  return std::string(bytes, static_cast<std::size_t>(size));
}

/// The socket is curl's: it resolves names, connects and speaks TLS, each of them within a time-out, where
/// hiredis waits for a name as long as the system does, and has no TLS in this version.
std::string urlFor(const RedisAddress& address) {
  if (!address.socketPath.empty()) return "http://localhost/";
  return (address.usesTls ? "https://" : "http://") + address.host + ":" + std::to_string(address.port) + "/";
}

/// Whether curl takes all of it.
bool prepare(CURL* easy, const RedisAddress& address, const std::optional<std::string>& caFile,
             milliseconds timeout, char* words) {
  CURLcode code = CURLE_OK;
  const auto set = [&](CURLoption option, auto value) {
    if (code == CURLE_OK) code = curl_easy_setopt(easy, option, value);
  };
  set(CURLOPT_ERRORBUFFER, words);
  set(CURLOPT_URL, urlFor(address).c_str());
  if (!address.socketPath.empty()) set(CURLOPT_UNIX_SOCKET_PATH, address.socketPath.c_str());
  if (caFile) set(CURLOPT_CAINFO, caFile->c_str());
  set(CURLOPT_CONNECT_ONLY, 1L);
  set(CURLOPT_TIMEOUT_MS,
      static_cast<long>(std::clamp<long long>(timeout.count(), 1, std::numeric_limits<long>::max())));
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_QUICK_EXIT, 1L);  // else a name that does not resolve is waited for beyond the time-out
  set(CURLOPT_NOPROXY, "*");
  set(CURLOPT_SSL_ENABLE_ALPN, 0L);
  return code == CURLE_OK;
}

Reason reasonFor(CURLcode code) {
  return code == CURLE_OPERATION_TIMEDOUT ? Reason::timedOut : Reason::unreachable;
}

/// False when the deadline passes first.
bool waitFor(CURL* easy, short events, RedisConnection::Deadline deadline) {
  curl_socket_t socket = CURL_SOCKET_BAD;
  curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &socket);
  for (milliseconds rest = left(deadline); rest.count() > 0; rest = left(deadline)) {
    pollfd waited{socket, events, 0};
    if (poll(&waited, 1, static_cast<int>(rest.count())) > 0) return true;
  }
  return false;
}

}  // namespace

struct RedisConnection::Wire {
  Easy easy{isCurlReady() ? curl_easy_init() : nullptr, curl_easy_cleanup};
  Reader reader{createReader(), redisReaderFree};
};

RedisConnection::RedisConnection(std::unique_ptr<Wire> wire, std::string server)
    : wire_(std::move(wire)), server_(std::move(server)) {}

RedisConnection::~RedisConnection() = default;

Result<std::shared_ptr<RedisConnection>> RedisConnection::open(const RedisAddress& address,
                                                               const std::optional<std::string>& caFile,
                                                               Deadline deadline) {
  auto wire = std::make_unique<Wire>();
  std::array<char, CURL_ERROR_SIZE> words{};
  if (!wire->easy || !wire->reader ||
      !prepare(wire->easy.get(), address, caFile, left(deadline), words.data())) {
    return Error(RedisCacheError{Reason::failed, address.text, "no connection can be prepared"});
  }
  const CURLcode code = curl_easy_perform(wire->easy.get());
  curl_easy_setopt(wire->easy.get(), CURLOPT_ERRORBUFFER, nullptr);
  if (code != CURLE_OK) return Error(RedisCacheError{reasonFor(code), address.text, words.data()});
  return std::shared_ptr<RedisConnection>(new RedisConnection(std::move(wire), address.text));
}

Result<RedisReply> RedisConnection::ask(const RedisCommand& command, Deadline deadline, std::size_t longest) {
  if (auto error = send(command, deadline, longest)) return *std::move(error);
  while (true) {
    void* reply = nullptr;
    if (redisReaderGetReply(wire_->reader.get(), &reply) != REDIS_OK) {
      return Error(RedisCacheError{Reason::failed, server_, wire_->reader->errstr});
    }
    if (reply != nullptr) {
      const std::unique_ptr<void, decltype(&freeReplyObject)> owned(reply, freeReplyObject);
      return toReply(*static_cast<const redisReply*>(reply));
    }
    if (auto error = receiveMore(deadline, longest)) return *std::move(error);
  }
}

std::optional<Error> RedisConnection::send(const RedisCommand& command, Deadline deadline,
                                           std::size_t longest) {
  const auto bytes = sizeOf(command) <= longest ? formatted(command) : std::nullopt;
  if (!bytes) return RedisCacheError{Reason::failed, server_, "the command is too long"};
  for (std::string_view rest = *bytes; !rest.empty();) {
    std::size_t sent = 0;
    const CURLcode code = curl_easy_send(wire_->easy.get(), rest.data(), rest.size(), &sent);
    if (code != CURLE_OK && code != CURLE_AGAIN) return closed();
    rest.remove_prefix(sent);
    if (code == CURLE_AGAIN && !waitFor(wire_->easy.get(), POLLOUT, deadline)) {
      return RedisCacheError{Reason::timedOut, server_, ""};
    }
  }
  return std::nullopt;
}

std::optional<Error> RedisConnection::receiveMore(Deadline deadline, std::size_t& rest) {
  std::array<char, 65536> bytes;  // NOLINT: filled by curl
  std::size_t count = 0;
  const CURLcode code = curl_easy_recv(wire_->easy.get(), bytes.data(), bytes.size(), &count);
  if (left(deadline).count() == 0) return RedisCacheError{Reason::timedOut, server_, ""};
  if (code == CURLE_AGAIN) {
    if (waitFor(wire_->easy.get(), POLLIN, deadline)) return std::nullopt;
    return RedisCacheError{Reason::timedOut, server_, ""};
  }
  if (code != CURLE_OK || count == 0) return closed();
  if (count > rest) return RedisCacheError{Reason::failed, server_, "the reply is too long"};
  rest -= count;
  if (redisReaderFeed(wire_->reader.get(), bytes.data(), count) == REDIS_OK) return std::nullopt;
  return RedisCacheError{Reason::failed, server_, wire_->reader->errstr};
}

std::optional<Error> RedisConnection::closed() {
  wasClosed_ = true;
  return RedisCacheError{Reason::unreachable, server_, "the connection was closed"};
}

}  // namespace vellora::hostkit
