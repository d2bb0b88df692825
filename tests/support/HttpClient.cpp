#include "tests/support/HttpClient.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cstdlib>
#include <optional>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::test {
namespace {

constexpr std::string_view lineEnd = "\r\n";

HttpReply readHead(std::string_view head) {
  HttpReply reply;
  if (head.starts_with("HTTP/1.1 ")) reply.status = std::atoi(std::string(head.substr(9, 3)).c_str());
  for (auto at = head.find(lineEnd); at != std::string_view::npos; at = head.find(lineEnd, at)) {
    at += lineEnd.size();
    const auto line = head.substr(at, head.find(lineEnd, at) - at);
    const auto colon = line.find(": ");
    if (colon == std::string_view::npos) continue;
    reply.headers[asciiLowerCase(line.substr(0, colon))] = line.substr(colon + 2);
  }
  return reply;
}

}  // namespace

HttpClient::HttpClient(std::uint16_t port) : socket_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const timeval patience{60, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
  if (::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return;
  ::close(socket_);
  socket_ = -1;
}

HttpClient::~HttpClient() {
  if (socket_ >= 0) ::close(socket_);
}

void HttpClient::send(std::string_view bytes) const {
  while (!bytes.empty()) {
    const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void HttpClient::sendGet(const std::string& target, const std::string& headers) const {
  send("GET " + target + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
}

bool HttpClient::receiveMore() {
  std::array<char, 65536> bytes{};
  const auto count = ::recv(socket_, bytes.data(), bytes.size(), 0);
  if (count == 0) ended_ = true;
  if (count <= 0) return false;
  received_.append(bytes.data(), static_cast<std::size_t>(count));
  return true;
}

HttpReply HttpClient::receive() {
  std::size_t headEnd = 0;
  while ((headEnd = received_.find("\r\n\r\n")) == std::string::npos)
    if (!receiveMore()) return {};
  auto reply = readHead(std::string_view(received_).substr(0, headEnd));
  received_.erase(0, headEnd + 4);
  const auto length = static_cast<std::size_t>(std::atoll(reply.headers["content-length"].c_str()));
  while (received_.size() < length && receiveMore()) {
  }
  reply.complete = received_.size() >= length;
  reply.body = received_.substr(0, length);
  received_.erase(0, reply.body.size());
  return reply;
}

HttpReply HttpClient::get(const std::string& target, const std::string& headers) {
  sendGet(target, headers);
  return receive();
}

bool HttpClient::receiveEnd() {
  while (receiveMore()) {
  }
  return ended_;
}

bool HttpClient::hasInput() const {
  pollfd watched{socket_, POLLIN, 0};
  return ::poll(&watched, 1, 0) > 0;
}

HttpReply httpGet(std::uint16_t port, const std::string& target, const std::string& headers) {
  return HttpClient(port).get(target, headers);
}

std::string percentEncoded(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string encoded;
  for (const auto c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 128 && std::isalnum(byte) != 0) {
      encoded += c;
    } else {
      encoded += {'%', digits[byte / 16], digits[byte % 16]};
    }
  }
  return encoded;
}

}  // namespace vellora::test
