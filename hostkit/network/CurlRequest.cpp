#include "hostkit/network/CurlRequest.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string_view>
#include <utility>

#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;
using Headers = std::map<std::string, std::string>;

constexpr double defaultTimeout = 60;
constexpr double longestTimeout = 24 * 60 * 60;

double sensibleTimeout(double seconds) {
  return seconds > 0 ? std::min(seconds, longestTimeout) : defaultTimeout;  // NaN is not above zero
}

bool isHeaderName(std::string_view name) {
  constexpr std::string_view allowed =
      "!#$%&'*+-.^_`|~0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return !name.empty() && name.find_first_not_of(allowed) == std::string_view::npos;
}

bool isControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

bool isHeaderValue(std::string_view value) {
  return std::none_of(value.begin(), value.end(), [](char c) { return isControl(c) && c != '\t'; });
}

bool isToken(std::string_view token) {
  return !token.empty() && token.size() <= KnownSecrets::longest &&
         std::all_of(token.begin(), token.end(), [](char c) { return c > ' ' && c < 0x7f; });
}

bool holds(const Headers& headers, std::string_view name) {
  return std::any_of(headers.begin(), headers.end(),
                     [&](const auto& each) { return equalIgnoringAsciiCase(each.first, name); });
}

// A line that ends with the colon would tell curl to leave that header out; the semicolon sends it empty.
std::string headerLine(const std::string& name, const std::string& value) {
  return value.empty() ? name + ";" : name + ": " + value;
}

/// What stands behind "Bearer" or "Basic" in the value of a header; all of it when there is one word.
std::string_view lastWord(std::string_view value) {
  constexpr std::string_view blanks = " \t";
  value = value.substr(0, value.find_last_not_of(blanks) + 1);
  return value.substr(value.find_last_of(blanks) + 1);
}

std::optional<std::string> faultOf(const URLRequest& request) {
  if (request.httpMethod != "GET") return "its method is not GET";
  if (request.body) return "it has a body, and only GET without a body is sent";
  for (const auto& [name, value] : request.headers) {
    if (!isHeaderName(name)) return "the name of one of its headers is not allowed in HTTP";
    if (!isHeaderValue(value)) return "the value of its header " + name + " holds a control character";
  }
  return std::nullopt;
}

Error refusal(const ServerAddress& server, Kind kind, const std::string& why) {
  return CurlNetworkError{kind, "a request to " + server.hostAndPort() + " was not sent: " + why};
}

Error badToken(const ServerAddress& server, const std::string& token) {
  return refusal(server, Kind::badToken,
                 token.size() > KnownSecrets::longest
                     ? "the token is longer than any server takes: check where it comes from"
                     : "the token is empty or holds a blank, a line end or another character that no token "
                       "has: check where it comes from");
}

constexpr std::string_view credentialsName = "authorization";

bool holdsCredentials(std::string_view line) {
  const bool isNamed = equalIgnoringAsciiCase(line.substr(0, credentialsName.size()), credentialsName);
  return isNamed && line.substr(credentialsName.size()).find_first_of(":;") == 0;
}

std::string authorization(const std::string& token) {
  return "Authorization: Bearer " + token;
}

}  // namespace

std::optional<std::string> CurlRequest::TokenSetting::renewed(const std::string& refused) const {
  if (renewal) return renewal(refused);
  return provider ? provider() : std::nullopt;
}

Result<CurlRequest> CurlRequest::withToken(const std::string& other, const ServerAddress& server) const {
  if (!isToken(other)) return badToken(server, other);
  CurlRequest changed = *this;
  std::replace(changed.headerLines.begin(), changed.headerLines.end(), authorization(token),
               authorization(other));
  changed.token = other;
  return changed;
}

Result<CurlRequest> CurlRequest::prepare(const CorvaneSDK::NetRequest& request, const ServerAddress& server,
                                         const TokenSetting& token) {
  const URLRequest& base = request.base();
  Result<std::string> url = server.resolve(base.url.absoluteString());
  if (!url) return url.error();
  if (const auto fault = faultOf(base)) return refusal(server, Kind::invalidRequest, *fault);

  CurlRequest prepared{std::move(url).value(), {}, sensibleTimeout(base.timeoutInterval), {}};
  for (const auto& [name, value] : base.headers) prepared.headerLines.push_back(headerLine(name, value));
  if (!holds(base.headers, "Accept-Encoding")) prepared.headerLines.emplace_back("Accept-Encoding: gzip");
  if (!holds(base.headers, "Accept")) prepared.headerLines.emplace_back("Accept: application/json");
  if (!token.provider || holds(base.headers, "Authorization")) return prepared;
  if (std::optional<std::string> given = token.provider()) {
    if (server.scheme() != "https" && !server.isLoopback() && !token.mayGoUnprotected) {
      return refusal(server, Kind::unprotectedToken,
                     "over http everybody on the way could read the token: give the server's https address");
    }
    if (!isToken(*given)) return badToken(server, *given);
    prepared.headerLines.push_back(authorization(*given));
    prepared.token = std::move(*given);
  }
  return prepared;
}

bool CurlRequest::hasOwnCredentials() const {
  const std::string ofTheToken = authorization(token);
  return std::any_of(headerLines.begin(), headerLines.end(), [&](const std::string& line) {
    return holdsCredentials(line) && (token.empty() || line != ofTheToken);
  });
}

void CurlRequest::noteSecretsIn(KnownSecrets& secrets) const {
  for (const std::string& line : headerLines) {
    if (holdsCredentials(line))
      secrets.note(lastWord(std::string_view(line).substr(credentialsName.size() + 1)));
  }
}

}  // namespace vellora::hostkit
