#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace vellora::hostkit {

/// Unpacks a gzip body that comes in pieces. curl could unpack it, too, but doesn't tell when the packed body
/// ends too early.
///
/// Threads: one at a time.
///
/// Errors: a fault is final. `std::bad_alloc` where there is no memory to unpack by.
///
/// Units: bytes.
class GzipDecoder {
 public:
  enum class Fault { none, corrupt, tooLarge };

  GzipDecoder();
  ~GzipDecoder();
  GzipDecoder(const GzipDecoder&) = delete;
  GzipDecoder& operator=(const GzipDecoder&) = delete;

  /// Unpacks `packed`, the next piece, behind `body`, which must not become longer than `limit`.
  [[nodiscard]] Fault append(std::string_view packed, std::string& body, std::size_t limit);

  /// True when the body may end here: nothing came yet, or what came is whole, its checksum included.
  [[nodiscard]] bool isComplete() const noexcept { return complete_; }

 private:
  struct Stream;

  std::unique_ptr<Stream> stream_;
  bool complete_ = true;
};

}  // namespace vellora::hostkit
