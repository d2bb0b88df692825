#include "hostkit/cache/rows/Checksum.h"

#include <zlib.h>

#include <array>
#include <bit>
#include <cstddef>

namespace vellora::hostkit {

Checksum& Checksum::add(std::string_view bytes) {
  add(static_cast<std::int64_t>(bytes.size()));
  addBytes(bytes.data(), bytes.size());
  return *this;
}

Checksum& Checksum::add(std::int64_t number) {
  const auto bits = static_cast<std::uint64_t>(number);
  std::array<unsigned char, 8> bytes{};  // the same on every machine, as the file is
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
  addBytes(bytes.data(), bytes.size());
  return *this;
}

Checksum& Checksum::add(Date date) {
  return add(std::bit_cast<std::int64_t>(date.secondsSinceReferenceDate() +
                                         0.0));  // a database keeps no negative zero
}

void Checksum::addBytes(const void* bytes, std::size_t size) {
  if (size > 0) value_ = crc32_z(value_, static_cast<const unsigned char*>(bytes), size);
}

}  // namespace vellora::hostkit
