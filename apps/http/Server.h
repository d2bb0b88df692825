#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "apps/http/Exchange.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::http {

/// An HTTP/1.1 server on the loopback interface.
///
/// Ownership: owns its thread, its listening socket and its connections; destroying it stops it.
///
/// Threads: `stop` may be called from any thread but the server's own; the handler runs on that one.
///
/// Errors: only listening can fail, with a sentence for a person. A client learns of its mistakes from the
/// answer. Where memory is short on its thread, the connection that lacks it ends; the server does not.
class Server {
 public:
  struct Options {
    /// The port to listen on; 0 lets the system choose a free one.
    std::uint16_t port = 0;
    /// How long a client may take to send a request, to send the next one, or to take an answer.
    std::chrono::milliseconds clientTimeout{30'000};
    std::size_t maxHeaderBytes = 32'768;  ///< request line included
    std::size_t maxBodyBytes = 65'536;
    /// The answer to what never reaches the handler: too long, or not HTTP.
    std::function<Response(int status, std::string_view message)> refusal = {};
  };

  /// Opens the port on 127.0.0.1. Nothing is answered before `run`.
  [[nodiscard]] static Result<std::unique_ptr<Server>> listen(Options options);

  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  [[nodiscard]] std::uint16_t port() const;

  /// How many bytes of answers have been sent, or are being sent, heads included.
  [[nodiscard]] std::uint64_t bytesSent() const;

  /// Hands requests to `handler` from now on. Call it once.
  void run(Handler handler);

  /// Closes everything at once, answered or not, and returns when the server's thread has ended. A second
  /// call does nothing.
  void stop();

 private:
  class Implementation;
  explicit Server(std::unique_ptr<Implementation> implementation);

  const std::unique_ptr<Implementation> implementation_;
};

}  // namespace vellora::http
