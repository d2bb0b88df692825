#include "apps/vellora/command/CommandCatalog.h"

#include <chrono>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"

namespace vellora::command {

namespace {

CatalogOptions optionsOfOneQuestion(const Arguments& arguments, std::shared_ptr<CatalogObserver> observer) {
  auto options = catalogOptions(arguments);
  options.observer = std::move(observer);
  options.loadsAtOnce = false;
  return options;
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
  return {.deadline = std::chrono::duration<double>(arguments.wait)};
}

CommandCatalog::CommandCatalog(const Arguments& arguments, const RequiredAPI& api)
    : catalog_(platformOf(api), optionsOfOneQuestion(arguments, requests_)) {}

}  // namespace vellora::command
