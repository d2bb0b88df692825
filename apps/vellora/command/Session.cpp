#include "apps/vellora/command/Session.h"

#include <cstddef>
#include <fstream>
#include <iostream>
#include <utility>

#include "apps/vellora/command/NotingLogger.h"
#include "apps/vellora/command/RequestFailures.h"
#include "apps/vellora/command/SettlingNetwork.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/log/RedactingLogger.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CoalescingNetwork.h"
#include "hostkit/network/CurlNetwork.h"
#include "hostkit/network/RequestOutcome.h"
#include "hostkit/secrets/KnownSecrets.h"
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

/// The token in a file or on standard input, without the line end behind it.
std::variant<std::optional<std::string>, Problem> readToken(const std::optional<std::string>& file) {
  if (!file) return std::nullopt;
  std::ifstream stream;
  if (*file != "-") stream.open(*file, std::ios::binary);
  auto& in = *file == "-" ? std::cin : stream;
  const auto unreadable = Problem{ExitCode::usage, "cannot read the token file " + *file};
  if (!in) return unreadable;
  constexpr std::size_t longest = hostkit::CurlNetwork::longestToken;
  constexpr std::size_t lineEnd = 2;
  std::string token;
  for (char next = 0; token.size() <= longest + lineEnd && in.get(next);) token += next;
  if (in.bad()) return unreadable;  // a folder, for instance, can be opened
  while (token.ends_with('\n') || token.ends_with('\r')) token.pop_back();
  if (token.empty()) return Problem{ExitCode::usage, "there is no token in " + *file};
  if (token.size() > longest) {
    return Problem{ExitCode::usage, "what is in " + *file + " is too long for a token: of more than " +
                                        std::to_string(longest) + " characters"};
  }
  return std::optional(std::move(token));
}

/// The way to the server, on which equal requests travel once.
std::variant<std::shared_ptr<CorvaneSDK::Network>, Problem> openNetwork(
    const Arguments& arguments, const std::shared_ptr<RequestFailures>& failures, const Secrets& secrets) {
  auto token = readToken(arguments.tokenFile);
  if (const auto* problem = std::get_if<Problem>(&token)) return *problem;

  hostkit::CurlNetwork::Options options{.server = arguments.server};
  options.token = [token = std::get<0>(std::move(token))] { return token; };
  options.observer = [failures](const hostkit::RequestOutcome& outcome) { failures->note(outcome); };
  options.secrets = secrets;
  auto network = hostkit::CurlNetwork::make(std::move(options));
  if (!network) return Problem{ExitCode::usage, network.error().localizedDescription()};
  return std::make_shared<hostkit::CoalescingNetwork>(std::move(network).value());
}

}  // namespace

std::variant<std::unique_ptr<Session>, Problem> Session::open(const Arguments& arguments) {
  const auto secrets = std::make_shared<hostkit::KnownSecrets>();
  const auto failures = std::make_shared<RequestFailures>(secrets);
  auto network = openNetwork(arguments, failures, secrets);
  if (const auto* problem = std::get_if<Problem>(&network)) return *problem;

  auto log = openLog(arguments, secrets);
  if (!log) return Problem{ExitCode::usage, log.error().localizedDescription()};

  auto cache = hostkit::SQLiteCache::open(arguments.cacheFile);
  if (!cache) return Problem{ExitCode::cacheUnusable, cache.error().localizedDescription()};

  const auto settling = std::make_shared<SettlingNetwork>(std::get<0>(std::move(network)));
  const auto noting = std::make_shared<NotingLogger>(failures, std::move(log).value());
  return std::unique_ptr<Session>(
      new Session(secrets, failures, settling, noting, {settling, std::move(cache).value(), noting}));
}

Session::Session(std::shared_ptr<const hostkit::KnownSecrets> secrets,
                 std::shared_ptr<RequestFailures> failures, std::shared_ptr<SettlingNetwork> network,
                 std::shared_ptr<NotingLogger> logger, RequiredAPI api)
    : secrets_(std::move(secrets)),
      failures_(std::move(failures)),
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

}  // namespace vellora::command
