#include "apps/records-server/RequestTarget.h"

#include <utility>

#include "apps/http/Target.h"

namespace vellora::recordsserver {

std::optional<RequestTarget> RequestTarget::parse(std::string_view target) {
  auto parsed = http::Target::parse(target);
  const auto q = parsed.encodedItem("q");
  if (!q) return RequestTarget{std::move(parsed.path), std::nullopt};
  auto decoded = http::percentDecoded(*q);
  if (!decoded) return std::nullopt;
  return RequestTarget{std::move(parsed.path), std::move(decoded)};
}

}  // namespace vellora::recordsserver
