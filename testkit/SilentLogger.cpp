#include "testkit/SilentLogger.h"

namespace vellora::testkit {

SilentLogger::~SilentLogger() = default;

void SilentLogger::log(std::string_view, CorvaneSDK::LogLevel) {}

}  // namespace vellora::testkit
