#include "hostkit/network/Connections.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

namespace vellora::hostkit {

namespace {

/// 0 for a socket without one.
int localPortOf(int socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  if (::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) return 0;
  if (address.ss_family == AF_INET6) return ntohs(reinterpret_cast<const sockaddr_in6&>(address).sin6_port);
  return ntohs(reinterpret_cast<const sockaddr_in&>(address).sin_port);
}

bool isOpenAndSilent(int socket) {
  char byte = 0;
  return ::recv(socket, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && (errno == EAGAIN || errno == EWOULDBLOCK);
}

}  // namespace

int Connections::open(int family, int type, int protocol) noexcept {
  const int socket = ::socket(family, type | SOCK_CLOEXEC, protocol);
  if (socket < 0) return -1;
  try {
    bySocket_[socket] = {};
    return socket;
  } catch (const std::bad_alloc&) {
    ::close(socket);
    return -1;
  }
}

void Connections::close(int socket) noexcept {
  bySocket_.erase(socket);
  ::close(socket);
}

Connections::State Connections::use(int localPort, Protocol protocol) noexcept {
  const auto found = find(localPort);
  if (found == bySocket_.end()) return State::fresh;
  auto& [socket, connection] = *found;
  if (!std::exchange(connection.wasUsed, true)) return State::fresh;
  return protocol == Protocol::http2 || isOpenAndSilent(socket) ? State::kept : State::spoilt;
}

std::map<int, Connections::Connection>::iterator Connections::find(int localPort) noexcept {
  return std::find_if(bySocket_.begin(), bySocket_.end(),
                      [&](const auto& each) { return localPortOf(each.first) == localPort; });
}

}  // namespace vellora::hostkit
