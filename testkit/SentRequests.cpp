#include "testkit/SentRequests.h"

#include <algorithm>
#include <thread>

namespace vellora::testkit {

void SentRequests::add(const CorvaneSDK::NetRequest& request) {
  const std::lock_guard lock(mutex_);
  all_.push_back({request, std::this_thread::get_id()});
  added_.notify_all();
}

std::vector<SentRequests::Request> SentRequests::all() const {
  const std::lock_guard lock(mutex_);
  return all_;
}

std::vector<std::string> SentRequests::urls() const {
  std::vector<std::string> urls;
  for (const Request& each : all()) urls.push_back(each.request.base().url.absoluteString());
  return urls;
}

std::size_t SentRequests::count() const {
  const std::lock_guard lock(mutex_);
  return all_.size();
}

std::size_t SentRequests::count(std::string_view url) const {
  const auto sent = urls();
  return static_cast<std::size_t>(std::count(sent.begin(), sent.end(), url));
}

bool SentRequests::waitFor(std::size_t count, std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return added_.wait_for(lock, limit, [&] { return all_.size() >= count; });
}

}  // namespace vellora::testkit
