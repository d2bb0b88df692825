#pragma once

#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "testkit/ForwardingCache.h"

namespace vellora::hostkit {

/// A cache that stands in for one beneath kept bodies: it does something at each call on another thread than
/// that which made it. A look-up calls it twice.
class WatchedCache : public testkit::ForwardingCache {
 public:
  WatchedCache(std::shared_ptr<CorvaneSDK::Cache> next, std::function<void(int call)> watch)
      : ForwardingCache(std::move(next)), watch_(std::move(watch)) {}

  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override {
    if (std::this_thread::get_id() != maker_) watch_(++calls_);
    return ForwardingCache::openTable(tableKey);
  }

 private:
  const std::function<void(int call)> watch_;
  const std::thread::id maker_ = std::this_thread::get_id();
  int calls_ = 0;  // only on the network's thread
};

}  // namespace vellora::hostkit
