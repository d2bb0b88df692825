#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "apps/records-server/DataFiles.h"
#include "apps/records-server/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// What stands behind a `DataSet`: the answers' parts, ready to be sent.
struct DataSetContent {
  Data objectList;
  Data themeList;
  std::map<std::string, std::string, std::less<>> searchLayouts;
  std::map<std::string, std::string, std::less<>> compactLayouts;
  std::vector<Table> tables;
};

/// Reads the files' texts. The error names the file, and the entry or the byte, that could not be read.
[[nodiscard]] Result<DataSetContent> readDataSet(const DataFiles& files);

}  // namespace vellora::recordsserver
