#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

#include "vellora/Platform/Values/Result.h"

namespace vellora::recordsserver {

/// The JSON texts that a data set is read from, one member per file of a data folder.
struct DataFiles {
  /// objects.json: an array with an object per object type. "name", "label" and "labelPlural" are required,
  /// any other member of a describe entry may be given and replaces its default. Only "keyPrefix" has none:
  /// an entry without it is sent without it.
  std::string objects;
  /// themes.json: an array of theme entries as the theme answer shows them. A server that serves icons puts
  /// its own address in place of "https://icons.example/".
  std::string themes;
  /// list-views.json: an array of {"Id", "Name", "SobjectType"}; "SobjectType" may be null.
  std::string listViews;
  /// search-layouts.json: an array of search layouts as the search layout answer shows them.
  std::string searchLayouts;
  /// compact-layouts.json: an array of compact layouts as the compact layout answer shows them.
  std::string compactLayouts;
  /// fields.json: an array of {"object", "nameField", "fields"}; "nameField" is absent for a type without
  /// one.
  std::string fields;
};

/// The files that were compiled into the program.
[[nodiscard]] DataFiles builtInDataFiles();

/// The files of a folder. Fails when one of them is missing or cannot be read.
[[nodiscard]] Result<DataFiles> readDataFiles(const std::filesystem::path& folder);

/// Files that describe `types` object types, the same at each call: "User", "ListView", then
/// "Record00002", "Record00003", …, every one with a theme entry of six icons and two colours, both layouts
/// and a name field.
[[nodiscard]] DataFiles generatedDataFiles(std::size_t types);

}  // namespace vellora::recordsserver
