#include "vellora/DataServices/LayoutSteps.h"

namespace vellora {

std::string joined(const std::vector<std::string>& names, std::string_view separator) {
  std::string text;
  for (const auto& name : names) text.append(&name == names.data() ? "" : separator).append(name);
  return text;
}

bool isExpired(Date downloadedTime, double cacheTimeout) {
  return now().secondsSince(downloadedTime) > cacheTimeout;
}

void logError(CorvaneSDK::Logger& logger, std::string text, const Error& error) {
  logger.log(text.append(error.localizedDescription()), CorvaneSDK::LogLevel::error);
}

void logError(const std::weak_ptr<CorvaneSDK::Logger>& logger, std::string text, const Error& error) {
  if (const auto alive = logger.lock()) logError(*alive, std::move(text), error);
}

}  // namespace vellora
