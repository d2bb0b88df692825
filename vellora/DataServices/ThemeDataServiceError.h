#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "vellora/DataServices/DataServiceError.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the theme service reports.
///
/// What the network or the decoder said is the payload of `other`.
///
/// Texts, equality and the making of each case are those of `DataServiceError`.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT ThemeDataServiceError final : public DataServiceError<ThemeDataServiceError> {
 public:
  enum class Case {
    other,       ///< carries an error of the host's network, a `DecodingError`, or `OutOfMemory`
    network,     ///< never reported: a failure of the network is `other`
    noData,      ///< the request brought neither body nor error
    invalidUrl,  ///< the request URL could not be formed
  };

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

 private:
  friend class DataServiceError;
  static constexpr std::string_view typeName = "ThemeDataServiceError";

  ThemeDataServiceError(Case errorCase, std::string_view caseName, std::optional<Error> payload)
      : DataServiceError(typeName, caseName, std::move(payload)), case_(errorCase) {}

  Case case_;
};

}  // namespace vellora
