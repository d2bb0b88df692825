#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace vellora::tests {

/// A server on an ephemeral loopback port that answers each request with the bytes it was told to, however
/// wrong they are as HTTP, and records the exact bytes of what it was asked.
///
/// A request ends at its first blank line; bodies are not read. Requests of all connections share one list of
/// replies. Without a reply left, `replyAlways`'s is given; without that the request hangs.
///
/// Ownership: owns its thread and its sockets; its destructor closes every connection.
///
/// Threads: safe to use from several threads at once.
class ScriptedServer {
 public:
  /// What becomes of the connection behind a reply.
  enum class Then {
    keepOpen,
    close,
    reset,
    trickle,  ///< a blank every few milliseconds, for as long as the client stays
  };

  struct Reply {
    std::string bytes;
    Then then = Then::keepOpen;
  };

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
  void serve();
  void acceptConnection();
  [[nodiscard]] bool receive(int socket, std::string& received);
  void trickle();
  [[nodiscard]] bool answer(int socket, std::string request);
  [[nodiscard]] Reply nextReply(std::string request);

  int listener_ = -1;
  int stopPipe_[2] = {-1, -1};
  int port_ = 0;

  mutable std::mutex mutex_;
  mutable std::condition_variable requested_;
  // All below under mutex_.
  std::deque<Reply> replies_;
  Reply always_;
  std::vector<std::string> requests_;
  std::size_t connections_ = 0;

  std::map<int, std::string> open_;  // only on thread_: what each socket has sent so far
  std::set<int> trickling_;          // only on thread_
  std::thread thread_;
};

/// A loopback port on which nothing listens: it was free a moment ago.
[[nodiscard]] int closedPort();

}  // namespace vellora::tests
