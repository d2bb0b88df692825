#include "hostkit/log/RedactingLogger.h"

#include <new>
#include <utility>

namespace vellora::hostkit {

RedactingLogger::RedactingLogger(std::shared_ptr<const KnownSecrets> secrets,
                                 std::shared_ptr<CorvaneSDK::Logger> next)
    : secrets_(std::move(secrets)), next_(std::move(next)) {}

void RedactingLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  try {
    next_->log(secrets_->cleaned(message), level);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): better no line than one with a token
  }
}

}  // namespace vellora::hostkit
