#include "hostkit/network/ServerAddress.h"

#include <arpa/inet.h>
#include <curl/curl.h>
#include <netinet/in.h>

#include <algorithm>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

/// A URL taken apart by the very parser that will send the request: no two readings of one address. Without
/// memory for that it throws `std::bad_alloc`: a part that cannot be had must not pass for one that is not
/// there.
class ParsedUrl {
 public:
  explicit ParsedUrl(const std::string& text)
      : code_(curl_url_set(url_.get(), CURLUPART_URL, text.c_str(),
                           CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS)) {
    if (!url_ || code_ == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
  }

  [[nodiscard]] CURLUcode code() const { return code_; }

  /// Nothing when the URL has no such part.
  [[nodiscard]] std::optional<std::string> part(CURLUPart which) const {
    char* text = nullptr;
    const CURLUcode code =
        curl_url_get(url_.get(), which, &text, which == CURLUPART_PORT ? CURLU_DEFAULT_PORT : 0U);
    if (code == CURLUE_OUT_OF_MEMORY) throw std::bad_alloc();
    if (code != CURLUE_OK) return std::nullopt;
    const std::unique_ptr<char, decltype(&curl_free)> owned(text, curl_free);
    return std::string(text);
  }

 private:
  std::unique_ptr<CURLU, decltype(&curl_url_cleanup)> url_{curl_url(), curl_url_cleanup};
  CURLUcode code_;
};

bool isPrintableAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

Error invalidAddress(const std::string& reason) {
  return CurlNetworkError{Kind::invalidAddress, "the server's address " + reason};
}

/// What is wrong with the address. Its parts are quoted only once it is known to hold no credentials.
std::optional<std::string> faultOf(const std::string& text, const ParsedUrl& url) {
  const std::string advice = ": give one like https://records.example";
  if (text.empty()) return "is empty" + advice;
  if (url.code() == CURLUE_BAD_PORT_NUMBER) return "has a bad port number" + advice + ":8443";
  if (url.code() != CURLUE_OK) return "is not a URL" + advice;
  if (url.part(CURLUPART_USER) || url.part(CURLUPART_PASSWORD)) {
    return "holds credentials: remove them and hand in a token instead";
  }
  const std::string scheme = url.part(CURLUPART_SCHEME).value_or("");
  if (scheme != "http" && scheme != "https") return "has the scheme \"" + scheme + "\": use https or http";
  // The parser forgives any number of slashes here, and takes the first word of the path for the host.
  if (!asciiLowerCase(text).starts_with(scheme + "://") || text.find(":///") != std::string::npos) {
    return "is not a URL" + advice;
  }
  if (text.find('?') != std::string::npos) return "has a query: remove everything from the \"?\" on";
  if (text.find('#') != std::string::npos) return "has a fragment: remove everything from the \"#\" on";
  if (url.part(CURLUPART_PORT) == "0") return "has a bad port number" + advice + ":8443";
  if (!isPrintableAscii(text)) return "holds a blank or a character outside ASCII: encode it";
  return std::nullopt;
}

}  // namespace

ServerAddress::ServerAddress(std::string scheme, std::string host, std::string port, std::string prefix)
    : scheme_(std::move(scheme)),
      host_(std::move(host)),
      port_(std::move(port)),
      prefix_(std::move(prefix)) {}

Result<ServerAddress> ServerAddress::parse(const std::string& text) {
  const ParsedUrl url(text);
  if (const auto fault = faultOf(text, url)) return invalidAddress(*fault);
  std::string prefix = url.part(CURLUPART_PATH).value_or("");
  while (prefix.ends_with('/')) prefix.pop_back();
  return ServerAddress(*url.part(CURLUPART_SCHEME), asciiLowerCase(*url.part(CURLUPART_HOST)),
                       url.part(CURLUPART_PORT).value_or(""), std::move(prefix));
}

Result<std::string> ServerAddress::resolve(std::string_view relative) const {
  const bool isPath = relative.starts_with('/') && !relative.starts_with("//");
  if (!isPath || !isPrintableAscii(relative)) {
    return Error(CurlNetworkError{Kind::invalidRequest,
                                  "a request to " + hostAndPort() +
                                      " was not sent: its URL must be a path that begins with one \"/\", "
                                      "percent-encoded, without scheme and host"});
  }
  return scheme_ + "://" + hostAndPort() + prefix_ + std::string(relative);
}

Result<std::string> ServerAddress::admitRedirect(const std::string& url) const {
  const ParsedUrl target(url);
  const auto refused = [&](const std::string& reason) -> Error {
    return CurlNetworkError{Kind::refusedRedirect, hostAndPort() + " redirects to " + reason};
  };
  if (target.code() != CURLUE_OK) return refused("something that is not a URL: check the server");
  if (target.part(CURLUPART_USER) || target.part(CURLUPART_PASSWORD)) {
    return refused("an address with credentials, which is not followed: check the server");
  }
  const std::string scheme = target.part(CURLUPART_SCHEME).value_or("");
  const std::string host = asciiLowerCase(target.part(CURLUPART_HOST).value_or(""));
  const std::string port = target.part(CURLUPART_PORT).value_or("");
  if (scheme == scheme_ && host == host_ && port == port_) return url;
  return refused(scheme + "://" + host + ":" + port +
                 ", which is not followed: use that as the server's address if you trust it");
}

// What only looks like an address, such as "127.0.0.0.1", is a name, and any machine may answer to that.
bool ServerAddress::isLoopback() const {
  in_addr ipv4{};
  if (::inet_pton(AF_INET, host_.c_str(), &ipv4) == 1) return ntohl(ipv4.s_addr) >> 24 == 127;
  in6_addr ipv6{};
  const bool isBracketed = host_.starts_with('[') && host_.ends_with(']');
  if (isBracketed && ::inet_pton(AF_INET6, host_.substr(1, host_.size() - 2).c_str(), &ipv6) == 1) {
    return IN6_IS_ADDR_LOOPBACK(&ipv6);
  }
  return host_ == "localhost";
}

}  // namespace vellora::hostkit
