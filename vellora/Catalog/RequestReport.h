#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "vellora/Catalog/QuestionReport.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// A request that was sent for a question of a catalogue, or its answer. Several questions may wait for the
/// one request; it is told of as that of the first.
///
/// Ownership: a plain value; the observer may keep a copy.
///
/// Units: bytes, and seconds as `std::chrono` spells them.
struct VELLORA_EXPORT RequestReport {
  /// What has come back.
  enum class Outcome {
    nothing,  ///< no answer yet, or an answer with neither body nor error
    body,
    error,
  };

  QuestionName cause;
  std::string path;  ///< of the request's URL, without its query
  int attempt = 1;   ///< counts from 1; more than 1 when it is sent again

  // Of the answer.
  Outcome outcome = Outcome::nothing;
  std::size_t bytes = 0;                  ///< of the body
  bool isPassing = false;                 ///< whether the error says that trying again may help
  std::chrono::duration<double> time{0};  ///< from when it was sent

  /// These only where `CatalogOptions::observesKeys`, since they tell what was asked.
  std::string url = {};             ///< with its query
  std::optional<Error> error = {};  ///< what the host's network gave
};

/// "nothing", "body", "error".
[[nodiscard]] VELLORA_EXPORT std::string_view nameOf(RequestReport::Outcome outcome);

}  // namespace vellora
