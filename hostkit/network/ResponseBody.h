#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "hostkit/network/CurlNetworkError.h"
#include "hostkit/network/GzipDecoder.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// The body of an HTTP answer, taken in piece by piece, unpacked, and never larger than its limits, so that a
/// small answer costs little: reading a JSON value takes many times the memory of its text, and a packed body
/// may become a thousand times as long.
///
/// Threads: one at a time.
///
/// Errors: kinds of `CurlNetworkError`; the caller adds the words. After one, the body is of no use.
///
/// Units: bytes.
class ResponseBody {
 public:
  /// How much of a packed body may come of each of its bytes, behind the first MiB of it.
  static constexpr std::size_t mostUnpacked = 100;

  /// `limit` is the length after unpacking. `mostValues` is the number of JSON values in it, counted as
  /// commas and opening brackets, in whatever they stand.
  explicit ResponseBody(std::size_t limit, std::size_t mostValues = std::numeric_limits<std::size_t>::max())
      : limit_(limit), mostValues_(mostValues) {}

  /// Takes the next piece. `encoding` is the value of the head's Content-Encoding, null when there is none.
  /// `announced` is the length of the whole body as the head tells it, 0 when it doesn't. What went wrong, or
  /// no value.
  [[nodiscard]] std::optional<CurlNetworkError::Kind> take(std::string_view piece,
                                                           const std::string* encoding,
                                                           std::size_t announced);

  /// From now on what comes of a packed body is kept as it comes, too, as long as that is no more than
  /// `most`. Of a longer one nothing is: a packed body may be endless, and unpack to nothing.
  void keepPacked(std::size_t most) {
    keepsPacked_ = true;
    mostPacked_ = most;
  }

  /// The body as it came, given `unpacked`, which `release` gave. Absent for a packed one that was not
  /// kept. Call it once.
  [[nodiscard]] std::optional<Data> releaseAsItCame(const Data& unpacked);

  /// How much memory a packed body takes as it came.
  [[nodiscard]] std::size_t keptAsItCame() const noexcept { return packedBytes_.capacity(); }

  /// How much has come over the wire.
  [[nodiscard]] std::size_t received() const noexcept { return decoder_ ? packed_ : bytes_.size(); }

  /// True when the body may end here. A packed one may not within its packing.
  [[nodiscard]] bool mayEnd() const noexcept { return !decoder_ || decoder_->isComplete(); }

  /// How much there is, after unpacking.
  [[nodiscard]] std::size_t size() const noexcept { return bytes_.size(); }

  /// Forgets what was taken, for the answer that takes this one's place.
  void clear();

  /// The body itself. Call it once.
  [[nodiscard]] Data release() { return Data(std::move(bytes_)); }

 private:
  [[nodiscard]] std::optional<CurlNetworkError::Kind> takePlain(std::string_view piece,
                                                                std::size_t announced);
  [[nodiscard]] std::optional<CurlNetworkError::Kind> takePacked(std::string_view piece);
  void keepPiece(std::string_view piece);
  [[nodiscard]] std::size_t unpackedLimit() const noexcept;
  void reserve(std::size_t announced);

  const std::size_t limit_;
  const std::size_t mostValues_;
  std::string bytes_;
  std::size_t values_ = 0;
  std::size_t packed_ = 0;  // bytes of a packed body that have come
  bool keepsPacked_ = false;
  std::size_t mostPacked_ = 0;  // how many bytes are kept as they came
  std::string packedBytes_;
  std::unique_ptr<GzipDecoder> decoder_;  // of a packed body, once some of it has come
};

}  // namespace vellora::hostkit
