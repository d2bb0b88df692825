#include "apps/records-server/DataFiles.h"

#include <fstream>
#include <optional>

#include "apps/records-server/DataError.h"

namespace vellora::recordsserver {
namespace {

std::optional<std::string> textOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  if (!stream) return std::nullopt;
  std::string text;
  for (char next = 0; stream.get(next);) text += next;
  if (stream.bad()) return std::nullopt;  // a folder, for instance, can be opened
  return text;
}

}  // namespace

Result<DataFiles> readDataFiles(const std::filesystem::path& folder) {
  DataFiles files;
  const std::pair<const char*, std::string*> wanted[] = {
      {"objects.json", &files.objects},
      {"themes.json", &files.themes},
      {"list-views.json", &files.listViews},
      {"search-layouts.json", &files.searchLayouts},
      {"compact-layouts.json", &files.compactLayouts},
      {"fields.json", &files.fields},
  };
  for (const auto& [name, text] : wanted) {
    auto content = textOf(folder / name);
    if (!content) return Error(DataError{"cannot read " + (folder / name).string()});
    *text = std::move(*content);
  }
  return files;
}

}  // namespace vellora::recordsserver
