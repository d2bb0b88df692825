// One of several programs that start at once: sharing-process REDIS SERVER FILE LEASE. Says "ready", waits
// until nobody holds FILE's lock, and says how many object types it was told of. LEASE is in milliseconds.

#include <fcntl.h>
#include <sys/file.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/redis/LeasingNetwork.h"
#include "hostkit/cache/redis/RedisCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Host/NetRequest.h"
#include "vellora/Host/Network.h"

using namespace vellora;

namespace {

constexpr std::chrono::hours longest{1};

/// Gives each request so much time that no machine is too slow for it.
class PatientNetwork final : public CorvaneSDK::Network {
 public:
  explicit PatientNetwork(std::shared_ptr<CorvaneSDK::Network> next) : next_(std::move(next)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    auto base = request.base();
    base.timeoutInterval = std::chrono::duration<double>(longest).count();
    next_->sendRequest(CorvaneSDK::NetRequest(std::move(base)), std::move(completion));
  }

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
};

}  // namespace

int main(int, char** argv) {
  hostkit::RedisCache::Options options;
  options.timeout = longest;
  const auto cache = hostkit::RedisCache::open(argv[1], options).value();
  const auto network = std::make_shared<PatientNetwork>(std::make_shared<hostkit::LeasingNetwork>(
      hostkit::CurlNetwork::make({.server = argv[2]}).value(), *cache,
      hostkit::LeasingNetwork::Options{std::chrono::milliseconds(std::atoi(argv[4])), longest,
                                       std::chrono::milliseconds(10)}));
  const auto host =
      hostkit::StandardPlatformAPI::make({.server = {}, .network = network, .cache = cache}).value();

  const int lock = ::open(argv[3], O_RDONLY | O_CLOEXEC);
  std::cout << "ready" << std::endl;
  if (::flock(lock, LOCK_SH) != 0) return 1;
  const Catalog catalog(host);
  const auto answer = catalog.allTypes({}, {.deadline = std::chrono::minutes(10)}).get();
  std::cout << "types " << answer.found.size() << ", missing " << answer.missing.size() << std::endl;
}
