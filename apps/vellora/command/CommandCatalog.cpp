#include "apps/vellora/command/CommandCatalog.h"

#include <chrono>
#include <utility>

#include "apps/vellora/command/Output.h"
#include "hostkit/StandardPlatformAPI.h"

namespace vellora::command {

namespace {

CatalogOptions optionsOfOneQuestion(const Arguments& arguments, std::shared_ptr<CatalogObserver> observer) {
  auto options = catalogOptions(arguments);
  options.observer = std::move(observer);
  options.loadsAtOnce = false;
  return options;
}

RequestsUnderWay::Tell telling(const Arguments& arguments,
                               std::shared_ptr<const hostkit::KnownSecrets> secrets,
                               const std::string& prefix) {
  if (arguments.output.talk != Talk::verbose || secrets == nullptr) return {};
  return [output = arguments.output, secrets = std::move(secrets), prefix](const std::string& line) {
    remark(prefix + line, *secrets, output);
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
                               const std::shared_ptr<const hostkit::KnownSecrets>& secrets,
                               const std::string& name)
    : arguments_(arguments),
      prefix_(name.empty() ? name : name + ": "),
      requests_(std::make_shared<RequestsUnderWay>(telling(arguments, secrets, prefix_))),
      catalog_(platformOf(api), optionsOfOneQuestion(arguments, requests_)) {}

std::string CommandCatalog::whatIsWaitedFor() const {
  const auto path = requests_->oldestYet();
  return prefix_ + (path ? "waiting for " + *path : "working");
}

}  // namespace vellora::command
