#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

namespace vellora::test {

/// What came back for one request.
struct HttpReply {
  /// 0 when the connection ended before a whole head had come.
  int status = 0;
  /// Names in small letters.
  std::map<std::string, std::string> headers;
  std::string body;
  /// Whether as much body came as the head announced.
  bool complete = false;
};

/// A client that sends what it is told, well-formed or not, over one connection to this machine's loopback
/// interface. Everything blocks; reading gives up after a minute without a byte.
class HttpClient {
 public:
  explicit HttpClient(std::uint16_t port);
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  [[nodiscard]] bool connected() const { return socket_ >= 0; }

  void send(std::string_view bytes) const;

  /// Sends a GET; `headers` are whole lines, each with its line end.
  void sendGet(const std::string& target, const std::string& headers = "") const;

  /// Reads one reply. Bytes behind it are kept for the next one.
  [[nodiscard]] HttpReply receive();

  [[nodiscard]] HttpReply get(const std::string& target, const std::string& headers = "");

  /// Reads until the connection ends; false when it did not within a minute.
  [[nodiscard]] bool receiveEnd();

  /// Whether bytes, or the connection's end, can be read right now.
  [[nodiscard]] bool hasInput() const;

 private:
  bool receiveMore();

  int socket_ = -1;
  bool ended_ = false;
  std::string received_;
};

/// One GET over a connection of its own.
[[nodiscard]] HttpReply httpGet(std::uint16_t port, const std::string& target,
                                const std::string& headers = "");

/// `text` with everything but ASCII letters and digits percent-encoded.
[[nodiscard]] std::string percentEncoded(std::string_view text);

}  // namespace vellora::test
