#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// CRC-32 over a sequence of fields. Each field counts with its length, so that bytes that moved from one
/// field to the next change the value.
class Checksum {
 public:
  Checksum& add(std::string_view bytes);
  Checksum& add(std::int64_t number);
  Checksum& add(Date date);

  /// Fits 32 bits; the wider type is the one that it is stored as.
  [[nodiscard]] std::int64_t value() const { return static_cast<std::int64_t>(value_); }

 private:
  void addBytes(const void* bytes, std::size_t size);

  unsigned long value_ = 0;
};

}  // namespace vellora::hostkit
