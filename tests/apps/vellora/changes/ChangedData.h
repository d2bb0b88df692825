#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "apps/records-server/DataFiles.h"
#include "apps/records-server/DataSet.h"

namespace vellora::command {

/// `text` with the first `before` replaced, which must be in it.
inline std::string replaced(std::string text, const std::string& before, const std::string& after) {
  const auto at = text.find(before);
  EXPECT_NE(at, std::string::npos) << before;
  return at == std::string::npos ? text : text.replace(at, before.size(), after);
}

/// The data of the files, which are written to `folder`.
inline recordsserver::DataSet dataOf(const recordsserver::DataFiles& files,
                                     const std::filesystem::path& folder) {
  std::filesystem::create_directory(folder);
  const auto write = [&folder](const char* name, const std::string& text) {
    std::ofstream(folder / name) << text;
  };
  write("objects.json", files.objects);
  write("themes.json", files.themes);
  write("list-views.json", files.listViews);
  write("search-layouts.json", files.searchLayouts);
  write("compact-layouts.json", files.compactLayouts);
  write("fields.json", files.fields);
  return recordsserver::DataSet::load(folder).value();
}

/// The demo data one release later, which is written to `folder`: accounts are called customers and are
/// yellow, there are widgets and no audit entries, the city is a town among the columns of accounts, and
/// contacts have no search layout any more.
inline recordsserver::DataSet changedData(const std::filesystem::path& folder) {
  auto files = recordsserver::builtInDataFiles();
  files.objects = replaced(files.objects, R"("label": "Account", "labelPlural": "Accounts")",
                           R"("label": "Customer", "labelPlural": "Accounts")");
  files.objects = replaced(files.objects, R"("name": "AuditEntry")", R"("name": "Widget")");
  files.themes = replaced(files.themes, R"("color": "2F6FDE", "context": "primary", "theme": "light")",
                          R"("color": "FFDD00", "context": "primary", "theme": "light")");
  files.searchLayouts = replaced(files.searchLayouts, R"("label": "City")", R"("label": "Town")");
  files.searchLayouts =
      replaced(files.searchLayouts, R"("objectType": "Contact")", R"("objectType": "Nobody")");
  return dataOf(files, folder);
}

}  // namespace vellora::command
