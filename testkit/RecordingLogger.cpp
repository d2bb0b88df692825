#include "testkit/RecordingLogger.h"

#include <algorithm>

namespace vellora::testkit {

void RecordingLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  const std::lock_guard lock(mutex_);
  lines_.push_back({level, std::string(message)});
  logged_.notify_all();
}

std::vector<RecordingLogger::Line> RecordingLogger::lines() const {
  const std::lock_guard lock(mutex_);
  return lines_;
}

std::vector<std::string> RecordingLogger::texts(CorvaneSDK::LogLevel level) const {
  const std::lock_guard lock(mutex_);
  std::vector<std::string> texts;
  for (const Line& line : lines_) {
    if (line.level == level) texts.push_back(line.text);
  }
  return texts;
}

bool RecordingLogger::contains(std::string_view part) const {
  const std::lock_guard lock(mutex_);
  return holds(part);
}

bool RecordingLogger::waitFor(std::string_view part, std::chrono::milliseconds limit) const {
  std::unique_lock lock(mutex_);
  return logged_.wait_for(lock, limit, [&] { return holds(part); });
}

void RecordingLogger::clear() {
  const std::lock_guard lock(mutex_);
  lines_.clear();
}

bool RecordingLogger::holds(std::string_view part) const {
  return std::any_of(lines_.begin(), lines_.end(),
                     [part](const Line& line) { return line.text.find(part) != std::string::npos; });
}

}  // namespace vellora::testkit
