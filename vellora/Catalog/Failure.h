#pragma once

#include <string>
#include <utility>

#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// Why something could not be asked, in words that a person can act on.
///
///     failure.text()   // "401 Unauthorized (/services/data/v50.0/sobjects)"
///     failure.url()    // "/services/data/v50.0/sobjects"
///     failure.error()  // what the host's network gave, or a DecodingError, …
///
/// Ownership: a plain value; copies share the error.
///
/// Threads: immutable.
class VELLORA_EXPORT Failure {
 public:
  /// Looks into an error of the data services for what network or decoder said; any other is taken as it is.
  explicit Failure(Error error) : error_(std::move(error)) {}

  /// What went wrong, and where: the error's description, followed by the request in parentheses.
  [[nodiscard]] std::string text() const;

  /// What the host's network, the decoder or the catalogue said. For a request that brought neither body nor
  /// error, the error of the data service.
  [[nodiscard]] const Error& error() const;

  /// The request that failed, relative to the server's address; empty when it was none.
  [[nodiscard]] std::string url() const;

 private:
  Error error_;
};

}  // namespace vellora
