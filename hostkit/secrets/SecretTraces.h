#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hostkit/secrets/GramTable.h"

namespace vellora::hostkit {

/// A part of a text: the bytes from `begin` to before `end`.
struct TextSpan {
  std::size_t begin;
  std::size_t end;

  friend bool operator==(const TextSpan&, const TextSpan&) = default;
};

/// Finds one secret in texts, whole or in part, in the forms that `KnownSecrets` lists.
///
/// Threads: safe to use from several threads at once.
///
/// Units: bytes. Finding takes time by the text's length, whatever the secret's. The first call prepares it.
class SecretTraces {
 public:
  explicit SecretTraces(std::string secret) : secret_(std::move(secret)) {}

  [[nodiscard]] const std::string& secret() const noexcept { return secret_; }

  /// Appends to `spans` each part of `text` that tells the secret, in no order; they may overlap.
  void find(std::string_view text, std::vector<TextSpan>& spans) const;

 private:
  void prepare() const;
  void findWhole(std::string_view text, std::vector<TextSpan>& spans) const;
  void findPieces(std::string_view text, std::vector<TextSpan>& spans) const;
  void findScattered(std::string_view text, std::vector<TextSpan>& spans) const;

  const std::string secret_;
  mutable std::once_flag prepared_;
  mutable std::optional<GramTable> grams_;  // there once prepared, unless the secret is too short for one
};

}  // namespace vellora::hostkit
