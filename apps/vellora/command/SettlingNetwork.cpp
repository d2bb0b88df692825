#include "apps/vellora/command/SettlingNetwork.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace vellora::command {

class SettlingNetwork::Requests {
 public:
  void sent(const std::string& path) {
    const std::lock_guard lock(mutex_);
    unanswered_.push_back(path);
  }

  void answered(const std::string& path) {
    const std::lock_guard lock(mutex_);
    unanswered_.erase(std::find(unanswered_.begin(), unanswered_.end(), path));
    ++running_;
  }

  void completed() {
    const std::lock_guard lock(mutex_);
    if (--running_ == 0) noneRuns_.notify_all();
  }

  void waitForCompletions() {
    std::unique_lock lock(mutex_);
    noneRuns_.wait(lock, [this] { return running_ == 0; });
  }

  [[nodiscard]] std::optional<std::string> unanswered() const {
    const std::lock_guard lock(mutex_);
    return unanswered_.empty() ? std::nullopt : std::optional(unanswered_.front());
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable noneRuns_;
  int running_ = 0;                      // completions
  std::vector<std::string> unanswered_;  // paths, oldest first
};

SettlingNetwork::SettlingNetwork(std::shared_ptr<CorvaneSDK::Network> next)
    : next_(std::move(next)), requests_(std::make_shared<Requests>()) {}

void SettlingNetwork::sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) {
  const std::string& url = request.base().url.absoluteString();
  std::string path = url.substr(0, url.find('?'));
  requests_->sent(path);
  next_->sendRequest(request, [requests = requests_, path = std::move(path),
                               completion = std::move(completion)](auto data, auto error, auto response) {
    requests->answered(path);
    completion(std::move(data), std::move(error), std::move(response));
    requests->completed();
  });
}

void SettlingNetwork::settle() const {
  requests_->waitForCompletions();
}

std::optional<std::string> SettlingNetwork::unanswered() const {
  return requests_->unanswered();
}

}  // namespace vellora::command
