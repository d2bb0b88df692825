#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// A server on an ephemeral loopback port that answers each request with the bytes it was told to, however
/// wrong they are as HTTP, and records the exact bytes of what it was asked.
///
///     ScriptedServer server;
///     server.reply(ScriptedServer::http("200 OK", "{}"));
///     server.reply({"HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\nhalf", ScriptedServer::Then::close});
///
/// A connection is closed behind a reply when the request asks for that: one that says `Connection: close`,
/// and one of HTTP/1.0 that does not say `Connection: keep-alive`. Every other stays open, unless the reply
/// says otherwise. A request that hangs keeps its connection.
///
/// A request ends at its first blank line; a body would be taken for the beginning of the next request. The
/// requests of all connections share one list of replies. When none is left, what `replyAlways` or `replyBy`
/// set last gives the reply. Where neither was called, the request hangs.
///
/// Ownership: owns its thread and its sockets; its destructor closes every connection.
///
/// Threads: safe to use from several threads at once, but a responder must not call `push`, which would wait
/// for itself.
///
/// Errors: `std::runtime_error` from the constructor when the machine gives no socket, pipe or thread, and
/// from `push` when it cannot wake the server.
class VELLORA_EXPORT ScriptedServer {
 public:
  /// What becomes of the connection behind a reply.
  enum class Then {
    keepOpen,
    close,
    reset,
    trickle,  ///< a blank every few milliseconds, for as long as the client stays
    flood,    ///< `Reply::flood` again and again, for as long as the client takes it
  };

  struct Reply {
    std::string bytes;
    Then then = Then::keepOpen;
    std::string flood = {};
  };

  /// What a client asked.
  struct Request {
    std::string text;               ///< up to and including its blank line
    bool onKeptConnection = false;  ///< not the first one on its connection

    /// Path and query, such as "/theme?q=1".
    [[nodiscard]] std::string target() const;

    /// What stands behind "Authorization: Bearer"; empty when there is no such line.
    [[nodiscard]] std::string token() const;

    /// Whether the client wants the connection closed behind the reply.
    [[nodiscard]] bool wantsClose() const;
  };

  /// Says what a request is answered with. Called on the server's own thread.
  using Responder = std::function<Reply(const Request&)>;

  ScriptedServer();
  ~ScriptedServer();
  ScriptedServer(const ScriptedServer&) = delete;
  ScriptedServer& operator=(const ScriptedServer&) = delete;

  /// A reply with that status line, those header lines (each without its line end), a right Content-Length,
  /// and `body`.
  [[nodiscard]] static Reply http(std::string_view status, std::string_view body = {},
                                  const std::vector<std::string>& headers = {});

  void reply(Reply reply);
  void replyAlways(Reply reply);
  void replyBy(Responder responder);

  /// Sends `bytes` on every connection, asked or not, and returns when the clients' systems have them.
  void push(std::string bytes);

  [[nodiscard]] int port() const noexcept { return port_; }

  /// Such as "127.0.0.1:40123".
  [[nodiscard]] std::string hostAndPort() const;

  /// Such as "http://127.0.0.1:40123".
  [[nodiscard]] std::string url() const;

  /// Each request up to and including its blank line.
  [[nodiscard]] std::vector<std::string> requests() const;

  /// How many connections came.
  [[nodiscard]] std::size_t connections() const;

  /// Waits until `count` requests came in all; false when they have not after `limit`.
  [[nodiscard]] bool waitForRequests(std::size_t count,
                                     std::chrono::milliseconds limit = std::chrono::seconds(60)) const;

 private:
  /// What is known of a connection.
  struct Connection {
    std::string received;  // of a request that is not whole yet
    bool wasAsked = false;
    bool trickles = false;
    std::string flood;        // repeated until it is long; empty: none
    std::size_t flooded = 0;  // bytes of it that were sent last
  };

  void serve();
  void serveConnection(int socket, int events);
  void trickle();
  static void flood(int socket, Connection& connection);
  void acceptConnection();
  [[nodiscard]] bool receive(int socket, Connection& connection);
  [[nodiscard]] bool answer(int socket, Connection& connection, std::string text);
  [[nodiscard]] Reply nextReply(const Request& request);
  void pushNow();

  int listener_ = -1;
  int controlPipe_[2] = {-1, -1};  // a byte: there is something to push; closed: the end
  int port_ = 0;

  std::mutex pushing_;  // held by who waits for what it pushes; before mutex_
  mutable std::mutex mutex_;
  mutable std::condition_variable requested_;
  // All below under mutex_.
  mutable std::condition_variable pushed_;
  std::deque<Reply> replies_;
  Responder responder_;
  std::vector<std::string> requests_;
  std::size_t connections_ = 0;
  std::optional<std::string> toPush_;

  // All below only on thread_.
  std::map<int, Connection> open_;  // by socket
  std::chrono::steady_clock::time_point nextDrop_;
  std::thread thread_;
};

/// A loopback port on which nothing listens. It is nobody else's as long as the process lives.
[[nodiscard]] VELLORA_EXPORT int closedPort();

}  // namespace vellora::testkit
