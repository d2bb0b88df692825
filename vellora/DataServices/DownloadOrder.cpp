#include "vellora/DataServices/DownloadOrder.h"

#include <utility>

namespace vellora {

DownloadOrder::Turn::Turn(std::shared_ptr<DownloadOrder> order)
    : order_(std::move(order)), number_(order_->begin()) {}

DownloadOrder::Turn::~Turn() {
  order_->end(number_);
}

std::set<std::string> DownloadOrder::Turn::overtaken(const std::vector<std::string>& types) const {
  return order_->overtaken(number_, types);
}

std::uint64_t DownloadOrder::begin() {
  const std::lock_guard lock(mutex_);
  underWay_.try_emplace(last_ + 1);
  return ++last_;
}

void DownloadOrder::end(std::uint64_t number) {
  const std::lock_guard lock(mutex_);
  underWay_.erase(number);
}

std::set<std::string> DownloadOrder::overtaken(std::uint64_t number, const std::vector<std::string>& types) {
  const std::lock_guard lock(mutex_);
  const auto own = underWay_.find(number);
  for (auto earlier = underWay_.begin(); earlier != own; ++earlier) {
    earlier->second.insert(types.begin(), types.end());
  }
  return own->second;
}

}  // namespace vellora
