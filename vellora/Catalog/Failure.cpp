#include "vellora/Catalog/Failure.h"

#include "vellora/DataServices/FailedRequest.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora {

namespace {

/// The request of an error of the data services; null for any other error.
const FailedRequest* requestOf(const Error& error) {
  if (const auto* ofTypes = error.as<SObjectsDataServiceError>()) return ofTypes->request();
  if (const auto* ofThemes = error.as<ThemeDataServiceError>()) return ofThemes->request();
  return nullptr;
}

const Error* payloadOf(const Error& error) {
  if (const auto* ofTypes = error.as<SObjectsDataServiceError>()) return ofTypes->payload();
  if (const auto* ofThemes = error.as<ThemeDataServiceError>()) return ofThemes->payload();
  return nullptr;
}

}  // namespace

std::string Failure::text() const {
  const std::string what = error().localizedDescription();
  const std::string where = url();
  return where.empty() ? what : what + " (" + where + ")";
}

const Error& Failure::error() const {
  const auto* request = requestOf(error_);
  if (request && request->reason) return *request->reason;
  const auto* payload = payloadOf(error_);
  return payload ? *payload : error_;
}

std::string Failure::url() const {
  const auto* request = requestOf(error_);
  return request ? request->url : std::string();
}

}  // namespace vellora
