#include "bindings/c/ForeignNetwork.h"

#include <chrono>
#include <new>

#include "bindings/c/Border.h"
#include "bindings/c/Structs.h"
#include "bindings/c/Texts.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/OutOfMemory.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::capi {

namespace {

std::optional<RetryAdvice> adviceOf(const vellora_response& response) {
  if (response.may_retry == 0) return std::nullopt;
  if (!(response.retry_after_seconds > 0)) return RetryAdvice();
  return RetryAdvice{std::chrono::duration<double>(response.retry_after_seconds)};
}

Result<Data> bodyOf(const vellora_response& response) {
  if (!isAbsent(response.body, "The body")) {
    const auto body = viewOf(response.body, "The body");
    return Data(body.data(), body.size());
  }
  return Error(ForeignError{textOr(response.error, "There is no answer.", "The error"), adviceOf(response)});
}

}  // namespace

void ForeignNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  auto sent = std::make_unique<vellora_request>(vellora_request{std::move(completion)});
  const vellora_request_info info{sizeof info, shown(request.base().url.absoluteString()),
                                  request.base().timeoutInterval};
  table_->call((*table_)->send, &info, sent.release());
}

void reply(vellora_request* request, const vellora_response* response) {
  const std::unique_ptr<vellora_request> ended(&needed(request, "The request"));
  const auto fail = [&](const Error& error) { ended->completion(std::nullopt, error, std::nullopt); };
  std::optional<Result<Data>> body;
  try {
    body.emplace(bodyOf(copiedOrNone(response, "The response")));
  } catch (const Refusal& refusal) {
    fail(ForeignError{refusal.text()});
    throw;
  } catch (const std::bad_alloc&) {
    fail(outOfMemory());
    throw;
  }
  if (!*body) return fail(body->error());
  ended->completion(body->value(), std::nullopt, std::nullopt);
}

}  // namespace vellora::capi
