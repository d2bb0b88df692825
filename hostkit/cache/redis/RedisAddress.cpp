#include "hostkit/cache/redis/RedisAddress.h"

#include <curl/curl.h>

#include <charconv>
#include <memory>
#include <string_view>

namespace vellora::hostkit {

namespace {

constexpr std::string_view socketScheme = "redis+unix://";

using Url = std::unique_ptr<CURLU, decltype(&curl_url_cleanup)>;

/// Nothing when the URL has no such part.
std::optional<std::string> part(const Url& url, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(url.get(), which, &text, 0) != CURLUE_OK) return std::nullopt;
  const std::unique_ptr<char, decltype(&curl_free)> owned(text, curl_free);
  return std::string(text);
}

bool hasNone(const Url& url, std::initializer_list<CURLUPart> parts) {
  for (const CURLUPart which : parts) {
    if (part(url, which)) return false;
  }
  return true;
}

std::optional<int> number(std::string_view digits) {
  int value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  const bool isWhole = error == std::errc() && end == digits.data() + digits.size() && value >= 0;
  return isWhole ? std::optional(value) : std::nullopt;
}

/// The number of the database that stands in the path: "/3". None stands for the first one.
std::optional<int> databaseIn(std::string_view path) {
  if (path == "/") return 0;
  return number(path.substr(1));
}

std::optional<RedisAddress> socketAddress(const std::string& text) {
  RedisAddress address;
  address.text = text;
  address.socketPath = text.substr(socketScheme.size());
  return address.socketPath.starts_with('/') ? std::optional(address) : std::nullopt;
}

std::optional<RedisAddress> hostAddress(const Url& url, const std::string& text) {
  if (!hasNone(url, {CURLUPART_USER, CURLUPART_PASSWORD, CURLUPART_QUERY, CURLUPART_FRAGMENT})) {
    return std::nullopt;
  }
  const std::string scheme = part(url, CURLUPART_SCHEME).value_or("");
  if (scheme != "redis" && scheme != "rediss") return std::nullopt;
  RedisAddress address;
  address.text = text;
  address.usesTls = scheme == "rediss";
  address.host = part(url, CURLUPART_HOST).value_or("");
  const auto port = number(part(url, CURLUPART_PORT).value_or("6379"));
  const auto database = databaseIn(part(url, CURLUPART_PATH).value_or("/"));
  if (address.host.empty() || !port || *port == 0 || !database) return std::nullopt;
  address.port = *port;
  address.database = *database;
  return address;
}

}  // namespace

std::optional<RedisAddress> RedisAddress::parsed(const std::string& text) {
  if (text.find('\0') != std::string::npos) return std::nullopt;  // what reads it would stop there
  if (text.starts_with(socketScheme)) return socketAddress(text);
  const Url url(curl_url(), curl_url_cleanup);
  const bool isUrl =
      url && curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK;
  return isUrl ? hostAddress(url, text) : std::nullopt;
}

}  // namespace vellora::hostkit
