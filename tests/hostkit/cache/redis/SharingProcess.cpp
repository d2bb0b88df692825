// One of several programs that start at once: sharing-process REDIS SERVER FILE. Says "ready", waits until
// nobody holds FILE's lock, and says how many object types it was told of.

#include <fcntl.h>
#include <sys/file.h>

#include <chrono>
#include <iostream>
#include <memory>
#include <string>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/redis/LeasingNetwork.h"
#include "hostkit/cache/redis/RedisCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "vellora/Catalog/Catalog.h"

using namespace vellora;

int main(int, char** argv) {
  constexpr std::chrono::hours longest{1};
  hostkit::RedisCache::Options options;
  options.timeout = longest;
  const auto cache = hostkit::RedisCache::open(argv[1], options).value();
  const auto network = std::make_shared<hostkit::LeasingNetwork>(
      hostkit::CurlNetwork::make({.server = argv[2]}).value(), *cache,
      hostkit::LeasingNetwork::Options{longest, longest, std::chrono::milliseconds(10)});
  const auto host = hostkit::StandardPlatformAPI::make({.network = network, .cache = cache}).value();

  const int lock = ::open(argv[3], O_RDONLY | O_CLOEXEC);
  std::cout << "ready" << std::endl;
  if (::flock(lock, LOCK_SH) != 0) return 1;
  const Catalog catalog(host);
  const auto answer = catalog.allTypes({}, {.deadline = std::chrono::minutes(10)}).get();
  std::cout << "types " << answer.found.size() << ", missing " << answer.missing.size() << std::endl;
}
