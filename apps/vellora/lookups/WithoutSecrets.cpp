#include "apps/vellora/lookups/WithoutSecrets.h"

#include <optional>
#include <string>

#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora::command {

namespace {

/// What an error says, cleaned.
struct CleanedError {
  std::string text;

  [[nodiscard]] const std::string& localizedDescription() const noexcept { return text; }
};

}  // namespace

Failure withoutSecrets(const Failure& failure, const hostkit::KnownSecrets& secrets) {
  const Error cleaned(CleanedError{secrets.cleaned(failure.error().localizedDescription())});
  if (failure.url().empty()) return Failure(cleaned);
  return Failure(SObjectsDataServiceError::network().ofRequest(failure.url(), cleaned));
}

Missing withoutSecrets(const Missing& missing, const hostkit::KnownSecrets& secrets) {
  if (missing.failure() == nullptr) return missing;
  return Missing(missing.why(), withoutSecrets(*missing.failure(), secrets));
}

}  // namespace vellora::command
