#include "apps/vellora/explore/ObservedNetwork.h"

#include <chrono>
#include <optional>
#include <string>
#include <utility>

#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace vellora::explore {
namespace {

/// The status of an answer; 0 where the network doesn't tell.
int statusOf(const std::optional<URLResponse>& response) {
  return response ? response->statusCode : 0;
}

bool isSuccess(int status) {
  return status == 0 || status / 100 == 2;
}

std::string reasonOf(const std::optional<Error>& error, int status) {
  if (error) return error->localizedDescription();
  return status == 0 ? "no answer" : "status " + std::to_string(status);
}

}  // namespace

ObservedNetwork::ObservedNetwork(std::shared_ptr<CorvaneSDK::Network> next,
                                 std::shared_ptr<Activity> activity)
    : next_(std::move(next)), activity_(std::move(activity)) {}

void ObservedNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  using Clock = std::chrono::steady_clock;
  std::string what = request.base().httpMethod + " " + request.base().url.absoluteString();
  activity_->noteRequest();
  next_->sendRequest(request, [activity = activity_, what = std::move(what), sent = Clock::now(),
                               completion = std::move(completion)](auto data, auto error, auto response) {
    const double milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - sent).count();
    const int status = statusOf(response);
    noteWhereThereIsMemory([&] {
      if (data && isSuccess(status)) return activity->noteAnswer(what, status, data->size(), milliseconds);
      activity->noteFailure(what, reasonOf(error, status), milliseconds);
    });
    completion(std::move(data), std::move(error), std::move(response));
  });
}

}  // namespace vellora::explore
