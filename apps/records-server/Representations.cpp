#include "apps/records-server/Representations.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <new>
#include <utility>

namespace vellora::recordsserver {
namespace {

constexpr std::size_t mostRemembered = 8;

/// FNV-1a with 64 bits, and the length.
std::string tagOf(std::string_view bytes, bool packed) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char byte : bytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "\"%016llx-%zx%s\"", static_cast<unsigned long long>(hash),
                bytes.size(), packed ? "-gzip" : "");
  return text.data();
}

Data gzipped(std::string_view bytes) {
  constexpr int gzipForm = 16 + MAX_WBITS;
  constexpr int memoryLevel = 8;
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipForm, memoryLevel, Z_DEFAULT_STRATEGY) !=
      Z_OK)
    throw std::bad_alloc();
  std::string packed(deflateBound(&stream, static_cast<uLong>(bytes.size())), '\0');
  // zlib does not write to its input; its interface is older than const.
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
  stream.avail_in = static_cast<uInt>(bytes.size());
  stream.next_out = reinterpret_cast<Bytef*>(packed.data());
  stream.avail_out = static_cast<uInt>(packed.size());
  deflate(&stream, Z_FINISH);
  packed.resize(stream.total_out);
  deflateEnd(&stream);
  return Data(std::move(packed));
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && text.front() == ' ') text.remove_prefix(1);
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  return text;
}

/// Takes what stands before the next comma off the front of `list`.
std::string_view takeNext(std::string_view& list) {
  const auto next = list.substr(0, list.find(','));
  list.remove_prefix(std::min(list.size(), next.size() + 1));
  return trimmed(next);
}

/// Whether the weight of a coding is zero.
bool isRefused(std::string_view coding) {
  const auto weight = coding.find("q=");
  return weight != std::string_view::npos &&
         coding.substr(weight + 2).find_first_not_of("0.") == std::string_view::npos;
}

}  // namespace

Representation Representations::of(const Data& body, bool packed) {
  for (const auto& each : remembered_) {
    if (each.packed == packed && each.body.sharesBufferWith(body)) return each.representation;
  }
  Representation made{packed ? gzipped(body.view()) : body, tagOf(body.view(), packed)};
  remembered_.push_front({body, packed, made});
  if (remembered_.size() > mostRemembered) remembered_.pop_back();
  return made;
}

bool isAmong(std::string_view tag, std::string_view ifNoneMatch) {
  while (!ifNoneMatch.empty()) {
    auto one = takeNext(ifNoneMatch);
    if (one.starts_with("W/")) one.remove_prefix(2);
    if (one == tag || one == "*") return true;
  }
  return false;
}

bool acceptsGzip(std::string_view acceptEncoding) {
  while (!acceptEncoding.empty()) {
    const auto one = takeNext(acceptEncoding);
    if (trimmed(one.substr(0, one.find(';'))) == "gzip") return !isRefused(one);
  }
  return false;
}

}  // namespace vellora::recordsserver
