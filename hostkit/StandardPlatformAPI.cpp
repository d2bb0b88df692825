#include "hostkit/StandardPlatformAPI.h"

#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/secrets/KnownSecrets.h"

namespace vellora::hostkit {

namespace {

Result<std::shared_ptr<CorvaneSDK::Cache>> makeCache(const std::optional<std::string>& file) {
  if (!file) return std::shared_ptr<CorvaneSDK::Cache>(std::make_shared<MemoryCache>());
  auto opened = SQLiteCache::open(*file);
  if (!opened) return opened.error();
  return std::shared_ptr<CorvaneSDK::Cache>(std::move(opened).value());
}

/// `logger` without the secrets in its lines, if there are any to come; one that drops every line if null.
std::shared_ptr<CorvaneSDK::Logger> makeLogger(std::shared_ptr<CorvaneSDK::Logger> logger,
                                               std::shared_ptr<const KnownSecrets> secrets) {
  if (!logger) return SpdlogLogger::toStandardError(SpdlogLogger::Level::off);
  if (!secrets) return logger;
  return std::make_shared<RedactingLogger>(std::move(secrets), std::move(logger));
}

}  // namespace

Result<std::shared_ptr<StandardPlatformAPI>> StandardPlatformAPI::make(Options options) {
  CurlNetwork::Options networkOptions;
  networkOptions.server = std::move(options.server);
  networkOptions.token = std::move(options.token);
  networkOptions.allowTokenOverPlainHttp = options.allowTokenOverPlainHttp;
  if (networkOptions.token) networkOptions.secrets = std::make_shared<KnownSecrets>();
  const auto secrets = networkOptions.secrets;
  // The network first: a mistyped address should leave no cache file behind.
  auto network = CurlNetwork::make(std::move(networkOptions));
  if (!network) return network.error();
  auto cache = makeCache(options.cacheFile);
  if (!cache) return cache.error();
  return std::make_shared<StandardPlatformAPI>(
      std::make_shared<CoalescingNetwork>(std::move(network).value()), std::move(cache).value(),
      makeLogger(std::move(options.logger), secrets));
}

StandardPlatformAPI::StandardPlatformAPI(std::shared_ptr<CorvaneSDK::Network> network,
                                         std::shared_ptr<CorvaneSDK::Cache> cache,
                                         std::shared_ptr<CorvaneSDK::Logger> logger)
    : network_(std::move(network)), cache_(std::move(cache)), logger_(std::move(logger)) {}

}  // namespace vellora::hostkit
