#include "hostkit/network/TransferError.h"

#include <curl/curl.h>

#include <string_view>

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

Kind kindOf(CURLcode code) {
  switch (code) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
    case CURLE_COULDNT_CONNECT:
      return Kind::unreachable;
    case CURLE_OPERATION_TIMEDOUT:
      return Kind::timedOut;
    case CURLE_FILESIZE_EXCEEDED:
      return Kind::tooLarge;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_INVALIDCERTSTATUS:
      return Kind::tls;
    case CURLE_PARTIAL_FILE:
    case CURLE_GOT_NOTHING:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
      return Kind::connectionLost;
    case CURLE_OUT_OF_MEMORY:
    case CURLE_WRITE_ERROR:  // what was received found no memory
    case CURLE_FAILED_INIT:
      return Kind::unavailable;
    default:
      return Kind::protocol;
  }
}

/// The words around host, port and path: what happened, and what to do about it.
struct Wording {
  std::string_view before;
  std::string_view advice;
  std::string_view behind = {};
};

std::string textOf(const Wording& wording, const std::string& where, const std::string& reason) {
  return std::string(wording.before)
      .append(where)
      .append(wording.behind)
      .append(reason)
      .append(": ")
      .append(wording.advice);
}

Wording wordingOf(Kind kind) {
  switch (kind) {
    case Kind::unreachable:
      return {"no connection to ", "check the address, and that the server runs"};
    case Kind::connectionLost:
      return {"the connection ended before ", "try again", " had answered"};
    case Kind::timedOut:
      return {"no answer in time from ", "try again, or give the request more time"};
    case Kind::tls:
      return {"no secure connection to ", "check the server's certificate, and that it speaks https"};
    case Kind::tooLarge:
      return {"too large a body from ", "raise the limit on bodies if it is right"};
    case Kind::tooManyValues:
      return {"too many values in the body from ", "raise the limit on values if it is right"};
    case Kind::refusedRedirect:
      return {"too many redirects by ", "check the server"};
    case Kind::protocol:
      return {"no valid HTTP answer from ", "check that a records server is at that address"};
    case Kind::tooManyRequests:
      return {"too many requests wait already to be sent to ", "wait for some of their answers first"};
    case Kind::shutDown:
      return {"the network was shut down before ", "send it again on a new one", " had answered"};
    default:
      return {"no means left to ask ", "free some memory, and try again"};
  }
}

}  // namespace

CurlNetworkError transferError(Kind kind, const std::string& where) {
  return {kind, textOf(wordingOf(kind), where, "")};
}

CurlNetworkError tooLargeHead(const std::string& where) {
  return {Kind::tooLarge, "too large a head from " + where + ": check the server"};
}

CurlNetworkError statusError(int status, const std::string& path, const std::string& words) {
  const std::string what = std::to_string(status) + " for " + path;
  return {Kind::errorStatus, words.empty() ? what : what + ": " + words, status};
}

CurlNetworkError transferError(int curlCode, const std::string& reason, const std::string& where) {
  const Kind kind = kindOf(static_cast<CURLcode>(curlCode));
  return {kind, textOf(wordingOf(kind), where, " (" + reason + ")")};
}

}  // namespace vellora::hostkit
