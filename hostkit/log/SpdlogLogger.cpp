#include "hostkit/log/SpdlogLogger.h"

#include <fcntl.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <unistd.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

#include "hostkit/log/LogText.h"

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

/// Creates the file for its owner alone if it is not there; 0, or why it cannot be written.
int prepareFile(const std::string& path) {
  const int descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (descriptor < 0) return errno;
  close(descriptor);
  return 0;
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
    if (logger_.should_log(level)) logger_.log(level, spdlog::string_view_t(escapedLogText(message)));
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
  if (const int number = prepareFile(path)) return failure(std::generic_category().message(number));
  try {
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path);
    return std::shared_ptr<SpdlogLogger>(
        new SpdlogLogger(std::make_unique<Implementation>(std::move(sink), level)));
  } catch (const std::exception& error) {
    return failure(error.what());
  }
}

SpdlogLogger::SpdlogLogger(std::unique_ptr<Implementation> implementation)
    : implementation_(std::move(implementation)) {}

SpdlogLogger::~SpdlogLogger() = default;

void SpdlogLogger::log(std::string_view message, CorvaneSDK::LogLevel level) {
  implementation_->log(message, spdlogLevel(level));
}

}  // namespace vellora::hostkit
