#include "vellora/DataServices/LogLine.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace vellora {

void logLine(CorvaneSDK::Logger& logger, CorvaneSDK::LogLevel level, std::string_view beginning,
             LineParts parts) {
  if (parts.size() == 0) return logger.log(beginning, level);
  std::size_t size = beginning.size();
  for (const auto part : parts) size += part.size();
  std::array<char, 256> shortLine;
  std::string longLine;
  if (size > shortLine.size()) longLine.resize(size);
  char* const line = longLine.empty() ? shortLine.data() : longLine.data();
  char* end = std::copy(beginning.begin(), beginning.end(), line);
  for (const auto part : parts) end = std::copy(part.begin(), part.end(), end);
  logger.log({line, size}, level);
}

}  // namespace vellora
