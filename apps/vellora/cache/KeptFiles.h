#pragma once

#include <string>
#include <vector>

namespace vellora::command {

/// The cache files in the folder of the default cache files, in the order of their names: plain files whose
/// names end in ".sqlite". None when there is no such folder.
[[nodiscard]] std::vector<std::string> keptFiles(const std::string& folder);

}  // namespace vellora::command
