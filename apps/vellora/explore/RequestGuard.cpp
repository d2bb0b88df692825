#include "apps/vellora/explore/RequestGuard.h"

#include <utility>

namespace vellora::explore {
namespace {

/// Takes equally long wherever the two differ, so that the time does not tell how much of a guess was right.
bool equalInConstantTime(const std::string& left, const std::string& right) {
  if (left.size() != right.size()) return false;
  unsigned differences = 0;
  for (std::size_t i = 0; i < left.size(); ++i)
    differences |= static_cast<unsigned char>(left[i]) ^ static_cast<unsigned char>(right[i]);
  return differences == 0;
}

bool isFromOtherSite(const http::Request& request) {
  const auto site = request.header("Sec-Fetch-Site");
  return site && site != "same-origin" && site != "none";
}

}  // namespace

RequestGuard::RequestGuard(std::uint16_t port, std::string key)
    : port_(std::to_string(port)), key_(std::move(key)) {}

std::optional<http::Response> RequestGuard::refuse(const http::Request& request, Need need) const {
  if (!isForThisServer(request)) return plainText(421, "This is not the server that the request names.");
  if (need == Need::nothing) return std::nullopt;
  if (isFromOtherSite(request)) return plainText(403, "Only the explorer's own page may ask for this.");
  if (need == Need::ownPage) return std::nullopt;
  if (!hasKey(request))
    return plainText(401, "The key is missing or wrong: open the address that vellora printed.");
  if (need == Need::keyAndOrigin && request.header("Origin") != "http://" + *request.header("Host"))
    return plainText(403, "Only the explorer's own page may change this.");
  return std::nullopt;
}

bool RequestGuard::isForThisServer(const http::Request& request) const {
  if (request.count("Host") != 1 || !request.target.starts_with('/')) return false;
  const auto host = request.header("Host");
  return host == "127.0.0.1:" + port_ || host == "localhost:" + port_;
}

bool RequestGuard::hasKey(const http::Request& request) const {
  return request.count(keyHeader) == 1 && equalInConstantTime(*request.header(keyHeader), key_);
}

http::Response plainText(int status, const std::string& text) {
  return {status, "text/plain;charset=UTF-8", Data(text + "\n")};
}

}  // namespace vellora::explore
