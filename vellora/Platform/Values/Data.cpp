#include "vellora/Platform/Values/Data.h"

#include <array>
#include <utility>

namespace vellora {

namespace {

// Static, so that an empty Data has readable padding behind it like any other.
constexpr std::array<char, Data::padding> noBytes = {};

std::shared_ptr<const std::string> padded(std::string bytes) {
  if (bytes.empty()) return nullptr;
  const std::size_t size = bytes.size();
  bytes.resize(size + Data::padding);  // zeroes the padding
  bytes.resize(size);                  // keeps the capacity
  return std::make_shared<const std::string>(std::move(bytes));
}

}  // namespace

Data::Data(std::string bytes) : bytes_(padded(std::move(bytes))) {}

Data::Data(const void* bytes, std::size_t size) {
  if (size == 0) return;
  std::string copy;
  copy.reserve(size + padding);
  copy.assign(static_cast<const char*>(bytes), size);
  bytes_ = padded(std::move(copy));
}

std::string_view Data::view() const noexcept {
  return bytes_ ? std::string_view(*bytes_) : std::string_view(noBytes.data(), 0);
}

}  // namespace vellora
