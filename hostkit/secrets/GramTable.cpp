#include "hostkit/secrets/GramTable.h"

#include <bit>

namespace vellora::hostkit {

namespace {

constexpr unsigned kindBits = 16;

constexpr GramTable::Gram gramIn(std::uint64_t slot) noexcept {
  return slot >> kindBits;
}

}  // namespace

// Half of the slots stay free at least, so that a search ends soon.
GramTable::GramTable(std::size_t bytes) : slots_(std::bit_ceil(2 * bytes + 2)) {}

void GramTable::add(std::string_view text, Kinds kind) {
  Gram gram = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    gram = following(gram, text[at]);
    if (at + 1 < gramLength) continue;
    std::uint64_t& slot = slots_[slotOf(gram)];
    slot = (gram << kindBits) | (slot & 0xFFFFU) | kind;
  }
}

GramTable::Kinds GramTable::kindsOf(Gram gram) const noexcept {
  return static_cast<Kinds>(slots_[slotOf(gram)] & 0xFFFFU);
}

GramTable::Gram GramTable::following(Gram gram, char byte) noexcept {
  constexpr Gram sixBytes = (Gram{1} << (8 * gramLength)) - 1;
  return ((gram << 8U) | static_cast<unsigned char>(byte)) & sixBytes;
}

/// Where the gram is, or where it would go.
std::size_t GramTable::slotOf(Gram gram) const noexcept {
  constexpr std::uint64_t goldenRatio = 0x9E3779B97F4A7C15U;
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = static_cast<std::size_t>((gram * goldenRatio) >> 32U) & mask;
  while (slots_[at] != 0 && gramIn(slots_[at]) != gram) at = (at + 1) & mask;
  return at;
}

}  // namespace vellora::hostkit
