#include "testkit/FaultyLogger.h"

#include <string>
#include <utility>

namespace vellora::testkit {

FaultyLogger::FaultyLogger(std::shared_ptr<CorvaneSDK::Logger> next, std::shared_ptr<HostFaults> faults)
    : next_(std::move(next)), faults_(std::move(faults)) {}

FaultyLogger::~FaultyLogger() = default;

void FaultyLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  if (!faults_->next({HostCall::Operation::log, std::string(message)})) next_->log(message, level);
}

}  // namespace vellora::testkit
