#include "vellora/DataServices/ServerRequest.h"

#include <utility>

#include "vellora/Platform/Web/URLComponents.h"

namespace vellora {

namespace {

std::optional<CorvaneSDK::NetRequest> requestFor(const std::optional<URLComponents>& components) {
  if (!components) return std::nullopt;
  auto url = components->url();
  if (!url) return std::nullopt;
  return CorvaneSDK::NetRequest(
      URLRequest(*std::move(url), URLRequestCachePolicy::useProtocolCachePolicy, 60.0));
}

}  // namespace

std::optional<CorvaneSDK::NetRequest> serverRequest(std::string_view path) {
  return requestFor(URLComponents::parse(path));
}

std::optional<CorvaneSDK::NetRequest> serverRequest(std::string_view path, std::string queryText) {
  auto components = URLComponents::parse(path);
  if (components) components->setQueryItems({{"q", std::move(queryText)}});
  return requestFor(components);
}

}  // namespace vellora
