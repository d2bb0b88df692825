#include "hostkit/network/WaitingTransfers.h"

#include <algorithm>
#include <utility>

namespace vellora::hostkit {

void WaitingTransfers::add(std::unique_ptr<CurlTransfer> transfer, TimePoint now) {
  if (waiting_.empty()) soonest_ = TimePoint::max();
  waiting_.push_back({std::move(transfer), now - postponed_});
  soonest_ = std::min(soonest_, expiryOf(waiting_.back()));
}

std::unique_ptr<CurlTransfer> WaitingTransfers::takeFirst() {
  std::unique_ptr<CurlTransfer> first = std::move(waiting_.front().transfer);
  waiting_.pop_front();
  return first;
}

WaitingTransfers::Transfers WaitingTransfers::takeExpired(TimePoint now) {
  Transfers expired;
  now -= postponed_;
  if (now < soonest_) return expired;
  soonest_ = TimePoint::max();
  for (Waiting& each : waiting_) {
    if (const TimePoint expiry = expiryOf(each); expiry > now) {
      soonest_ = std::min(soonest_, expiry);
    } else {
      expired.push_back(std::move(each.transfer));
    }
  }
  std::erase_if(waiting_, [](const Waiting& each) { return each.transfer == nullptr; });
  return expired;
}

WaitingTransfers::Transfers WaitingTransfers::takeAll() {
  Transfers all;
  for (Waiting& each : waiting_) all.push_back(std::move(each.transfer));
  waiting_.clear();
  return all;
}

WaitingTransfers::TimePoint WaitingTransfers::soonestExpiry() const noexcept {
  return waiting_.empty() ? TimePoint::max() : soonest_ + postponed_;
}

WaitingTransfers::TimePoint WaitingTransfers::expiryOf(const Waiting& waiting) const {
  return std::max(waiting.since, progress_) + waiting.transfer->timeout();
}

}  // namespace vellora::hostkit
