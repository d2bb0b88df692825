#include "hostkit/network/GzipDecoder.h"

#include <zlib.h>

#include <array>
#include <new>

namespace vellora::hostkit {

namespace {

constexpr int gzipOnly = 16 + MAX_WBITS;
constexpr std::size_t pieceSize = 16384;  // bytes unpacked at a time

/// zlib's code, unless that tells of a lack of memory, which is no fault of the body.
int withMemory(int code) {
  if (code == Z_MEM_ERROR) throw std::bad_alloc();
  return code;
}

}  // namespace

struct GzipDecoder::Stream {
  Stream() : usable(withMemory(inflateInit2(&z, gzipOnly)) == Z_OK) {}
  ~Stream() {
    if (usable) inflateEnd(&z);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  z_stream z{};
  const bool usable;
};

GzipDecoder::GzipDecoder() : stream_(std::make_unique<Stream>()) {}

GzipDecoder::~GzipDecoder() = default;

GzipDecoder::Fault GzipDecoder::append(std::string_view packed, std::string& body, std::size_t limit) {
  if (!stream_->usable) return Fault::corrupt;
  z_stream& z = stream_->z;
  // zlib does not write to its input; its interface is older than const.
  z.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data()));
  z.avail_in = static_cast<uInt>(packed.size());
  std::array<char, pieceSize> unpacked;
  do {
    // What follows a whole member is another one.
    if (complete_ && z.avail_in > 0) inflateReset(&z);
    z.next_out = reinterpret_cast<Bytef*>(unpacked.data());
    z.avail_out = static_cast<uInt>(unpacked.size());
    const int code = withMemory(inflate(&z, Z_NO_FLUSH));
    if (code != Z_OK && code != Z_STREAM_END && code != Z_BUF_ERROR) return Fault::corrupt;
    complete_ = code == Z_STREAM_END;
    const std::size_t count = unpacked.size() - z.avail_out;
    if (count > limit - body.size()) return Fault::tooLarge;
    body.append(unpacked.data(), count);
  } while (z.avail_in > 0 || z.avail_out == 0);
  return Fault::none;
}

}  // namespace vellora::hostkit
