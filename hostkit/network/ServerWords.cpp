#include "hostkit/network/ServerWords.h"

#include <optional>
#include <tuple>
#include <vector>

#include "vellora/Platform/Json/JsonCodec.h"
#include "vellora/Platform/Text/Utf8.h"

namespace vellora::hostkit {

namespace {

/// What tells of an error. Servers send more than that.
struct ServerError {
  std::optional<std::string> message;

  static constexpr std::string_view recordName = "ServerError";
  static constexpr auto fields() { return std::tuple(json::field("message", &ServerError::message)); }
};

// Enough for a text that is shortened, and little enough to be cleaned quickly.
constexpr std::size_t mostWords = 4096;

std::optional<std::string> messageIn(const Data& body) {
  if (body.size() > largestErrorBody) return std::nullopt;
  if (const auto list = json::decodeOnce<std::vector<ServerError>>(body)) {
    for (const ServerError& each : list.value()) {
      if (each.message) return each.message;
    }
    return std::nullopt;
  }
  const auto error = json::decodeOnce<ServerError>(body);
  return error ? error.value().message : std::nullopt;
}

}  // namespace

std::string serverWords(const Data& body, std::string_view reasonPhrase) {
  const std::optional<std::string> message = messageIn(body);
  const std::string_view words = message && !message->empty() ? std::string_view(*message) : reasonPhrase;
  return std::string(words.substr(0, mostWords));
}

std::string shortened(std::string_view text, std::size_t most) {
  std::size_t count = 0;
  std::size_t kept = 0;  // bytes, with room for the ellipsis
  for (std::size_t at = 0; at < text.size(); at += firstCharacter(text.substr(at)).length) {
    if (++count == most) kept = at;
  }
  return count <= most ? std::string(text) : std::string(text.substr(0, kept)) + "\u2026";
}

}  // namespace vellora::hostkit
