#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>

#include "apps/records-server/Table.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

struct DataSetContent;

/// Everything that a records server knows: object types, themes, layouts, list views and fields.
///
/// Ownership: copies share one immutable content; copying is cheap.
///
/// Threads: immutable, hence safe to read from several threads.
///
/// Errors: only reading from a folder can fail.
class DataSet {
 public:
  /// The readable data set of some forty object types that is compiled into the program.
  [[nodiscard]] static DataSet builtIn();

  /// Reads the six files that `DataFiles` tells of. The error names the file and what is wrong in it.
  [[nodiscard]] static Result<DataSet> load(const std::filesystem::path& folder);

  /// `types` object types of about 1 KB of describe entry each, the same at each call. The key prefixes of
  /// "User" and "ListView", the first two, are "005" and "00B". There are fifty list views, with the ids
  /// "00B000000000000" to "00B000000000049".
  [[nodiscard]] static DataSet generated(std::size_t types);

  /// The same data, with icons whose addresses begin with "https://icons.example/" at `server` + "/icons/".
  [[nodiscard]] DataSet withIconsAt(const std::string& server) const;

  /// The body of the object list answer.
  [[nodiscard]] const Data& objectList() const;
  /// The body of the theme answer.
  [[nodiscard]] const Data& themeList() const;

  /// The layout of an object type as JSON; null when the type is unknown or has none.
  [[nodiscard]] const std::string* searchLayout(std::string_view name) const;
  [[nodiscard]] const std::string* compactLayout(std::string_view name) const;

  /// What a query selects from; null when there is no such object. The case of ASCII letters doesn't matter.
  [[nodiscard]] const Table* table(std::string_view name) const;

 private:
  explicit DataSet(std::shared_ptr<const DataSetContent> content);

  std::shared_ptr<const DataSetContent> content_;
};

}  // namespace vellora::recordsserver
