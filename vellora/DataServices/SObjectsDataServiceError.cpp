#include "vellora/DataServices/SObjectsDataServiceError.h"

#include "vellora/DataServices/MappedError.h"

namespace vellora {

namespace {

constexpr std::string_view typeName = "SObjectsDataServiceError";

std::string_view nameOf(SObjectsDataServiceError::Case errorCase) {
  using Case = SObjectsDataServiceError::Case;
  switch (errorCase) {
    case Case::other:
      return "other";
    case Case::decoding:
      return "decoding";
    case Case::network:
      return "network";
    case Case::noData:
      return "noData";
    case Case::invalidUrl:
      return "invalidUrl";
  }
  return "unknown";
}

}  // namespace

SObjectsDataServiceError::SObjectsDataServiceError(Case errorCase, std::optional<Error> payload)
    : EnumerationError(typeName, nameOf(errorCase), std::move(payload)), case_(errorCase) {}

SObjectsDataServiceError SObjectsDataServiceError::map(const Error& error, CorvaneSDK::Logger* logger) {
  return mappedError<SObjectsDataServiceError>(error, typeName, logger);
}

}  // namespace vellora
