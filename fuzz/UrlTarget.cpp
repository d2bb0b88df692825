#include "fuzz/UrlTarget.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "apps/records-server/RequestTarget.h"
#include "fuzz/Target.h"
#include "vellora/DataServices/ServerRequest.h"
#include "vellora/Platform/Web/URLComponents.h"

namespace vellora::fuzz {

namespace {

constexpr std::string_view path = "/services/data/v50.0/query";
constexpr std::string_view neverEscaped =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789!$'()*+,-./:;?@_~";
constexpr std::string_view hexDigits = "0123456789ABCDEF";

bool isEscaped(std::string_view query) {
  while (!query.empty()) {
    const bool isEscape = query.front() == '%';
    if (isEscape && (query.size() < 3 || hexDigits.find(query[1]) == query.npos ||
                     hexDigits.find(query[2]) == query.npos)) {
      return false;
    }
    if (!isEscape && neverEscaped.find(query.front()) == query.npos) return false;
    query.remove_prefix(isEscape ? 3 : 1);
  }
  return true;
}

void keepsQuery(const std::string& text) {
  const auto request = serverRequest(path, text);
  require(request.has_value(), "any text makes a query");
  const auto& url = request->base().url.absoluteString();
  const auto start = std::string(path).append("?q=");
  require(url.starts_with(start), "the path is sent as it stands");
  require(isEscaped(std::string_view(url).substr(start.size())), "a query is escaped throughout");
  const auto sent = recordsserver::RequestTarget::parse(url);
  require(sent && sent->q == text, "a server reads the query that was written");
}

void replacesQuery(std::string_view text) {
  auto components = URLComponents::parse(text);
  if (!components) return;
  components->setQueryItems({{"name", std::string(text)}, {std::string(text), ""}});
  const auto url = components->url();
  require(url && URLComponents::parse(url->absoluteString()), "a URL with a new query is one");
  components->setQueryItems({});
  require(URLComponents::parse(components->url()->absoluteString()).has_value(),
          "a URL without its query is one");
}

}  // namespace

void runUrl(const Data& input) {
  keepsQuery(std::string(input.view()));
  replacesQuery(input.view());
}

}  // namespace vellora::fuzz
