#include "apps/vellora/cache/KeptFiles.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace vellora::command {

std::vector<std::string> keptFiles(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code failure;
  std::filesystem::directory_iterator entry(folder, failure);
  for (; !failure && entry != std::filesystem::directory_iterator(); entry.increment(failure)) {
    std::error_code unknown;
    const bool isPlain = entry->symlink_status(unknown).type() == std::filesystem::file_type::regular;
    if (isPlain && entry->path().extension() == ".sqlite") files.push_back(entry->path().string());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace vellora::command
