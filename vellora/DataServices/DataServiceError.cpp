#include "vellora/DataServices/DataServiceError.h"

#include <new>
#include <string>
#include <utility>

#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/DataServices/ThemeDataServiceError.h"

namespace vellora {

template <class E>
E DataServiceError<E>::map(const Error& error, CorvaneSDK::Logger* logger) {
  try {
    if (logger) {
      logger->log(std::string("VelloraService: ")
                      .append(E::typeName)
                      .append(": ")
                      .append(error.localizedDescription()),
                  CorvaneSDK::LogLevel::error);
    }
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the error counts, not its line
  }
  if (const auto* own = error.as<E>()) return *own;
  return other(error);
}

template <class E>
E DataServiceError<E>::ofRequest(const std::string& url, std::optional<Error> reason) const {
  E error(static_cast<const E&>(*this));
  try {
    error.request_ = std::make_shared<const FailedRequest>(FailedRequest{url, std::move(reason)});
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the error counts, not where it came from
  }
  return error;
}

template SObjectsDataServiceError DataServiceError<SObjectsDataServiceError>::map(const Error&,
                                                                                  CorvaneSDK::Logger*);
template ThemeDataServiceError DataServiceError<ThemeDataServiceError>::map(const Error&,
                                                                            CorvaneSDK::Logger*);
template SObjectsDataServiceError DataServiceError<SObjectsDataServiceError>::ofRequest(
    const std::string&, std::optional<Error>) const;
template ThemeDataServiceError DataServiceError<ThemeDataServiceError>::ofRequest(const std::string&,
                                                                                  std::optional<Error>) const;

}  // namespace vellora
