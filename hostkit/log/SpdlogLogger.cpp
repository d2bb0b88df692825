#include "hostkit/log/SpdlogLogger.h"

#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <utility>

#include "vellora/Platform/Text/EscapedText.h"

namespace vellora::hostkit {

namespace {

spdlog::level::level_enum spdlogLevel(SpdlogLogger::Level level) {
  switch (level) {
    case SpdlogLogger::Level::off:
      return spdlog::level::off;
    case SpdlogLogger::Level::error:
      return spdlog::level::err;
    case SpdlogLogger::Level::info:
      break;
  }
  return spdlog::level::info;
}

spdlog::level::level_enum spdlogLevel(CorvaneSDK::LogLevel level) {
  return level == CorvaneSDK::LogLevel::error ? spdlog::level::err : spdlog::level::info;
}

/// Writes each line at once to a descriptor, which it owns. What cannot be written is dropped.
class DescriptorSink final : public spdlog::sinks::base_sink<std::mutex> {
 public:
  explicit DescriptorSink(int descriptor) : descriptor_(descriptor) {}
  ~DescriptorSink() override { ::close(descriptor_); }
  DescriptorSink(const DescriptorSink&) = delete;
  DescriptorSink& operator=(const DescriptorSink&) = delete;

 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    std::string_view rest(line.data(), line.size());
    while (!rest.empty()) {
      const auto count = ::write(descriptor_, rest.data(), rest.size());
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) return;
      rest.remove_prefix(static_cast<std::size_t>(count));
    }
  }

  void flush_() override {}

 private:
  const int descriptor_;
};

/// Opens the file to append to it, and creates it for its owner alone if it is not there; negative, and
/// `errno` says why, when it cannot be written. It does not wait for somebody who reads a pipe, as opening
/// one does; writing waits again.
int openToAppend(const std::string& path) {
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0600);
  if (descriptor < 0) return descriptor;
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags >= 0 && ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) == 0) return descriptor;
  const int number = errno;
  ::close(descriptor);
  errno = number;
  return -1;
}

/// The message as one line, cut where it is longer than anybody reads: a key or a name may have megabytes.
std::string lineOf(std::string_view message) {
  if (message.size() <= SpdlogLogger::longestMessage) return escapedText(message);
  const auto isInsideOfCharacter = [&](std::size_t at) { return (message[at] & 0xC0) == 0x80; };
  std::size_t cut = SpdlogLogger::longestMessage;
  for (int step = 0; step < 3 && isInsideOfCharacter(cut); ++step) --cut;
  return escapedText(message.substr(0, cut)) + "… (" + std::to_string(message.size()) + " bytes in all)";
}

std::string reasonFor(int number) {
  if (number == ENXIO) return "it is a pipe that nobody reads from, or a socket";
  return std::generic_category().message(number);
}

}  // namespace

std::string LogFileError::localizedDescription() const {
  return "The log file \"" + path + "\" cannot be written (" + detail +
         "). Choose a path in a folder that you may write to.";
}

class SpdlogLogger::Implementation {
 public:
  Implementation(spdlog::sink_ptr sink, Level level) : logger_("vellora", std::move(sink)) {
    logger_.set_formatter(std::make_unique<spdlog::pattern_formatter>("%Y-%m-%dT%H:%M:%S.%eZ %l %v",
                                                                      spdlog::pattern_time_type::utc));
    logger_.set_level(spdlogLevel(level));
    logger_.flush_on(spdlog::level::info);  // a log is read when things went wrong: keep no line back
    logger_.set_error_handler([](const std::string&) {});  // the default one writes to standard error
  }

  void log(std::string_view message, spdlog::level::level_enum level) {
    if (logger_.should_log(level)) logger_.log(level, spdlog::string_view_t(lineOf(message)));
  }

 private:
  spdlog::logger logger_;
};

std::optional<SpdlogLogger::Level> SpdlogLogger::levelNamed(std::string_view name) {
  if (name == "off") return Level::off;
  if (name == "error") return Level::error;
  if (name == "info") return Level::info;
  return std::nullopt;
}

std::shared_ptr<SpdlogLogger> SpdlogLogger::toStandardError(Level level) {
  auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  return std::shared_ptr<SpdlogLogger>(
      new SpdlogLogger(std::make_unique<Implementation>(std::move(sink), level)));
}

Result<std::shared_ptr<SpdlogLogger>> SpdlogLogger::toFile(const std::string& path, Level level) {
  const auto failure = [&path](const std::string& detail) { return Error(LogFileError{path, detail}); };
  if (path.find('\0') != std::string::npos) return failure("the path holds a NUL");
  const int descriptor = openToAppend(path);
  if (descriptor < 0) return failure(reasonFor(errno));
  auto sink = std::make_shared<DescriptorSink>(descriptor);
  return std::shared_ptr<SpdlogLogger>(
      new SpdlogLogger(std::make_unique<Implementation>(std::move(sink), level)));
}

SpdlogLogger::SpdlogLogger(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

SpdlogLogger::~SpdlogLogger() = default;

void SpdlogLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  try {
    implementation_->log(message, spdlogLevel(level));
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the line is dropped
  }
}

}  // namespace vellora::hostkit
