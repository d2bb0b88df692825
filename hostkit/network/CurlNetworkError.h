#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/RetryAdvice.h"

namespace vellora::hostkit {

/// Why a `CurlNetwork` could not be made, or why a request got no answer that is a success.
///
///     const auto* error = failure.as<CurlNetworkError>();
///     if (error && error->kind == CurlNetworkError::Kind::unreachable) showOffline();
///     if (error && error->statusCode == 401) signInAgain();
///
/// Ownership: a plain value.
///
/// Units: seconds, as `std::chrono` spells them.
struct VELLORA_EXPORT CurlNetworkError {
  /// What went wrong, for a program.
  enum class Kind {
    invalidAddress,    ///< the server's address cannot be used
    invalidRequest,    ///< the request is not one that this network sends
    badToken,          ///< the token is empty, too long, or cannot stand in a header
    unprotectedToken,  ///< the token would go to another machine without TLS
    unreachable,       ///< no connection: refused, no route, no such host
    connectionLost,    ///< the connection ended before the answer did
    timedOut,          ///< the request's time ran out, or the time to connect
    tls,               ///< no trust in the server, or no common protocol with it
    tooLarge,          ///< the body is larger than the cap, the head than 300 kB, a line of it than 100 kB,
                       ///< or one of the trailers than 4 kB
    tooManyValues,     ///< the body holds more JSON values than the cap
    refusedRedirect,   ///< the server sends the client elsewhere, or round in circles
    errorStatus,       ///< the status of the answer is none from 200 to 299, whatever becomes of its body
    protocol,          ///< the answer is not HTTP, or is badly encoded
    tooManyRequests,   ///< too many requests wait already
    shutDown,          ///< the network was destroyed first
    unavailable,       ///< the machine gave no thread, descriptor or memory
  };

  Kind kind;

  /// What went wrong, for people: one line with what to do and, where they are known, the server and the
  /// path, such as "no answer in time from records.example:443/theme: try again, or give the request more
  /// time". Of an error status it is status, path and the server's own words, 200 characters of them at most:
  /// "401 for /theme: A valid bearer token is required." Of a request that is held back it is why. It holds
  /// neither the token nor six of its characters
  /// in a row.
  std::string text;

  /// With `errorStatus` the status of the answer; else 0. A request that is held back, because the server
  /// wants to be left alone, has the status that the server gave the one before.
  int statusCode = 0;

  /// What the header `Retry-After` of such an answer says, be it in seconds or as a date; absent when there
  /// is none that can be read. Of a request that is held back, for how long the others are, too.
  std::optional<std::chrono::duration<double>> retryAfter = {};

  /// Trying again may help where there was no connection, or none to the end, where the time ran out, and
  /// after a status of 429 or from 500 to 599; it waits for `retryAfter` then. It may help, too, when too
  /// many requests wait already.
  [[nodiscard]] std::optional<RetryAdvice> retryAdvice() const;

  /// The text.
  [[nodiscard]] const std::string& localizedDescription() const noexcept { return text; }

  friend bool operator==(const CurlNetworkError&, const CurlNetworkError&) = default;
};

}  // namespace vellora::hostkit
