#include "apps/vellora/explore/IconAddress.h"

#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::explore {
namespace {

/// The URL `text` with scheme and host in small letters and dot segments resolved; no value if it is no URL.
std::optional<boost::urls::url> normalized(const std::string& text) {
  const auto parsed = boost::urls::parse_uri(text);
  if (!parsed) return std::nullopt;
  boost::urls::url url(*parsed);
  url.normalize();
  return url;
}

std::string portOf(const boost::urls::url& url) {
  if (!url.port().empty()) return std::string(url.port());
  return url.scheme() == "https" ? "443" : "80";
}

bool isSameOrigin(const boost::urls::url& left, const boost::urls::url& right) {
  return left.scheme() == right.scheme() && left.encoded_host() == right.encoded_host() &&
         portOf(left) == portOf(right);
}

}  // namespace

std::optional<URL> iconRequest(const std::string& address, const std::string& server) {
  const auto home = normalized(server);
  if (!home) return std::nullopt;
  // An address without scheme and host is a path on `server`, because that server sent it.
  const bool isPath = address.starts_with('/') && !address.starts_with("//");
  const auto url = normalized(isPath ? std::string(home->encoded_origin()) + address : address);
  if (!url || url->has_userinfo() || !isSameOrigin(*url, *home)) return std::nullopt;

  std::string prefix(home->encoded_path());
  while (prefix.ends_with('/')) prefix.pop_back();
  const std::string path(url->encoded_path());
  if (!path.starts_with(prefix + "/")) return std::nullopt;
  auto relative = path.substr(prefix.size());
  if (relative.starts_with("//")) return std::nullopt;
  if (url->has_query()) relative += "?" + std::string(url->encoded_query());
  const auto components = URLComponents::parse(relative);
  return components ? components->url() : std::nullopt;
}

}  // namespace vellora::explore
