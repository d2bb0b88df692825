#include "hostkit/network/ResponseBody.h"

#include <algorithm>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

// More than this is not reserved at once: asking for more memory than a machine has would end the process.
constexpr std::size_t mostReserved = std::size_t{256} * 1024 * 1024;

}  // namespace

std::optional<Kind> ResponseBody::take(std::string_view piece, const std::string* encoding,
                                       std::size_t announced) {
  if (encoding == nullptr || *encoding == "identity") return takePlain(piece, announced);
  if (asciiLowerCase(*encoding) != "gzip") return Kind::protocol;
  return takePacked(piece);
}

std::optional<Kind> ResponseBody::takePlain(std::string_view piece, std::size_t announced) {
  if (piece.size() > limit_ - bytes_.size()) return Kind::tooLarge;
  if (bytes_.empty()) reserve(announced);
  bytes_.append(piece);
  return std::nullopt;
}

std::optional<Kind> ResponseBody::takePacked(std::string_view piece) {
  if (!decoder_) decoder_ = std::make_unique<GzipDecoder>();
  switch (decoder_->append(piece, bytes_, limit_)) {
    case GzipDecoder::Fault::corrupt:
      return Kind::protocol;
    case GzipDecoder::Fault::tooLarge:
      return Kind::tooLarge;
    case GzipDecoder::Fault::none:
      break;
  }
  return std::nullopt;
}

// A body that outgrows its memory is copied into a larger one, and lies in both meanwhile. Reserving costs
// nothing when a server announces a length and never sends that much: the system gives memory only where
// something is written.
void ResponseBody::reserve(std::size_t announced) {
  if (announced == 0) return;
  bytes_.reserve(std::min({announced, limit_, mostReserved}) + Data::padding);
}

void ResponseBody::clear() {
  bytes_.clear();
  decoder_.reset();
}

}  // namespace vellora::hostkit
