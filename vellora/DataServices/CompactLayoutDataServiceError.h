#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "vellora/DataServices/DataServiceError.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What `CompactLayoutDataService::qualifiedApiNameAsPublisher` fails with, when neither network nor decoder
/// gave an error of their own. The lookups of that service report `SObjectsDataServiceError`.
///
/// Texts, equality and the making of each case are those of `DataServiceError`.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT CompactLayoutDataServiceError final
    : public DataServiceError<CompactLayoutDataServiceError> {
 public:
  enum class Case {
    decoding,  ///< never reported
    encoding,  ///< never reported
    network,   ///< the request could not be formed, or brought neither body nor error
  };

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

 private:
  friend class DataServiceError;
  static constexpr std::string_view typeName = "CompactLayoutDataServiceError";

  CompactLayoutDataServiceError(Case errorCase, std::string_view caseName, std::optional<Error> payload)
      : DataServiceError(typeName, caseName, std::move(payload)), case_(errorCase) {}

  Case case_;
};

}  // namespace vellora
