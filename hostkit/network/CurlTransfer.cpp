#include "hostkit/network/CurlTransfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <new>
#include <utility>

#include "hostkit/network/Redaction.h"
#include "hostkit/network/RetryAfter.h"
#include "hostkit/network/ServerWords.h"
#include "hostkit/network/TransferError.h"
#include "hostkit/network/Validators.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

constexpr int mostRedirects = 5;
constexpr std::size_t mostServerWords = 200;  // characters
constexpr int notModified = 304;

// Neither text has a colon in it: what stands behind one is the server's own words.
constexpr std::string_view unasked =
    ", that nothing has changed, which nobody has asked; check the server, and what stands before it";

std::string heldBack(const std::string& path, const ServerPause::Refusal& refusal) {
  const auto seconds = std::chrono::ceil<std::chrono::seconds>(refusal.left).count();
  return path + " is not sent, since the server wants to be left alone for another " +
         std::to_string(seconds) + " s (" + std::to_string(refusal.statusCode) + ")";
}

/// Why a request must not be sent. The checks give no other type; if one did, its text would count.
CurlNetworkError refusal(const Error& error) {
  const auto* known = error.as<CurlNetworkError>();
  return known ? *known : CurlNetworkError{Kind::invalidRequest, error.localizedDescription()};
}

}  // namespace

CurlTransfer::CurlTransfer(const TransferSetting& setting, Result<CurlRequest> request, std::string path,
                           CorvaneSDK::Network::Completion completion)
    : setting_(setting),
      path_(std::move(path)),
      begun_(Sleep::now()),
      completion_(std::move(completion)),
      request_(request ? request.value() : CurlRequest{}),
      revalidation_(request ? setting.bodies : nullptr, setting.secrets),
      body_(setting.maxBodyBytes, setting.maxBodyValues) {
  if (!request) settleWithError(refusal(request.error()));
}

CurlTransfer::~CurlTransfer() = default;

CurlTransfer::Clock::duration CurlTransfer::timeout() const {
  return std::chrono::milliseconds(wholeMilliseconds(request_.timeout));
}

// A slow cache is not the server's doing: the request's time begins behind it.
void* CurlTransfer::prepareHandle(Connections& connections) {
  request_.noteSecretsIn(*setting_.secrets);
  handle_ = std::make_unique<CurlHandle>();
  url_ = request_.url;
  const CurlRequest sent = revalidation_.withCondition(request_, url_);
  sent_ = Sleep::now();
  deadline_ = sent_ + timeout();
  if (handle_->prepare(sent, setting_, connections, *this)) return handle_->easy();
  fail(Kind::unavailable);
  return nullptr;
}

bool CurlTransfer::takeHeadLine(std::string_view line) {
  isHeadTooLarge_ = !head_.takeLine(line);
  return !isHeadTooLarge_;
}

bool CurlTransfer::takeBody(std::string_view piece) {
  if (body_.received() == 0 && revalidation_.mayKeep(handle_->statusCode(), head_)) {
    body_.keepPacked(revalidation_.mostKept());
  }
  bodyFault_ = body_.take(piece, head_.value("content-encoding"), handle_->announcedLength());
  if (bodyFault_) return false;
  response_.statusCode = handle_->statusCode();
  return body_.size() <= largestErrorBody || !isErrorStatus();
}

// Nothing above it could do anything about a lack of memory. What is large is freed first.
void CurlTransfer::finish(int curlCode) {
  try {
    settleOrGoOn(curlCode);
  } catch (const std::bad_alloc&) {
    failWithoutMemory();
  }
}

void CurlTransfer::failWithoutMemory() {
  forgetAnswer();
  answer_ = {};
  fail(Kind::unavailable);
}

void CurlTransfer::settleOrGoOn(int curlCode) {
  if (handle_->connectionState() == Connections::State::spoilt) return sendOnFreshConnection();
  response_.statusCode = handle_->statusCode();
  if (isConnectionUseless(curlCode)) return sendOnFreshConnection();
  const auto failure = failureOf(curlCode);
  if (failure && !isErrorStatus()) return settleWithError(*failure);
  if (isForAnotherRequest()) return sendOnFreshConnection();
  if (isRedirect()) return followRedirect();
  if (isSuccess()) return body_.mayEnd() ? settleWithAnswer() : fail(Kind::protocol);
  if (isUnchanged()) return settleUnchanged();
  if (const auto token = renewedToken()) return sendWithToken(*token);
  settleWithStatus();
}

void CurlTransfer::expire() {
  if (handle_) response_.statusCode = handle_->statusCode();
  if (isErrorStatus() && !isUnchanged()) return settleWithStatus();
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

// curl 7.88.1 keeps an HTTP/2 connection that ran out of memory, and notices only with the next request. One
// that ends in place of an answer it takes for a part of that, and doesn't send again as it does over
// HTTP/1.1.
bool CurlTransfer::isConnectionUseless(int curlCode) const {
  const bool hasEnded = curlCode == CURLE_HTTP2 || curlCode == CURLE_PARTIAL_FILE;
  return hasEnded && response_.statusCode == 0 && !wasSentAgain_ &&
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
  if (!admitted) return settleWithError(refusal(admitted.error()));
  forgetAnswer();
  url_ = admitted.value();
  const CurlRequest sent = revalidation_.withCondition(request_, url_);
  if (!handle_->redirectTo(url_) || !handle_->replaceHeaders(sent)) fail(Kind::unavailable);
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
  if (!again) return settleWithError(refusal(again.error()));
  request_ = again.value();
  request_.noteSecretsIn(*setting_.secrets);
  forgetAnswer();
  if (!handle_->replaceHeaders(revalidation_.withCondition(request_, url_))) fail(Kind::unavailable);
}

bool CurlTransfer::isUnchanged() const {
  return response_.statusCode == notModified && revalidation_.hasAsked();
}

// A 304 about another body, or one that stands for a body that cannot be read, is of no use: the body is
// asked for without a condition, once.
void CurlTransfer::settleUnchanged() {
  const KeptBody* kept = revalidation_.confirmedBy(head_);
  if (kept != nullptr && takeKept(*kept)) return settleWithResponse();
  revalidation_.giveUp();
  forgetAnswer();
  if (!handle_->replaceHeaders(request_)) fail(Kind::unavailable);
}

bool CurlTransfer::takeKept(const KeptBody& kept) {
  const auto packing = kept.headers.find("content-encoding");
  const std::string* encoding = packing == kept.headers.end() ? nullptr : &packing->second;
  body_.clear();
  if (body_.take(kept.body.view(), encoding, kept.body.size()) || !body_.mayEnd()) return false;
  answer_ = body_.release();
  response_.headers = kept.headers;
  response_.statusCode = 200;
  return wasUnchanged_ = true;
}

void CurlTransfer::settleWithStatus() {
  const bool isUnasked = response_.statusCode == notModified && !hasOwnCondition(request_.headerLines);
  const auto words = shortened(cleaned(serverWords(body_.release(), head_.reasonPhrase())), mostServerWords);
  auto error = statusError(response_.statusCode, path_, isUnasked ? std::string() : words);
  if (isUnasked) error.text += unasked;
  if (const auto* header = head_.value("retry-after")) error.retryAfter = retryAfter(*header, now());
  settleWithError(std::move(error));
}

void CurlTransfer::settleWithAnswer() {
  received_ = body_.received();
  answer_ = body_.release();
  noteAnswer();
  settleWithResponse();
}

// The size is looked at before the body is read: reading takes many times its memory. An answer whose
// keeping finds no memory is an answer all the same.
void CurlTransfer::noteAnswer() {
  std::optional<Data> came;
  try {
    if (revalidation_.mayKeep(response_.statusCode, head_)) came = body_.releaseAsItCame(answer_);
    if (came && (came->size() > revalidation_.mostKept() || !isWhole(answer_, head_))) came.reset();
    revalidation_.note(response_.statusCode, head_, std::move(came));
  } catch (const std::bad_alloc&) {
    revalidation_.note(response_.statusCode, head_, std::nullopt);
  }
}

// To the completion a body that was kept is one like any other; what the server says of it now counts.
void CurlTransfer::settleWithResponse() {
  response_.url = handle_->effectiveUrl();
  ResponseHead::Headers told = head_.release();
  told.merge(response_.headers);
  response_.headers = std::move(told);
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

void CurlTransfer::holdBack(const ServerPause::Refusal& refusal) {
  auto error = statusError(refusal.statusCode, path_, "");
  error.text = heldBack(path_, refusal);
  error.retryAfter = refusal.left;
  settleWithError(std::move(error));
}

void CurlTransfer::report(ServerPause& pause, Clock::time_point now) const {
  const auto told = error_ ? error_->retryAfter : std::nullopt;
  pause.note(error_ ? error_->statusCode : response_.statusCode, told, sent_, now);
}

// The body is kept before its answer is out: a process may end as soon as it has that.
void CurlTransfer::deliver() {
  handle_.reset();
  if (setting_.observer) tellObserver();
  if (error_) return completion_(std::nullopt, Error(*error_), std::nullopt);
  revalidation_.keepNoted();
  completion_(std::move(answer_), std::nullopt, std::move(response_));
}

void CurlTransfer::tellObserver() const {
  const std::chrono::duration<double> taken = Sleep::now() - begun_;
  const int answered = wasUnchanged_ ? notModified : response_.statusCode;
  setting_.observer({path_, error_ ? error_->statusCode : answered, error_, answer_.size(), taken.count(),
                     error_ ? 0 : received_});
}

}  // namespace vellora::hostkit
