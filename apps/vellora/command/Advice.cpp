#include "apps/vellora/command/Advice.h"

#include <cmath>

#include "apps/vellora/command/Reason.h"
#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Platform/Json/DecodingError.h"

namespace vellora::command {

namespace {

using hostkit::CurlNetworkError;

const char* const checkTheAddress = "check that a records server is at the address of --server";

std::string laterThan(const CurlNetworkError& error) {
  if (!error.retryAfter) return "try again later";
  return "try again in " + std::to_string(std::llround(std::ceil(error.retryAfter->count()))) + " s";
}

std::string adviceOnStatus(const CurlNetworkError& error) {
  switch (error.statusCode) {
    case 401:
      return "the token is missing, expired or wrong: give a valid one with --token-file FILE";
    case 403:
      return "the server forbids it to this token: give that of a user who may see it with --token-file FILE";
    case 404:
      return checkTheAddress;
    case 429:
      return "the server is asked too often: " + laterThan(error);
    default:
      return error.statusCode / 100 == 5 ? "the server is in trouble: " + laterThan(error) : "";
  }
}

std::string adviceOn(const Failure& failure) {
  const Error& error = failure.error();
  if (error.as<DecodingError>() != nullptr) return checkTheAddress;
  const auto* ofNetwork = error.as<CurlNetworkError>();
  const bool isStatus = ofNetwork != nullptr && ofNetwork->kind == CurlNetworkError::Kind::errorStatus;
  return isStatus ? adviceOnStatus(*ofNetwork) : "";
}

}  // namespace

std::string reasonWithAdvice(const Failure& failure) {
  std::string reason = reasonOf(failure);
  const std::string advice = adviceOn(failure);
  if (advice.empty()) return reason;
  while (reason.ends_with('.')) reason.pop_back();
  return reason + "; " + advice;
}

}  // namespace vellora::command
