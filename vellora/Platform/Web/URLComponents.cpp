#include "vellora/Platform/Web/URLComponents.h"

#include <boost/url/encode.hpp>
#include <boost/url/grammar/lut_chars.hpp>
#include <boost/url/parse.hpp>
#include <boost/url/url.hpp>

namespace vellora {

namespace {

constexpr boost::urls::grammar::lut_chars unescapedInQueryItems(
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!$'()*+,-./:;?@_~");

// Encodes into a string of our own. The overload of `encode` that makes the string is noexcept: it would end
// the process when there is no memory.
std::string encoded(const std::string& text) {
  std::string out(boost::urls::encoded_size(text, unescapedInQueryItems), '\0');
  boost::urls::encode(out.data(), out.size(), text, unescapedInQueryItems);
  return out;
}

// Boost.URL reads the letters of "http://host:port/" as a path right behind an empty port, which no URL has.
bool hasPathInPlaceOfPort(const boost::urls::url_view& url) {
  return url.has_authority() && !url.encoded_path().empty() && url.encoded_path().front() != '/';
}

}  // namespace

std::optional<URLComponents> URLComponents::parse(std::string_view text) {
  const auto url = boost::urls::parse_uri_reference(text);
  if (!url || hasPathInPlaceOfPort(*url)) return std::nullopt;
  return URLComponents(std::string(text));
}

void URLComponents::setQueryItems(const std::vector<URLQueryItem>& items) {
  boost::urls::url url(text_);
  std::string query;
  for (const auto& item : items) {
    if (!query.empty()) query += '&';
    query.append(encoded(item.name)).append("=").append(encoded(item.value));
  }
  if (items.empty()) {
    url.remove_query();
  } else {
    url.set_encoded_query(query);
  }
  text_ = std::string(url.buffer());
}

std::optional<URL> URLComponents::url() const {
  return URL(text_);
}

}  // namespace vellora
