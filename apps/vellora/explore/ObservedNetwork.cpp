#include "apps/vellora/explore/ObservedNetwork.h"

#include <chrono>
#include <string>
#include <utility>

namespace vellora::explore {

ObservedNetwork::ObservedNetwork(std::shared_ptr<CorvaneSDK::Network> next,
                                 std::shared_ptr<const ServerSwitch> reachable,
                                 std::shared_ptr<Activity> activity)
    : next_(std::move(next)), reachable_(std::move(reachable)), activity_(std::move(activity)) {}

void ObservedNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  using Clock = std::chrono::steady_clock;
  std::string what = request.base().httpMethod + " " + request.base().url.absoluteString();
  activity_->noteRequest();
  if (!*reachable_) {
    const ServerTakenAway error;
    activity_->noteFailure(std::move(what), error.localizedDescription(), 0);
    return completion(std::nullopt, Error(error), std::nullopt);
  }
  next_->sendRequest(request, [activity = activity_, what = std::move(what), sent = Clock::now(),
                               completion = std::move(completion)](auto data, auto error, auto response) {
    const double milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - sent).count();
    if (data) {
      activity->noteAnswer(what, response ? response->statusCode : 0, data->size(), milliseconds);
    } else {
      const auto reason = error ? error->localizedDescription() : "no answer";
      activity->noteFailure(what, reason, milliseconds);
    }
    completion(std::move(data), std::move(error), std::move(response));
  });
}

}  // namespace vellora::explore
