#include "apps/vellora/command/Session.h"

#include <filesystem>
#include <system_error>
#include <utility>

#include "apps/vellora/command/CacheFailures.h"
#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/NoNetwork.h"
#include "apps/vellora/command/SharedAddress.h"
#include "apps/vellora/command/SharedCache.h"
#include "apps/vellora/command/SharedCacheOptions.h"
#include "apps/vellora/command/Token.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "hostkit/secrets/KnownSecrets.h"
#include "vellora/Host/LogLevel.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::command {

namespace {

using Secrets = std::shared_ptr<hostkit::KnownSecrets>;
using Log = std::shared_ptr<CorvaneSDK::Logger>;

Result<Log> openSink(const Arguments& arguments) {
  if (!arguments.logFile) return Log(hostkit::SpdlogLogger::toStandardError(arguments.logLevel));
  auto logger = hostkit::SpdlogLogger::toFile(*arguments.logFile, arguments.logLevel);
  if (!logger) return logger.error();
  return Log(std::move(logger).value());
}

/// The log, with every line cleaned of the token: lines hold names that the server sent.
Result<Log> openLog(const Arguments& arguments, const Secrets& secrets) {
  auto sink = openSink(arguments);
  if (!sink || arguments.logLevel == hostkit::SpdlogLogger::Level::off) return sink;
  return Log(std::make_shared<hostkit::RedactingLogger>(secrets, std::move(sink).value()));
}

/// No token where the cache alone is asked, which is found without it.
std::variant<std::optional<std::string>, Problem> tokenIfNeeded(const Arguments& arguments) {
  const bool asksServer =
      arguments.source != Source::cacheOnly || arguments.command == Arguments::Command::explore;
  if (!asksServer && !isPlacedByToken(arguments)) return std::nullopt;
  return tokenOf(arguments);
}

/// Why the server's address cannot be used. It is looked at before the cache is opened: a mistyped one should
/// leave no cache behind.
std::optional<Problem> problemOfAddress(const Arguments& arguments) {
  if (arguments.server.empty()) return std::nullopt;                              // with --offline
  const auto network = hostkit::CurlNetwork::make({.server = arguments.server});  // connects to nothing
  if (network) return std::nullopt;
  return Problem{ExitCode::usage, network.error().localizedDescription()};
}

/// The way to the server, which spares it: equal requests travel once, what the cache keeps the body of is
/// asked for only if it has changed, and a server that refuses is left alone.
std::variant<std::shared_ptr<CorvaneSDK::Network>, Problem> openNetwork(
    const Arguments& arguments, const std::optional<std::string>& token, const Secrets& secrets,
    std::shared_ptr<CorvaneSDK::Cache> cache) {
  if (arguments.server.empty()) return std::make_shared<NoNetwork>();  // with --offline
  hostkit::CurlNetwork::Options options{.server = arguments.server};
  options.token = [token] { return token; };
  options.secrets = secrets;
  options.bodies = std::move(cache);
  options.bodiesOf = ownerOf(arguments, token);
  options.pausesWhenRefused = true;
  auto network = hostkit::CurlNetwork::make(std::move(options));
  if (!network) return Problem{ExitCode::usage, network.error().localizedDescription()};
  return std::make_shared<hostkit::CoalescingNetwork>(std::move(network).value());
}

/// Opening would make an empty cache of a name that is not there, such as a mistyped one.
std::optional<Problem> problemOfOffline(const Arguments& arguments, const std::string& file) {
  std::error_code ignored;
  if (arguments.source != Source::cacheOnly || std::filesystem::exists(file, ignored)) return std::nullopt;
  return Problem{ExitCode::cacheUnusable,
                 "there is no cache " + file + "; ask the server once, without --offline, to fill it"};
}

/// The cache in a Redis, of that owner. Its password is as secret as the token.
std::variant<std::shared_ptr<CorvaneSDK::Cache>, Problem> openCacheOfMany(
    const Arguments& arguments, const std::string& owner, const std::shared_ptr<CacheFailures>& failures,
    const Log& log, const Secrets& secrets) {
  auto options = sharedCacheOptions(arguments, owner);
  if (auto* problem = std::get_if<Problem>(&options)) return std::move(*problem);
  secrets->note(std::get<0>(options).password);
  std::get<0>(options).told = [failures, log](const std::string& failure) {
    log->log(failure, CorvaneSDK::LogLevel::error);
    failures->note(failure);
  };
  auto cache = openSharedCache(std::get<0>(std::move(options)));
  if (auto* problem = std::get_if<Problem>(&cache)) return std::move(*problem);
  return std::get<0>(cache)->cache();
}

/// The cache of that server and token. Its failures are logged, and noted.
std::variant<std::shared_ptr<CorvaneSDK::Cache>, Problem> openCache(
    const Arguments& arguments, const std::optional<std::string>& token,
    const std::shared_ptr<CacheFailures>& failures, const Log& log, const Secrets& secrets) {
  const auto place = cachePlace(arguments, token);
  if (const auto* problem = std::get_if<Problem>(&place)) return *problem;
  if (isShared(arguments.cacheFile))
    return openCacheOfMany(arguments, std::get<0>(place).owner, failures, log, secrets);
  if (const auto problem = problemOfOffline(arguments, std::get<0>(place).file)) return *problem;
  hostkit::SQLiteCache::Options options;
  if (!arguments.server.empty()) options.owner = std::get<0>(place).owner;
  options.observer = [failures, log](const hostkit::SQLiteCacheFailure& failure) {
    log->log(failure.localizedDescription(), CorvaneSDK::LogLevel::error);
    failures->note(failure);
  };
  auto cache = hostkit::SQLiteCache::open(std::get<0>(place).file, std::move(options));
  if (!cache) return problemOf(cache.error());
  return std::shared_ptr<CorvaneSDK::Cache>(std::move(cache).value());
}

}  // namespace

std::variant<std::unique_ptr<Session>, Problem> Session::open(const Arguments& arguments,
                                                              std::shared_ptr<CorvaneSDK::Cache> given) {
  const auto token = tokenIfNeeded(arguments);
  if (const auto* problem = std::get_if<Problem>(&token)) return *problem;

  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  secrets->note(std::get<0>(token).value_or(""));  // the cache may hold it, and maybe nothing is sent
  if (auto problem = problemOfAddress(arguments)) return *std::move(problem);

  auto log = openLog(arguments, secrets);
  if (!log) return Problem{ExitCode::usage, log.error().localizedDescription()};

  const auto cacheFailures = std::make_shared<CacheFailures>(secrets);
  std::variant<std::shared_ptr<CorvaneSDK::Cache>, Problem> cache = std::move(given);
  if (std::get<0>(cache) == nullptr)
    cache = openCache(arguments, std::get<0>(token), cacheFailures, log.value(), secrets);
  if (const auto* problem = std::get_if<Problem>(&cache)) return *problem;

  auto network = openNetwork(arguments, std::get<0>(token), secrets, std::get<0>(cache));
  if (const auto* problem = std::get_if<Problem>(&network)) return *problem;

  return std::unique_ptr<Session>(
      new Session(secrets, cacheFailures, {std::get<0>(network), std::get<0>(cache), log.value()}));
}

Session::Session(std::shared_ptr<const hostkit::KnownSecrets> secrets,
                 std::shared_ptr<CacheFailures> cacheFailures, RequiredAPI api)
    : secrets_(std::move(secrets)), cacheFailures_(std::move(cacheFailures)), api_(std::move(api)) {}

Session::~Session() = default;

std::optional<std::string> Session::cacheFailure() const {
  return cacheFailures_->first();
}

}  // namespace vellora::command
