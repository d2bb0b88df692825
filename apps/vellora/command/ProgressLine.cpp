#include "apps/vellora/command/ProgressLine.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "apps/vellora/command/Output.h"
#include "hostkit/log/SpdlogLogger.h"
#include "vellora/Platform/Queues/TimedQueue.h"

namespace vellora::command {

std::unique_ptr<Progress> progressFor(const Arguments& arguments, Progress::What what) {
  const bool logsToError = arguments.logLevel != hostkit::SpdlogLogger::Level::off && !arguments.logFile;
  const auto columns = errorColumns();
  if (!columns || arguments.output.talk != Talk::plain || logsToError || !terminalObeys()) return nullptr;
  const auto show = [most = std::max<std::size_t>(*columns, 2) - 1](std::string_view text) {
    showProgress(text, most);
  };
  return std::make_unique<Progress>(TimedQueue::system(), std::move(what), show);
}

}  // namespace vellora::command
