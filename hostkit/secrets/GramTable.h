#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace vellora::hostkit {

/// Which runs of six bytes ("grams") stand in a set of texts, each with the kinds of the texts that it stands
/// in. A text is searched for pieces of all of them in one pass, at a cost that does not grow with theirs.
///
/// Threads: immutable once filled, hence safe to read from several threads then.
class GramTable {
 public:
  static constexpr std::size_t gramLength = 6;
  using Gram = std::uint64_t;
  using Kinds = std::uint16_t;  ///< a bit for each kind

  /// A table with room for texts of `bytes` bytes together.
  explicit GramTable(std::size_t bytes);

  /// Takes in the grams of `text`, which holds no NUL. One shorter than a gram has none.
  void add(std::string_view text, Kinds kind);

  /// The kinds of texts that hold the gram; none when no text does.
  [[nodiscard]] Kinds kindsOf(Gram gram) const noexcept;

  /// The gram that ends with `byte`, when the one before it is `gram`.
  [[nodiscard]] static Gram following(Gram gram, char byte) noexcept;

 private:
  [[nodiscard]] std::size_t slotOf(Gram gram) const noexcept;

  std::vector<std::uint64_t> slots_;  // a gram above its kinds; 0 where there is none. Their number: 2^n
};

}  // namespace vellora::hostkit
