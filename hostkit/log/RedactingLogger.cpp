#include "hostkit/log/RedactingLogger.h"

#include <utility>

namespace vellora::hostkit {

RedactingLogger::RedactingLogger(std::shared_ptr<const KnownSecrets> secrets,
                                 std::shared_ptr<CorvaneSDK::Logger> next)
    : secrets_(std::move(secrets)), next_(std::move(next)) {}

void RedactingLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  next_->log(secrets_->cleaned(message), level);
}

}  // namespace vellora::hostkit
