#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Immutable bytes: a response body, a cached blob, an encoded record.
///
///     const Data body(std::string("[1, 2]"));
///     const Data same = body;  // shares the bytes
///     body.size();             // 6
///
/// Ownership: copies share one reference-counted buffer, so copying copies no bytes.
///
/// Threads: immutable, hence safe to read from any number of threads at once.
///
/// Errors: making one from bytes throws `std::bad_alloc` when there is no memory; nothing else throws.
class VELLORA_EXPORT Data {
 public:
  /// How many readable bytes, all zero, stand behind the content, so that a vectorising parser may read past
  /// its end. They are not part of the content: `size` and `view` leave them out.
  static constexpr std::size_t padding = 64;

  /// No bytes. An empty `Data` is not an absent one: absence is `std::optional<Data>` without a value.
  Data() = default;

  /// Takes over the bytes of `bytes`; any byte values, text or not. They are copied once unless the string
  /// has room for the padding.
  explicit Data(std::string bytes);

  /// Copies `size` bytes from `bytes`, which may be null when `size` is 0.
  Data(const void* bytes, std::size_t size);

  /// The first byte; never null, also when there are no bytes.
  [[nodiscard]] const char* data() const noexcept { return view().data(); }

  /// In bytes.
  [[nodiscard]] std::size_t size() const noexcept { return bytes_ ? bytes_->size() : 0; }
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }

  /// The bytes as they are; valid as long as this object or a copy of it lives.
  [[nodiscard]] std::string_view view() const noexcept;

  /// True when both share one buffer: equal without a look at the bytes. Two empty ones always do. False says
  /// nothing.
  [[nodiscard]] bool sharesBufferWith(const Data& other) const noexcept { return bytes_ == other.bytes_; }

  /// Equal when the bytes are equal; they are compared only when the buffers are two.
  friend bool operator==(const Data& left, const Data& right) noexcept {
    return left.sharesBufferWith(right) || left.view() == right.view();
  }

 private:
  std::shared_ptr<const std::string> bytes_;  // capacity is at least size() + padding
};

}  // namespace vellora
