#include "apps/vellora/explore/ShownFailure.h"

#include "apps/vellora/command/Reason.h"
#include "apps/vellora/explore/SwitchedNetwork.h"
#include "hostkit/network/CurlNetworkError.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/Platform/Json/DecodingError.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora::explore {
namespace {

using hostkit::CurlNetworkError;

std::string kindOfStatus(int status) {
  if (status == 401) return "signIn";
  if (status == 403) return "forbidden";
  if (status == 404) return "notFound";
  return status == 429 || status / 100 == 5 ? "serverError" : "refused";
}

std::string kindOf(const CurlNetworkError& error) {
  switch (error.kind) {
    case CurlNetworkError::Kind::errorStatus:
      return kindOfStatus(error.statusCode);
    case CurlNetworkError::Kind::badToken:
      return "signIn";
    case CurlNetworkError::Kind::unreachable:
    case CurlNetworkError::Kind::connectionLost:
      return "unreachable";
    case CurlNetworkError::Kind::timedOut:
      return "timedOut";
    case CurlNetworkError::Kind::tls:
      return "tls";
    case CurlNetworkError::Kind::protocol:
    case CurlNetworkError::Kind::tooLarge:
    case CurlNetworkError::Kind::tooManyValues:
      return "unusable";
    default:
      return "other";
  }
}

std::string kindOf(const Error& error) {
  if (const auto* network = error.as<CurlNetworkError>()) return kindOf(*network);
  if (error.as<DecodingError>() != nullptr) return "unusable";
  if (error.as<ServerTakenAway>() != nullptr) return "takenAway";
  return "other";
}

/// The server's own words: what stands behind "401 for /theme: " in the text of such an error.
std::string wordsOf(const CurlNetworkError* error) {
  if (error == nullptr || error->kind != CurlNetworkError::Kind::errorStatus) return {};
  constexpr std::string_view separator = ": ";
  const auto at = error->text.find(separator);
  return at == std::string::npos ? std::string() : error->text.substr(at + separator.size());
}

}  // namespace

ShownFailure shownFailure(const Failure& failure, const hostkit::KnownSecrets& secrets) {
  const auto* network = failure.error().as<CurlNetworkError>();
  const auto url = failure.url();
  return {.kind = kindOf(failure.error()),
          .status = network != nullptr ? network->statusCode : 0,
          .request = secrets.cleaned(url.substr(0, url.find('?'))),
          .text = secrets.cleaned(command::reasonOf(failure)),
          .words = secrets.cleaned(wordsOf(network))};
}

}  // namespace vellora::explore
