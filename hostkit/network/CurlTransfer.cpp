#include "hostkit/network/CurlTransfer.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "hostkit/network/Redaction.h"
#include "hostkit/network/TransferError.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

constexpr int mostRedirects = 5;

}  // namespace

CurlTransfer::CurlTransfer(const TransferSetting& setting, Result<CurlRequest> request, std::string path,
                           CorvaneSDK::Network::Completion completion)
    : setting_(setting),
      path_(std::move(path)),
      begun_(Clock::now()),
      deadline_(begun_),
      request_(request ? request.value() : CurlRequest{}),
      completion_(std::move(completion)),
      body_(setting.maxBodyBytes) {
  if (request) {
    deadline_ += std::chrono::milliseconds(wholeMilliseconds(request_.timeout));
  } else {
    settleWithError(*request.error().as<CurlNetworkError>());
  }
}

CurlTransfer::~CurlTransfer() = default;

void* CurlTransfer::prepareHandle() {
  request_.noteSecretsIn(*setting_.secrets);
  handle_ = std::make_unique<CurlHandle>();
  if (handle_->prepare(request_, setting_, *this)) return handle_->easy();
  fail(Kind::unavailable);
  return nullptr;
}

void CurlTransfer::takeHeadLine(std::string_view line) noexcept {
  head_.takeLine(line);
}

bool CurlTransfer::takeBody(std::string_view piece) noexcept {
  bodyFault_ = body_.take(piece, head_.value("content-encoding"), handle_->announcedLength());
  return !bodyFault_;
}

void CurlTransfer::finish(int curlCode) {
  if (bodyFault_) return fail(*bodyFault_);
  if (curlCode != CURLE_OK) {
    return settleWithError(transferError(curlCode, handle_->reasonFor(curlCode), where()));
  }
  // When the connection ends within the head, curl reports success as if the head were whole.
  if (!head_.isComplete()) return fail(Kind::connectionLost);
  response_.statusCode = handle_->statusCode();
  if (isRedirect()) return followRedirect();
  if (!body_.mayEnd()) return fail(Kind::protocol);
  settleWithAnswer();
}

bool CurlTransfer::isRedirect() const {
  constexpr std::array statuses{301, 302, 303, 307, 308};
  return std::find(statuses.begin(), statuses.end(), response_.statusCode) != statuses.end() &&
         head_.value("location") != nullptr;
}

void CurlTransfer::followRedirect() {
  if (++redirects_ > mostRedirects) return fail(Kind::refusedRedirect);
  const Result<std::string> admitted = setting_.server.admitRedirect(handle_->redirectTarget());
  if (!admitted) return settleWithError(*admitted.error().as<CurlNetworkError>());
  body_.clear();
  response_ = {};
  head_ = {};
  if (!handle_->redirectTo(admitted.value())) fail(Kind::unavailable);
}

void CurlTransfer::settleWithAnswer() {
  response_.url = handle_->effectiveUrl();
  response_.headers = head_.release();
  settled_ = true;
}

// Removes the token from the error's text. That text may quote what the server sent, and a server may send
// the token back: whole, in part, or, as the name of a host, with its letters in another case.
void CurlTransfer::settleWithError(CurlNetworkError error) {
  setting_.secrets->note(request_.token);
  error.text = redacted(error.text, *setting_.secrets);
  error_ = std::move(error);
  settled_ = true;
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
    setting_.observer({path_, error_ ? 0 : response_.statusCode, error_, bytes, taken.count()});
  }
  if (error_) return completion_(std::nullopt, Error(*error_), std::nullopt);
  completion_(body_.release(), std::nullopt, std::move(response_));
}

}  // namespace vellora::hostkit
