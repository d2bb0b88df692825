#include "apps/vellora/command/CommandCatalog.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <utility>

#include "apps/vellora/command/Output.h"
#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/log/SpdlogLogger.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::command {

namespace {

CatalogOptions optionsOfOneQuestion(const Arguments& arguments, std::shared_ptr<CatalogObserver> observer) {
  auto options = catalogOptions(arguments);
  options.observer = std::move(observer);
  options.loadsAtOnce = false;
  return options;
}

RequestsUnderWay::Tell telling(const Arguments& arguments,
                               std::shared_ptr<const hostkit::KnownSecrets> secrets) {
  if (arguments.output.talk != Talk::verbose || secrets == nullptr) return {};
  return [output = arguments.output, secrets = std::move(secrets)](const std::string& line) {
    remark(line, *secrets, output);
  };
}

}  // namespace

std::shared_ptr<CorvaneSDK::PlatformAPI> platformOf(const RequiredAPI& api) {
  return std::make_shared<hostkit::StandardPlatformAPI>(api.network, api.cache, api.logger);
}

CatalogOptions catalogOptions(const Arguments& arguments) {
  return {.theme = arguments.theme,
          .cacheTimeout = std::chrono::duration<double>(arguments.cacheTimeout),
          .retry = {.attempts = 1}};
}

QuestionOptions questionOptions(const Arguments& arguments) {
  return {.deadline = std::chrono::duration<double>(arguments.wait), .source = arguments.source};
}

CommandCatalog::CommandCatalog(const Arguments& arguments, const RequiredAPI& api,
                               const std::shared_ptr<const hostkit::KnownSecrets>& secrets)
    : talk_(arguments.output.talk),
      logsToError_(arguments.logLevel != hostkit::SpdlogLogger::Level::off && !arguments.logFile),
      requests_(std::make_shared<RequestsUnderWay>(telling(arguments, secrets))),
      catalog_(platformOf(api), optionsOfOneQuestion(arguments, requests_)) {}

std::unique_ptr<Progress> CommandCatalog::progressOf() const {
  const auto columns = errorColumns();
  if (!columns || talk_ != Talk::plain || logsToError_ || !terminalObeys()) return nullptr;
  const auto what = [requests = requests_] {
    const auto path = requests->oldestYet();
    return path ? "waiting for " + *path : std::string("working");
  };
  const auto show = [most = std::max<std::size_t>(*columns, 2) - 1](std::string_view text) {
    showProgress(text, most);
  };
  return std::make_unique<Progress>(TimedQueue::system(), what, show);
}

}  // namespace vellora::command
