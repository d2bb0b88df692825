#include "testkit/ScriptedServer.h"

#include <arpa/inet.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::testkit {

namespace {

constexpr std::string_view blankLine = "\r\n\r\n";
constexpr std::chrono::milliseconds betweenDrops{5};

void require(bool condition, const char* what) {
  if (!condition) throw std::runtime_error(what);
}

/// A socket that has a free loopback port.
int boundToLoopback() {
  const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  require(socket >= 0, "no socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::bind(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "cannot bind");
  return socket;
}

int listenOnLoopback() {
  const int listener = boundToLoopback();
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

/// Waits until the other side's system has all that was sent, or the connection is over.
void waitUntilTaken(int socket) {
  int left = 1;
  while (::ioctl(socket, SIOCOUTQ, &left) == 0 && left > 0) {
    pollfd over{socket, 0, 0};
    if (::poll(&over, 1, 1) != 0) return;
  }
}

/// What stands in `text` between `before` and the next `end`; empty when there is no such place.
std::string between(const std::string& text, std::string_view before, std::string_view end) {
  const std::size_t at = text.find(before);
  if (at == std::string::npos) return {};
  const std::size_t from = at + before.size();
  return text.substr(from, text.find(end, from) - from);
}

/// `text` as often as makes a good piece to send.
std::string repeated(const std::string& text) {
  constexpr std::size_t goodPiece = 65'536;
  std::string piece;
  while (!text.empty() && piece.size() < goodPiece) piece += text;
  return piece;
}

}  // namespace

ScriptedServer::ScriptedServer() : listener_(listenOnLoopback()), port_(portOf(listener_)) {
  require(::pipe(controlPipe_) == 0, "no pipe");
  thread_ = std::thread([this] { serve(); });
}

ScriptedServer::~ScriptedServer() {
  ::close(controlPipe_[1]);
  thread_.join();
  ::close(controlPipe_[0]);
  ::close(listener_);
  for (const auto& [socket, connection] : open_) ::close(socket);
}

ScriptedServer::Reply ScriptedServer::http(std::string_view status, std::string_view body,
                                           const std::vector<std::string>& headers) {
  std::string bytes = "HTTP/1.1 " + std::string(status) + "\r\n";
  for (const std::string& header : headers) bytes.append(header).append("\r\n");
  bytes.append("Content-Length: ").append(std::to_string(body.size())).append(blankLine).append(body);
  return {std::move(bytes)};
}

std::string ScriptedServer::Request::target() const {
  return between(text, " ", " ");
}

std::string ScriptedServer::Request::token() const {
  return between(text, "\r\nAuthorization: Bearer ", "\r\n");
}

bool ScriptedServer::Request::wantsClose() const {
  const std::string small = asciiLowerCase(text);
  const std::string connection = between(small, "\r\nconnection:", "\r\n");
  if (connection.find("close") != std::string::npos) return true;
  const bool isOld = between(small, " http/", "\r\n") == "1.0";
  return isOld && connection.find("keep-alive") == std::string::npos;
}

void ScriptedServer::reply(Reply reply) {
  const std::lock_guard lock(mutex_);
  replies_.push_back(std::move(reply));
}

void ScriptedServer::replyAlways(Reply reply) {
  replyBy([reply = std::move(reply)](const Request&) { return reply; });
}

void ScriptedServer::replyBy(Responder responder) {
  const std::lock_guard lock(mutex_);
  responder_ = std::move(responder);
}

void ScriptedServer::push(std::string bytes) {
  const std::lock_guard turn(pushing_);
  std::unique_lock lock(mutex_);
  toPush_ = std::move(bytes);
  require(::write(controlPipe_[1], "p", 1) == 1, "cannot push");
  pushed_.wait(lock, [this] { return !toPush_; });
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
    std::vector<pollfd> waiting{{controlPipe_[0], POLLIN, 0}, {listener_, POLLIN, 0}};
    int patience = -1;
    for (const auto& [socket, connection] : open_) {
      const int events = connection.flood.empty() ? POLLIN : POLLIN | POLLOUT;
      waiting.push_back({socket, static_cast<short>(events), 0});
      if (connection.trickles) patience = static_cast<int>(betweenDrops.count());
    }
    ::poll(waiting.data(), waiting.size(), patience);
    if ((waiting[0].revents & POLLIN) != 0) {
      pushNow();
    } else if (waiting[0].revents != 0) {
      return;
    }
    if (waiting[1].revents != 0) acceptConnection();
    for (std::size_t i = 2; i < waiting.size(); ++i) serveConnection(waiting[i].fd, waiting[i].revents);
    trickle();
  }
}

void ScriptedServer::flood(int socket, Connection& connection) {
  const std::string_view rest = std::string_view(connection.flood).substr(connection.flooded);
  const ssize_t sent = ::send(socket, rest.data(), rest.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  if (sent <= 0) return;
  connection.flooded = (connection.flooded + static_cast<std::size_t>(sent)) % connection.flood.size();
}

void ScriptedServer::trickle() {
  const auto now = std::chrono::steady_clock::now();
  if (now < nextDrop_) return;
  nextDrop_ = now + betweenDrops;
  for (const auto& [socket, connection] : open_) {
    if (connection.trickles) sendAll(socket, " ");
  }
}

void ScriptedServer::serveConnection(int socket, int events) {
  Connection& connection = open_.at(socket);
  if ((events & POLLOUT) != 0) flood(socket, connection);
  if ((events & ~POLLOUT) == 0 || receive(socket, connection)) return;
  open_.erase(socket);
  ::close(socket);
}

void ScriptedServer::acceptConnection() {
  const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
  if (socket < 0) return;
  open_.emplace(socket, Connection());
  const std::lock_guard lock(mutex_);
  ++connections_;
}

// False when the connection is over.
bool ScriptedServer::receive(int socket, Connection& connection) {
  std::array<char, 4096> buffer{};
  const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
  if (count <= 0) return false;
  std::string& received = connection.received;
  received.append(buffer.data(), static_cast<std::size_t>(count));
  for (std::size_t end = received.find(blankLine); end != std::string::npos; end = received.find(blankLine)) {
    std::string request = received.substr(0, end + blankLine.size());
    received.erase(0, request.size());
    if (!answer(socket, connection, std::move(request))) return false;
  }
  return true;
}

bool ScriptedServer::answer(int socket, Connection& connection, std::string text) {
  const Request request{std::move(text), std::exchange(connection.wasAsked, true)};
  const Reply reply = nextReply(request);
  sendAll(socket, reply.bytes);
  if (reply.then == Then::reset) resetOnClose(socket);
  if (reply.then == Then::trickle) connection.trickles = true;
  if (reply.then == Then::flood) connection.flood = repeated(reply.flood);
  if (reply.then == Then::keepOpen) return reply.bytes.empty() || !request.wantsClose();
  return reply.then != Then::close && reply.then != Then::reset;
}

ScriptedServer::Reply ScriptedServer::nextReply(const Request& request) {
  std::unique_lock lock(mutex_);
  requests_.push_back(request.text);
  requested_.notify_all();
  if (replies_.empty()) {
    const Responder responder = responder_;
    lock.unlock();
    return responder ? responder(request) : Reply();
  }
  Reply reply = std::move(replies_.front());
  replies_.pop_front();
  return reply;
}

void ScriptedServer::pushNow() {
  char byte = 0;
  static_cast<void>(::read(controlPipe_[0], &byte, 1));
  const std::lock_guard lock(mutex_);
  for (const auto& [socket, connection] : open_) {
    sendAll(socket, *toPush_);
    waitUntilTaken(socket);
  }
  toPush_.reset();
  pushed_.notify_all();
}

// The socket stays open and never listens: a port that is free again may be anybody's the next moment.
int closedPort() {
  return portOf(boundToLoopback());
}

}  // namespace vellora::testkit
