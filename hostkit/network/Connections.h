#pragma once

#include <map>

namespace vellora::hostkit {

/// The sockets of a network's connections. It tells on which of them something waits that nobody has asked
/// for: curl 7.88.1 would use such a connection again, and take that for the answer to the next request.
///
/// A connection is known by its local port, since curl doesn't tell the socket of one that it uses again.
///
/// Ownership: curl opens and closes the sockets through it, so it must outlive curl's connections.
///
/// Threads: one at a time.
///
/// Errors: -1 in place of a socket.
class Connections {
 public:
  enum class State {
    fresh,   ///< no request went over it yet
    kept,    ///< it has been used, and nothing waits on it
    spoilt,  ///< something waits on it, or it has ended
  };

  /// What a connection speaks.
  enum class Protocol {
    http1,  ///< what waits before a request was not asked for
    http2,  ///< an answer bears the number of its request, and what waits may be in order
  };

  /// A new socket; -1 when there is none to be had.
  [[nodiscard]] int open(int family, int type, int protocol) noexcept;

  /// Closes a socket that `open` gave.
  void close(int socket) noexcept;

  /// Tells in which state the connection from that local port is for a request that is about to be sent.
  [[nodiscard]] State use(int localPort, Protocol protocol) noexcept;

 private:
  struct Connection {
    bool wasUsed = false;
  };

  [[nodiscard]] std::map<int, Connection>::iterator find(int localPort) noexcept;

  std::map<int, Connection> bySocket_;
};

}  // namespace vellora::hostkit
