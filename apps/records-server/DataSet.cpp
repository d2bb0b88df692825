#include "apps/records-server/DataSet.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "apps/http/AsciiCase.h"
#include "apps/records-server/DataSetContent.h"

namespace vellora::recordsserver {
namespace {

// For texts that come with the program, and so can be read unless the program is wrong.
std::shared_ptr<const DataSetContent> contentOf(const DataFiles& files) {
  auto content = readDataSet(files);
  if (!content) {
    std::fprintf(stderr, "built-in data: %s\n", content.error().localizedDescription().c_str());
    std::abort();
  }
  return std::make_shared<const DataSetContent>(std::move(content).value());
}

const std::string* find(const std::map<std::string, std::string, std::less<>>& layouts,
                        std::string_view name) {
  const auto found = layouts.find(name);
  return found == layouts.end() ? nullptr : &found->second;
}

}  // namespace

DataSet::DataSet(std::shared_ptr<const DataSetContent> content) : content_(std::move(content)) {}

DataSet DataSet::builtIn() {
  return DataSet(contentOf(builtInDataFiles()));
}

DataSet DataSet::generated(std::size_t types) {
  return DataSet(contentOf(generatedDataFiles(types)));
}

Result<DataSet> DataSet::load(const std::filesystem::path& folder) {
  const auto files = readDataFiles(folder);
  if (!files) return files.error();
  auto content = readDataSet(files.value());
  if (!content) return content.error();
  return DataSet(std::make_shared<const DataSetContent>(std::move(content).value()));
}

DataSet DataSet::withIconsAt(const std::string& server) const {
  constexpr std::string_view placeholder = "https://icons.example/";
  const auto address = server + "/icons/";
  auto content = *content_;
  std::string list(content.themeList.view());
  for (auto at = list.find(placeholder); at != std::string::npos; at = list.find(placeholder, at))
    list.replace(at, placeholder.size(), address);
  content.themeList = Data(std::move(list));
  return DataSet(std::make_shared<const DataSetContent>(std::move(content)));
}

const Data& DataSet::objectList() const {
  return content_->objectList;
}

const Data& DataSet::themeList() const {
  return content_->themeList;
}

const std::string* DataSet::searchLayout(std::string_view name) const {
  return find(content_->searchLayouts, name);
}

const std::string* DataSet::compactLayout(std::string_view name) const {
  return find(content_->compactLayouts, name);
}

const Table* DataSet::table(std::string_view name) const {
  const auto found =
      std::find_if(content_->tables.begin(), content_->tables.end(),
                   [name](const Table& table) { return http::equalIgnoringCase(table.name, name); });
  return found == content_->tables.end() ? nullptr : &*found;
}

}  // namespace vellora::recordsserver
