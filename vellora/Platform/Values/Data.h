#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Immutable bytes: a response body, a cached blob, an encoded record.
///
/// Ownership: copies share one reference-counted buffer, so copying copies no bytes.
/// Threads: immutable, hence safe to read from any number of threads at once.
class VELLORA_EXPORT Data {
 public:
  /// Readable bytes that stand behind the content, so that a vectorising parser may read past its end.
  static constexpr std::size_t padding = 64;

  /// No bytes. An empty `Data` is not an absent one: absence is `std::optional<Data>` without a value.
  Data() = default;

  /// Takes over the bytes of `bytes`; any byte values, text or not.
  explicit Data(std::string bytes);

  /// Copies `size` bytes from `bytes`.
  Data(const void* bytes, std::size_t size);

  [[nodiscard]] const char* data() const noexcept { return view().data(); }
  [[nodiscard]] std::size_t size() const noexcept { return bytes_ ? bytes_->size() : 0; }
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }

  /// The bytes as they are; valid as long as this object or a copy of it lives.
  [[nodiscard]] std::string_view view() const noexcept;

  /// True when both share one buffer: equal without a look at the bytes. False says nothing.
  [[nodiscard]] bool sharesBufferWith(const Data& other) const noexcept { return bytes_ == other.bytes_; }

  /// Equal when the bytes are equal.
  friend bool operator==(const Data& left, const Data& right) noexcept {
    return left.sharesBufferWith(right) || left.view() == right.view();
  }

 private:
  std::shared_ptr<const std::string> bytes_;  // capacity is at least size() + padding
};

}  // namespace vellora
