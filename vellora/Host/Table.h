#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// Describes a new, empty table.
class VELLORA_EXPORT Table {
 public:
  /// How old a row may become before the host drops it.
  enum class MaxAge {
    sevenDays,
  };

  [[nodiscard]] static Table emptyWithKey(std::string key, MaxAge maxAge) { return {std::move(key), maxAge}; }

  [[nodiscard]] const std::string& key() const noexcept { return key_; }
  [[nodiscard]] MaxAge maxAge() const noexcept { return maxAge_; }

  friend bool operator==(const Table&, const Table&) = default;

 private:
  Table(std::string key, MaxAge maxAge) : key_(std::move(key)), maxAge_(maxAge) {}

  std::string key_;
  MaxAge maxAge_;
};

}  // namespace CorvaneSDK
