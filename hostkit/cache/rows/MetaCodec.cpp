#include "hostkit/cache/rows/MetaCodec.h"

#include <charconv>
#include <cstddef>
#include <utility>

namespace vellora::hostkit {

namespace {

void append(std::string& bytes, const std::string& text) {
  bytes.append(std::to_string(text.size())).append(":").append(text);
}

/// Takes one text off the front of `bytes`.
std::optional<std::string> takeText(std::string_view& bytes) {
  std::size_t size = 0;
  const auto [end, error] = std::from_chars(bytes.data(), bytes.data() + bytes.size(), size);
  if (error != std::errc()) return std::nullopt;
  bytes.remove_prefix(static_cast<std::size_t>(end - bytes.data()));
  if (bytes.empty() || bytes.front() != ':' || bytes.size() - 1 < size) return std::nullopt;
  std::string text(bytes.substr(1, size));
  bytes.remove_prefix(1 + size);
  return text;
}

}  // namespace

std::string encodedMeta(const CorvaneSDK::Meta& meta) {
  std::string bytes;
  for (const auto& [key, value] : meta) {
    append(bytes, key);
    append(bytes, value);
  }
  return bytes;
}

std::optional<CorvaneSDK::Meta> decodedMeta(std::string_view bytes) {
  CorvaneSDK::Meta meta;
  while (!bytes.empty()) {
    auto key = takeText(bytes);
    auto value = takeText(bytes);
    if (!key || !value) return std::nullopt;
    meta.insert_or_assign(std::move(*key), std::move(*value));
  }
  return meta;
}

std::string derivedDataKey(const CorvaneSDK::Meta& meta) {
  return "meta:" + encodedMeta(meta);
}

}  // namespace vellora::hostkit
