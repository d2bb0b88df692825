#pragma once

#include <optional>
#include <string>
#include <utility>

#include "vellora/Catalog/Failure.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Whether a catalogue has both lists, of object types and of themes.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT Readiness {
 public:
  enum class Case {
    loading,  ///< no load has ended yet, or all was forgotten since
    ready,    ///< the last load found or fetched both
    failed,   ///< the last load could not fetch one of them; an older one may be there nevertheless
  };

  [[nodiscard]] static Readiness loading() { return Readiness(Case::loading, std::nullopt); }
  [[nodiscard]] static Readiness ready() { return Readiness(Case::ready, std::nullopt); }
  [[nodiscard]] static Readiness failed(Failure failure) {
    return Readiness(Case::failed, std::move(failure));
  }

  [[nodiscard]] Case readinessCase() const noexcept { return case_; }

  /// Why the last load failed; null when it didn't. Valid as long as this object.
  [[nodiscard]] const Failure* failure() const noexcept { return failure_ ? &*failure_ : nullptr; }

  /// "loading", "ready", "failed: 401 Unauthorized (/services/data/v50.0/theme)".
  [[nodiscard]] std::string text() const;

 private:
  Readiness(Case readinessCase, std::optional<Failure> failure)
      : case_(readinessCase), failure_(std::move(failure)) {}

  Case case_;
  std::optional<Failure> failure_;
};

}  // namespace vellora
