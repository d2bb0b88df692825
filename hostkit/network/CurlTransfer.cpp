#include "hostkit/network/CurlTransfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "hostkit/network/Redaction.h"
#include "hostkit/network/RetryAfter.h"
#include "hostkit/network/ServerWords.h"
#include "hostkit/network/TransferError.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

constexpr int mostRedirects = 5;
constexpr std::size_t mostServerWords = 200;  // characters

}  // namespace

CurlTransfer::CurlTransfer(const TransferSetting& setting, Result<CurlRequest> request, std::string path,
                           CorvaneSDK::Network::Completion completion)
    : setting_(setting),
      path_(std::move(path)),
      begun_(Clock::now()),
      completion_(std::move(completion)),
      request_(request ? request.value() : CurlRequest{}),
      body_(setting.maxBodyBytes, setting.maxBodyValues) {
  if (!request) settleWithError(*request.error().as<CurlNetworkError>());
}

CurlTransfer::~CurlTransfer() = default;

CurlTransfer::Clock::duration CurlTransfer::timeout() const {
  return std::chrono::milliseconds(wholeMilliseconds(request_.timeout));
}

void* CurlTransfer::prepareHandle(Connections& connections) {
  deadline_ = Clock::now() + timeout();
  request_.noteSecretsIn(*setting_.secrets);
  handle_ = std::make_unique<CurlHandle>();
  if (handle_->prepare(request_, setting_, connections, *this)) return handle_->easy();
  fail(Kind::unavailable);
  return nullptr;
}

bool CurlTransfer::takeHeadLine(std::string_view line) {
  isHeadTooLarge_ = !head_.takeLine(line);
  return !isHeadTooLarge_;
}

bool CurlTransfer::takeBody(std::string_view piece) {
  bodyFault_ = body_.take(piece, head_.value("content-encoding"), handle_->announcedLength());
  if (bodyFault_) return false;
  response_.statusCode = handle_->statusCode();
  return body_.size() <= largestErrorBody || !isErrorStatus();
}

void CurlTransfer::finish(int curlCode) {
  if (handle_->connectionState() == Connections::State::spoilt) return sendOnFreshConnection();
  response_.statusCode = handle_->statusCode();
  const auto failure = failureOf(curlCode);
  if (failure && !isErrorStatus()) return settleWithError(*failure);
  if (isForAnotherRequest()) return sendOnFreshConnection();
  if (isRedirect()) return followRedirect();
  if (isSuccess()) return body_.mayEnd() ? settleWithAnswer() : fail(Kind::protocol);
  if (const auto token = renewedToken()) return sendWithToken(*token);
  settleWithStatus();
}

void CurlTransfer::expire() {
  if (handle_) response_.statusCode = handle_->statusCode();
  if (isErrorStatus()) return settleWithStatus();
  fail(Kind::timedOut);
}

std::optional<CurlNetworkError> CurlTransfer::failureOf(int curlCode) const {
  if (isHeadTooLarge_ || isLineTooLong(curlCode)) return tooLargeHead(where());
  if (bodyFault_) return transferError(*bodyFault_, where());
  if (curlCode != CURLE_OK) return transferError(curlCode, handle_->reasonFor(curlCode), where());
  // When the connection ends within the head, curl reports success as if the head were whole.
  if (!head_.isComplete()) return transferError(Kind::connectionLost, where());
  return std::nullopt;
}

// curl 7.88.1 takes a line of the head of more than 100 kB for a lack of memory, and so one of the trailers
// of more than 4 kB.
bool CurlTransfer::isLineTooLong(int curlCode) const {
  if (!head_.isComplete()) return curlCode == CURLE_OUT_OF_MEMORY && handle_->wasSent();
  return curlCode == CURLE_RECV_ERROR && handle_->reasonFor(curlCode).starts_with("Out of memory in chunked");
}

bool CurlTransfer::isRedirect() const {
  constexpr std::array statuses{301, 302, 303, 307, 308};
  return std::find(statuses.begin(), statuses.end(), response_.statusCode) != statuses.end() &&
         head_.value("location") != nullptr;
}

// A server that has waited too long for a request on a kept connection may say so while ours is on its way.
bool CurlTransfer::isForAnotherRequest() const {
  constexpr int requestTimeout = 408;
  return response_.statusCode == requestTimeout && !wasSentAgain_ &&
         handle_->connectionState() == Connections::State::kept;
}

void CurlTransfer::sendOnFreshConnection() {
  wasSentAgain_ = true;
  forgetAnswer();
  if (!handle_->useFreshConnection()) fail(Kind::unavailable);
}

void CurlTransfer::followRedirect() {
  if (++redirects_ > mostRedirects) return fail(Kind::refusedRedirect);
  const Result<std::string> admitted = setting_.server.admitRedirect(handle_->redirectTarget());
  if (!admitted) return settleWithError(*admitted.error().as<CurlNetworkError>());
  forgetAnswer();
  if (!handle_->redirectTo(admitted.value())) fail(Kind::unavailable);
}

void CurlTransfer::forgetAnswer() {
  isHeadTooLarge_ = false;
  bodyFault_.reset();
  body_.clear();
  response_ = {};
  head_ = {};
}

bool CurlTransfer::isSuccess() const {
  return response_.statusCode / 100 == 2;
}

// A status that tells of a failure counts however its body ends: that says less, and is not worth waiting
// for.
bool CurlTransfer::isErrorStatus() const {
  constexpr int firstOfOthers = 300;  // below are interim answers and successes
  return head_.isComplete() && response_.statusCode >= firstOfOthers && !isRedirect();
}

// Another token than the one that the server has refused, if there is one.
std::optional<std::string> CurlTransfer::renewedToken() {
  constexpr int unauthorized = 401;
  const bool wasRefused = response_.statusCode == unauthorized && !request_.token.empty();
  if (!wasRefused || std::exchange(wasTokenRenewed_, true)) return std::nullopt;
  auto renewed = setting_.token.renewed(request_.token);
  return renewed == request_.token ? std::nullopt : std::move(renewed);
}

void CurlTransfer::sendWithToken(const std::string& token) {
  const Result<CurlRequest> again = request_.withToken(token, setting_.server);
  if (!again) return settleWithError(*again.error().as<CurlNetworkError>());
  request_ = again.value();
  request_.noteSecretsIn(*setting_.secrets);
  forgetAnswer();
  if (!handle_->replaceHeaders(request_)) fail(Kind::unavailable);
}

void CurlTransfer::settleWithStatus() {
  const std::string words =
      shortened(cleaned(serverWords(body_.release(), head_.reasonPhrase())), mostServerWords);
  auto error = statusError(response_.statusCode, path_, words);
  if (const auto* header = head_.value("retry-after")) error.retryAfter = retryAfter(*header, now());
  settleWithError(std::move(error));
}

void CurlTransfer::settleWithAnswer() {
  response_.url = handle_->effectiveUrl();
  response_.headers = head_.release();
  settled_ = true;
}

// Removes the token from the error's text. That text may quote what the server sent, and a server may send
// the token back: whole, in part, or, as the name of a host, with its letters in another case.
void CurlTransfer::settleWithError(CurlNetworkError error) {
  setting_.secrets->note(request_.token);  // it may never have been sent
  error.text = cleaned(error.text);
  error_ = std::move(error);
  settled_ = true;
}

std::string CurlTransfer::cleaned(std::string_view text) const {
  return redacted(text, *setting_.secrets);
}

void CurlTransfer::fail(Kind kind) {
  settleWithError(transferError(kind, where()));
}

std::string CurlTransfer::where() const {
  return setting_.server.hostAndPort() + path_;
}

void CurlTransfer::deliver() {
  handle_.reset();
  const std::size_t bytes = error_ ? 0 : body_.size();
  if (setting_.observer) {
    const std::chrono::duration<double> taken = Clock::now() - begun_;
    setting_.observer(
        {path_, error_ ? error_->statusCode : response_.statusCode, error_, bytes, taken.count()});
  }
  if (error_) return completion_(std::nullopt, Error(*error_), std::nullopt);
  completion_(body_.release(), std::nullopt, std::move(response_));
}

}  // namespace vellora::hostkit
