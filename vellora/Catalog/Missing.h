#pragma once

#include <optional>
#include <string>
#include <utility>

#include "vellora/Catalog/Failure.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why a key of a question has no answer.
///
///     for (const auto& [id, missing] : answer.missing) show(id, missing.text());
///     // "unknown to the server", "could not be asked: 401 Unauthorized (/services/data/v50.0/sobjects)", …
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT Missing {
 public:
  enum class Why {
    unknown,    ///< the server doesn't know it
    failed,     ///< it could not be asked: `failure` says which request failed, and why
    notAsked,   ///< the key is none: empty, not UTF-8, … It was refused before anybody was asked
    notCached,  ///< only the cache was to be asked, and does not have it
    timedOut,   ///< the question ended before this key was answered
    cancelled,  ///< the question was given up before this key was answered
  };

  explicit Missing(Why why, std::optional<Failure> failure = std::nullopt)
      : why_(why), failure_(std::move(failure)) {}

  [[nodiscard]] Why why() const noexcept { return why_; }

  /// What went wrong, for `failed`; what is wrong with the key, for `notAsked`; else null. Valid as long as
  /// this object.
  [[nodiscard]] const Failure* failure() const noexcept { return failure_ ? &*failure_ : nullptr; }

  /// The reason in words for a person.
  [[nodiscard]] std::string text() const;

 private:
  Why why_;
  std::optional<Failure> failure_;
};

}  // namespace vellora
