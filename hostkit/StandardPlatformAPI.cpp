#include "hostkit/StandardPlatformAPI.h"

#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/ServerAddress.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/LogLevel.h"

namespace vellora::hostkit {

namespace {

/// Has the failures of a cache logged, then told.
SQLiteCache::Observer reportingTo(std::shared_ptr<CorvaneSDK::Logger> logger, SQLiteCache::Observer next) {
  return [logger = std::move(logger), next = std::move(next)](const SQLiteCacheFailure& failure) {
    logger->log(failure.localizedDescription(), CorvaneSDK::LogLevel::error);
    if (next) next(failure);
  };
}

Result<std::shared_ptr<CorvaneSDK::Cache>> makeCache(const std::optional<std::string>& file,
                                                     SQLiteCache::Options options) {
  if (!file) return std::shared_ptr<CorvaneSDK::Cache>(std::make_shared<MemoryCache>());
  auto opened = SQLiteCache::open(*file, std::move(options));
  if (!opened) return opened.error();
  return std::shared_ptr<CorvaneSDK::Cache>(std::move(opened).value());
}

/// What tells requests with different tokens apart; nothing when none is sent.
CoalescingNetwork::Credential credentialOf(CurlNetwork::TokenProvider token) {
  if (!token) return {};
  return [token = std::move(token)] { return token().value_or(""); };
}

/// The secrets of a host with tokens; null without. The present token is noted before it is sent: entries of
/// an earlier start may hold it, and show in log lines.
std::shared_ptr<KnownSecrets> makeSecrets(const StandardPlatformAPI::Options& options) {
  if (!options.token || options.network) return nullptr;
  auto secrets = std::make_shared<KnownSecrets>();
  secrets->note(options.token().value_or(""));
  return secrets;
}

/// `logger` without the secrets in its lines, if there are any to come; one that drops every line if null.
std::shared_ptr<CorvaneSDK::Logger> makeLogger(std::shared_ptr<CorvaneSDK::Logger> logger,
                                               std::shared_ptr<const KnownSecrets> secrets) {
  if (!logger) return SpdlogLogger::toStandardError(SpdlogLogger::Level::off);
  if (!secrets) return logger;
  return std::make_shared<RedactingLogger>(std::move(secrets), std::move(logger));
}

/// Why the ready-made network cannot use its server's address; absent when it can, or is not made.
std::optional<Error> faultOfAddress(const StandardPlatformAPI::Options& options) {
  if (options.network) return std::nullopt;
  const auto parsed = ServerAddress::parse(options.server);
  return parsed ? std::nullopt : std::optional(parsed.error());
}

/// The ready-made network, which notes its tokens in `secrets`, and keeps bodies in `cache`.
Result<std::shared_ptr<CorvaneSDK::Network>> makeNetwork(StandardPlatformAPI::Options& options,
                                                         std::shared_ptr<KnownSecrets> secrets,
                                                         std::shared_ptr<CorvaneSDK::Cache> cache) {
  CurlNetwork::Options networkOptions;
  networkOptions.server = std::move(options.server);
  networkOptions.token = options.token;
  networkOptions.renewedToken = std::move(options.renewedToken);
  networkOptions.allowTokenOverPlainHttp = options.allowTokenOverPlainHttp;
  networkOptions.caFile = std::move(options.caFile);
  networkOptions.observer = std::move(options.observer);
  networkOptions.secrets = std::move(secrets);
  if (options.asksConditionally) networkOptions.bodies = std::move(cache);
  if (options.cacheFile) networkOptions.bodiesOf = std::move(options.cacheOwner);
  networkOptions.pausesWhenRefused = options.pausesWhenRefused;
  auto network = CurlNetwork::make(std::move(networkOptions));
  if (!network) return network.error();
  if (!options.sharesRequests) return std::shared_ptr<CorvaneSDK::Network>(std::move(network).value());
  return std::shared_ptr<CorvaneSDK::Network>(std::make_shared<CoalescingNetwork>(
      std::move(network).value(), credentialOf(std::move(options.token))));
}

}  // namespace

Result<std::shared_ptr<StandardPlatformAPI>> StandardPlatformAPI::make(Options options) {
  const auto secrets = makeSecrets(options);
  // The address first: a mistyped one should leave no cache file behind.
  if (auto fault = faultOfAddress(options)) return *std::move(fault);
  if (options.cache) options.cacheOwner.reset();  // it is the owner of a file that is not opened
  auto logger = makeLogger(std::move(options.logger), secrets);
  SQLiteCache::Options cacheOptions;
  cacheOptions.owner = options.cacheOwner;
  cacheOptions.observer = reportingTo(logger, std::move(options.cacheObserver));
  auto cache = options.cache ? Result(std::move(options.cache))
                             : makeCache(options.cacheFile, std::move(cacheOptions));
  if (!cache) return cache.error();
  auto network =
      options.network ? Result(std::move(options.network)) : makeNetwork(options, secrets, cache.value());
  if (!network) return network.error();
  return std::make_shared<StandardPlatformAPI>(std::move(network).value(), std::move(cache).value(),
                                               std::move(logger));
}

StandardPlatformAPI::StandardPlatformAPI(std::shared_ptr<CorvaneSDK::Network> network,
                                         std::shared_ptr<CorvaneSDK::Cache> cache,
                                         std::shared_ptr<CorvaneSDK::Logger> logger)
    : network_(std::move(network)), cache_(std::move(cache)), logger_(std::move(logger)) {}

}  // namespace vellora::hostkit
