#include "tests/support/ScriptedServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

namespace vellora::tests {

namespace {

constexpr std::string_view blankLine = "\r\n\r\n";

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

/// A listening socket on a free loopback port.
int listenOnLoopback() {
  const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  require(listener >= 0, "no socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "cannot bind");
  require(::listen(listener, 256) == 0, "cannot listen");
  return listener;
}

int portOf(int listener) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  require(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0, "no port");
  return ntohs(address.sin_port);
}

/// Sends what the other side still takes; it may have gone, which is its own affair.
void sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void resetOnClose(int socket) {
  const linger atOnce{1, 0};
  ::setsockopt(socket, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
}

}  // namespace

ScriptedServer::ScriptedServer() : listener_(listenOnLoopback()), port_(portOf(listener_)) {
  require(::pipe(stopPipe_) == 0, "no pipe");
  thread_ = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
  ::close(stopPipe_[1]);
  thread_.join();
  ::close(stopPipe_[0]);
  ::close(listener_);
  for (const auto& [socket, received] : open_) ::close(socket);
}

ScriptedServer::Reply ScriptedServer::http(std::string_view status, std::string_view body,
                                           const std::vector<std::string>& headers) {
  std::string bytes = "HTTP/1.1 " + std::string(status) + "\r\n";
  for (const std::string& header : headers) bytes.append(header).append("\r\n");
  bytes.append("Content-Length: ").append(std::to_string(body.size())).append(blankLine).append(body);
  return {std::move(bytes)};
}

void ScriptedServer::reply(Reply reply) {
  const std::lock_guard lock(mutex_);
  replies_.push_back(std::move(reply));
}

void ScriptedServer::replyAlways(Reply reply) {
  const std::lock_guard lock(mutex_);
  always_ = std::move(reply);
}

std::string ScriptedServer::hostAndPort() const {
  return "127.0.0.1:" + std::to_string(port_);
}

std::string ScriptedServer::url() const {
  return "http://" + hostAndPort();
}

std::vector<std::string> ScriptedServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

std::size_t ScriptedServer::connections() const {
  const std::lock_guard lock(mutex_);
  return connections_;
}

bool ScriptedServer::waitForRequests(std::size_t count, std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return requested_.wait_for(lock, limit, [&] { return requests_.size() >= count; });
}

void ScriptedServer::serve() {
  while (true) {
    std::vector<pollfd> waiting{{stopPipe_[0], POLLIN, 0}, {listener_, POLLIN, 0}};
    for (const auto& [socket, received] : open_) waiting.push_back({socket, POLLIN, 0});
    constexpr int betweenDrops = 5;  // milliseconds
    ::poll(waiting.data(), waiting.size(), trickling_.empty() ? -1 : betweenDrops);
    if (waiting[0].revents != 0) return;
    if (waiting[1].revents != 0) acceptConnection();
    for (std::size_t i = 2; i < waiting.size(); ++i) {
      const int socket = waiting[i].fd;
      if (waiting[i].revents == 0 || receive(socket, open_.at(socket))) continue;
      open_.erase(socket);
      trickling_.erase(socket);
      ::close(socket);
    }
    trickle();
  }
}

void ScriptedServer::trickle() {
  for (const int socket : trickling_) sendAll(socket, " ");
}

void ScriptedServer::acceptConnection() {
  const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) return;
  open_[socket].clear();
  const std::lock_guard lock(mutex_);
  ++connections_;
}

// False when the connection is over.
bool ScriptedServer::receive(int socket, std::string& received) {
  std::array<char, 4096> buffer{};
  const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
  if (count <= 0) return false;
  received.append(buffer.data(), static_cast<std::size_t>(count));
  for (std::size_t end = received.find(blankLine); end != std::string::npos; end = received.find(blankLine)) {
    std::string request = received.substr(0, end + blankLine.size());
    received.erase(0, request.size());
    if (!answer(socket, std::move(request))) return false;
  }
  return true;
}

bool ScriptedServer::answer(int socket, std::string request) {
  const Reply reply = nextReply(std::move(request));
  sendAll(socket, reply.bytes);
  if (reply.then == Then::reset) resetOnClose(socket);
  if (reply.then == Then::trickle) trickling_.insert(socket);
  return reply.then == Then::keepOpen || reply.then == Then::trickle;
}

ScriptedServer::Reply ScriptedServer::nextReply(std::string request) {
  const std::lock_guard lock(mutex_);
  requests_.push_back(std::move(request));
  requested_.notify_all();
  if (replies_.empty()) return always_;
  Reply reply = std::move(replies_.front());
  replies_.pop_front();
  return reply;
}

int closedPort() {
  const int listener = listenOnLoopback();
  const int port = portOf(listener);
  ::close(listener);
  return port;
}

}  // namespace vellora::tests
