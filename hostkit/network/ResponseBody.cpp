#include "hostkit/network/ResponseBody.h"

#include <algorithm>

#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

// More than this is not reserved at once: asking for more memory than a machine has would end the process.
constexpr std::size_t mostReserved = std::size_t{256} * 1024 * 1024;

// A packed body that becomes no longer than this may be packed as tightly as it likes.
constexpr std::size_t freeUnpacked = std::size_t{1024} * 1024;

// Looks at every byte that comes. Without a branch, so that the compiler makes it look at many at once.
std::size_t valuesIn(std::string_view text) {
  std::size_t values = 0;
  for (const char c : text) values += static_cast<std::size_t>((c == ',') | (c == '[') | (c == '{'));
  return values;
}

}  // namespace

std::optional<Kind> ResponseBody::take(std::string_view piece, const std::string* encoding,
                                       std::size_t announced) {
  const std::string packing = encoding == nullptr ? "" : asciiLowerCase(*encoding);
  const bool isPacked = packing == "gzip" || packing == "x-gzip";
  if (!isPacked && !packing.empty() && packing != "identity") return Kind::protocol;
  const std::size_t before = bytes_.size();
  if (const auto fault = isPacked ? takePacked(piece) : takePlain(piece, announced)) return fault;
  values_ += valuesIn(std::string_view(bytes_).substr(before));
  return values_ > mostValues_ ? std::optional(Kind::tooManyValues) : std::nullopt;
}

std::optional<Kind> ResponseBody::takePlain(std::string_view piece, std::size_t announced) {
  if (piece.size() > limit_ - bytes_.size()) return Kind::tooLarge;
  if (bytes_.empty()) reserve(announced);
  bytes_.append(piece);
  return std::nullopt;
}

std::optional<Kind> ResponseBody::takePacked(std::string_view piece) {
  if (!decoder_) decoder_ = std::make_unique<GzipDecoder>();
  packed_ += piece.size();
  keepPiece(piece);
  switch (decoder_->append(piece, bytes_, unpackedLimit())) {
    case GzipDecoder::Fault::corrupt:
      return Kind::protocol;
    case GzipDecoder::Fault::tooLarge:
      return Kind::tooLarge;
    case GzipDecoder::Fault::none:
      break;
  }
  return std::nullopt;
}

void ResponseBody::keepPiece(std::string_view piece) {
  if (!keepsPacked_) return;
  keepsPacked_ = piece.size() <= mostPacked_ - packedBytes_.size();
  if (keepsPacked_) {
    packedBytes_.append(piece);
  } else {
    std::string().swap(packedBytes_);  // an assignment would not free them
  }
}

std::size_t ResponseBody::unpackedLimit() const noexcept {
  const bool mayOverflow = packed_ > limit_ / mostUnpacked;
  return mayOverflow ? limit_ : std::min(limit_, std::max(freeUnpacked, packed_ * mostUnpacked));
}

// A body that outgrows its memory is copied into a larger one, and lies in both meanwhile. Reserving costs
// nothing when a server announces a length and never sends that much: the system gives memory only where
// something is written.
void ResponseBody::reserve(std::size_t announced) {
  if (announced == 0) return;
  bytes_.reserve(std::min({announced, limit_, mostReserved}) + Data::padding);
}

std::optional<Data> ResponseBody::releaseAsItCame(const Data& unpacked) {
  if (!decoder_) return unpacked;
  if (!keepsPacked_) return std::nullopt;
  return Data(std::move(packedBytes_));
}

void ResponseBody::clear() {
  bytes_.clear();
  packedBytes_.clear();
  keepsPacked_ = false;
  values_ = packed_ = 0;
  decoder_.reset();
}

}  // namespace vellora::hostkit
