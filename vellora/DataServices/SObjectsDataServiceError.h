#pragma once

#include <optional>
#include <string_view>
#include <utility>

#include "vellora/DataServices/DataServiceError.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What the object-type service and the two layout services report.
///
/// A layout lookup reports `network` and `decoding`; a load or lookup of object types `other`, `noData` and
/// `invalidUrl`. What the network or the decoder said is the payload of `other`:
///
///     if (const Error* reason = error.payload()) show(reason->localizedDescription());
///
/// Texts, equality and the making of each case are those of `DataServiceError`.
///
/// Ownership: a plain value.
///
/// Threads: immutable.
class VELLORA_EXPORT SObjectsDataServiceError final : public DataServiceError<SObjectsDataServiceError> {
 public:
  enum class Case {
    other,       ///< carries an error of the host's network, a `DecodingError`, or `OutOfMemory`
    decoding,    ///< the body of a layout service's response does not decode
    network,     ///< a request of a layout service brought no body
    noData,      ///< a request of the object-type service brought neither body nor error
    invalidUrl,  ///< a request URL of the object-type service could not be formed
  };

  [[nodiscard]] Case errorCase() const noexcept { return case_; }

 private:
  friend class DataServiceError;
  static constexpr std::string_view typeName = "SObjectsDataServiceError";

  SObjectsDataServiceError(Case errorCase, std::string_view caseName, std::optional<Error> payload)
      : DataServiceError(typeName, caseName, std::move(payload)), case_(errorCase) {}

  Case case_;
};

}  // namespace vellora
