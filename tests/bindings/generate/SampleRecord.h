#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "vellora/Platform/Json/Json.h"

namespace vellora::tests {

/// A record of a record.
struct GenerateInner {
  std::string text;

  static constexpr std::string_view recordName = "Inner";
  static constexpr auto fields() { return std::tuple(json::field("text", &GenerateInner::text)); }
};

/// A record with a member of every kind, one of its own type among them.
struct GenerateOuter {
  std::string id;
  bool createable = false;
  std::int64_t width = 0;
  double share = 0;
  GenerateInner inner;
  std::optional<std::string> labelPlural;
  std::optional<std::vector<std::shared_ptr<GenerateOuter>>> parts;

  static constexpr std::string_view recordName = "Outer";
  static constexpr auto fields() {
    return std::tuple(
        json::field("Id", &GenerateOuter::id, "id"), json::field("createable", &GenerateOuter::createable),
        json::field("width", &GenerateOuter::width), json::field("share", &GenerateOuter::share),
        json::field("inner", &GenerateOuter::inner), json::field("labelPlural", &GenerateOuter::labelPlural),
        json::field("parts", &GenerateOuter::parts));
  }
};

}  // namespace vellora::tests
