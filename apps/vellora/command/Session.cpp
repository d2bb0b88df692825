#include "apps/vellora/command/Session.h"

#include <utility>

#include "apps/vellora/command/CacheFailures.h"
#include "apps/vellora/command/CachePlace.h"
#include "apps/vellora/command/NotingLogger.h"
#include "apps/vellora/command/RequestFailures.h"
#include "apps/vellora/command/SettlingNetwork.h"
#include "apps/vellora/command/TokenFile.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/cache/sqlite/SQLiteCacheFailure.h"
#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/RequestOutcome.h"
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

/// The way to the server, on which equal requests travel once.
std::variant<std::shared_ptr<CorvaneSDK::Network>, Problem> openNetwork(
    const Arguments& arguments, const std::optional<std::string>& token,
    const std::shared_ptr<RequestFailures>& failures, const Secrets& secrets) {
  hostkit::CurlNetwork::Options options{.server = arguments.server};
  options.token = [token] { return token; };
  options.observer = [failures](const hostkit::RequestOutcome& outcome) { failures->note(outcome); };
  options.secrets = secrets;
  auto network = hostkit::CurlNetwork::make(std::move(options));
  if (!network) return Problem{ExitCode::usage, network.error().localizedDescription()};
  return std::make_shared<hostkit::CoalescingNetwork>(std::move(network).value());
}

/// The cache of that server and token. Its failures are logged, and noted.
std::variant<std::shared_ptr<CorvaneSDK::Cache>, Problem> openCache(
    const Arguments& arguments, const std::optional<std::string>& token,
    const std::shared_ptr<CacheFailures>& failures, const std::shared_ptr<CorvaneSDK::Logger>& log) {
  const auto place = cachePlace(arguments, token);
  if (const auto* problem = std::get_if<Problem>(&place)) return *problem;
  hostkit::SQLiteCache::Options options;
  options.owner = std::get<0>(place).owner;
  options.observer = [failures, log](const hostkit::SQLiteCacheFailure& failure) {
    log->log(failure.localizedDescription(), CorvaneSDK::LogLevel::error);
    failures->note(failure);
  };
  auto cache = hostkit::SQLiteCache::open(std::get<0>(place).file, std::move(options));
  if (!cache) return problemOf(cache.error());
  return std::shared_ptr<CorvaneSDK::Cache>(std::move(cache).value());
}

}  // namespace

std::variant<std::unique_ptr<Session>, Problem> Session::open(const Arguments& arguments) {
  const auto token = readToken(arguments.tokenFile);
  if (const auto* problem = std::get_if<Problem>(&token)) return *problem;

  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  const auto failures = std::make_shared<RequestFailures>(secrets);
  auto network = openNetwork(arguments, std::get<0>(token), failures, secrets);
  if (const auto* problem = std::get_if<Problem>(&network)) return *problem;

  auto log = openLog(arguments, secrets);
  if (!log) return Problem{ExitCode::usage, log.error().localizedDescription()};

  const auto cacheFailures = std::make_shared<CacheFailures>(secrets);
  auto cache = openCache(arguments, std::get<0>(token), cacheFailures, log.value());
  if (const auto* problem = std::get_if<Problem>(&cache)) return *problem;

  const auto settling = std::make_shared<SettlingNetwork>(std::get<0>(std::move(network)));
  const auto noting = std::make_shared<NotingLogger>(failures, std::move(log).value());
  return std::unique_ptr<Session>(new Session(secrets, failures, cacheFailures, settling, noting,
                                              {settling, std::get<0>(cache), noting}));
}

Session::Session(std::shared_ptr<const hostkit::KnownSecrets> secrets,
                 std::shared_ptr<RequestFailures> failures, std::shared_ptr<CacheFailures> cacheFailures,
                 std::shared_ptr<SettlingNetwork> network, std::shared_ptr<NotingLogger> logger,
                 RequiredAPI api)
    : secrets_(std::move(secrets)),
      failures_(std::move(failures)),
      cacheFailures_(std::move(cacheFailures)),
      network_(std::move(network)),
      logger_(std::move(logger)),
      api_(std::move(api)) {}

Session::~Session() = default;

void Session::whenLogged(std::string line, std::function<void()> action) const {
  logger_->whenLogged(std::move(line), std::move(action));
}

void Session::settle() const {
  network_->settle();
}

std::optional<std::string> Session::unanswered() const {
  return network_->unanswered();
}

std::optional<std::string> Session::failure() const {
  return failures_->first();
}

std::optional<std::string> Session::cacheFailure() const {
  return cacheFailures_->first();
}

}  // namespace vellora::command
