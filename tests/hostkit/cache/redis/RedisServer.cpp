#include "tests/hostkit/cache/redis/RedisServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "hostkit/cache/redis/RedisAddress.h"
#include "hostkit/cache/redis/RedisConnection.h"

namespace vellora::hostkit::tests {

namespace {

constexpr std::chrono::minutes patience{2};

/// A loopback port that was free a moment ago.
int freePort() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  const bool isKnown = socket >= 0 &&
                       ::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
                       ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0;
  if (socket >= 0) ::close(socket);
  if (!isKnown) throw std::runtime_error("no port");
  return ntohs(address.sin_port);
}

}  // namespace

RedisServer::RedisServer(std::vector<std::string> options) : options_(std::move(options)) {
  start();
}

RedisReply RedisServer::ask(const RedisCommand& command) const {
  const auto deadline = std::chrono::steady_clock::now() + patience;
  auto connection = RedisConnection::open(*RedisAddress::parsed(address()), std::nullopt, deadline);
  if (!connection) throw std::runtime_error(connection.error().localizedDescription());
  auto reply = connection.value()->ask(command, deadline);
  if (!reply) throw std::runtime_error(reply.error().localizedDescription());
  return std::move(reply).value();
}

std::vector<std::string> RedisServer::keys(const std::string& pattern) const {
  std::vector<std::string> names;
  for (const RedisReply& name : ask({"KEYS", pattern}).items) names.push_back(name.text);
  std::sort(names.begin(), names.end());
  return names;
}

int RedisServer::callsOf(const std::string& command) const {
  const std::string mark = "cmdstat_" + command + ":calls=";
  const std::string statistics = ask({"INFO", "commandstats"}).text;
  const auto found = statistics.find(mark);
  return found == std::string::npos ? 0 : std::stoi(statistics.substr(found + mark.size()));
}

void RedisServer::kill() {
  process_.reset();
}

void RedisServer::start() {
  std::vector<std::string> command{REDIS_SERVER,   "--port", "0",     "--unixsocket", socket(), "--save", "",
                                   "--appendonly", "no",     "--dir", folder_.path()};
  command.insert(command.end(), options_.begin(), options_.end());
  std::filesystem::remove(socket());
  process_ = std::make_unique<vellora::tests::ServerProcess>(command);
  process_->waitUntilWritten("ready to accept connections at");
}

void RedisServer::halt() const {
  ::kill(process_->id(), SIGSTOP);
}

void RedisServer::goOn() const {
  ::kill(process_->id(), SIGCONT);
}

// A port that has become somebody else's in the meantime is given up for another one.
TlsRedisServer::TlsRedisServer() {
  for (int attempt = 0; !server_; ++attempt) {
    port_ = freePort();
    try {
      server_ = std::make_unique<RedisServer>(std::vector<std::string>{
          "--bind", "127.0.0.1", "--tls-port", std::to_string(port_), "--tls-cert-file", certificate_.file(),
          "--tls-key-file", certificate_.keyFile(), "--tls-ca-cert-file", certificate_.file(),
          "--tls-auth-clients", "no"});
    } catch (const std::runtime_error&) {
      if (attempt == 20) throw;
    }
  }
}

}  // namespace vellora::hostkit::tests
