#include "apps/records-server/DataSet.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/json.hpp>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "apps/records-server/DataFiles.h"

namespace vellora::recordsserver {
namespace {

namespace json = boost::json;

json::array listOf(const Data& body, const char* member) {
  return json::parse(json::string_view(body.data(), body.size())).at(member).as_array();
}

json::object entryOf(const json::array& list, std::string_view name) {
  for (const auto& entry : list)
    if (entry.at("name").as_string() == json::string_view(name)) return entry.as_object();
  ADD_FAILURE() << "no entry " << name;
  return {};
}

/// A folder of data files that are all in order; a test spoils what it wants.
class DataFolder {
 public:
  DataFolder()
      : path_(std::filesystem::temp_directory_path() /
              ("records-server-data-" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(path_);
    write("objects.json",
          R"([{"name": "Thing", "keyPrefix": "t01", "label": "Thing", "labelPlural": "Things"}])");
    write("themes.json", R"([{"name": "Thing", "icons": []}])");
    write("list-views.json", R"([{"Id": "00B1", "SobjectType": "Thing"}])");
    write("search-layouts.json", R"([{"objectType": "Thing", "searchColumns": []}])");
    write("compact-layouts.json", R"([{"objectType": "Thing", "fieldItems": []}])");
    write("fields.json", R"([{"object": "Thing", "nameField": "Title", "fields": ["Id", "Title"]}])");
  }
  ~DataFolder() { std::filesystem::remove_all(path_); }
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  void write(const char* file, const std::string& text) const { std::ofstream(path_ / file) << text; }
  [[nodiscard]] std::filesystem::path file(const char* name) const { return path_ / name; }

  [[nodiscard]] std::string loadError() const {
    const auto data = DataSet::load(path_);
    return data ? "no error" : data.error().localizedDescription();
  }
  [[nodiscard]] Result<DataSet> load() const { return DataSet::load(path_); }

 private:
  std::filesystem::path path_;
};

TEST(DataSetTest, BuiltInHasFortyFourTypesWithAllTheirMembers) {
  const auto types = listOf(DataSet::builtIn().objectList(), "sobjects");
  EXPECT_EQ(types.size(), 44U);
  const auto account = entryOf(types, "Account");
  EXPECT_EQ(account.size(), 28U);
  EXPECT_EQ(account.at("keyPrefix"), "001");
  EXPECT_EQ(account.at("labelPlural"), "Accounts");
  EXPECT_EQ(account.at("createable"), true);
  EXPECT_EQ(account.at("ownAddition"), false);
  EXPECT_EQ(account.at("urls").at("describe"), "/services/data/v50.0/sobjects/Account/describe");
  EXPECT_EQ(entryOf(types, "Vehicle").at("ownAddition"), true);
  EXPECT_EQ(entryOf(types, "ListView").at("createable"), false);
}

TEST(DataSetTest, BuiltInHasTypesWithANullPrefixWithoutAPrefixAndWithASharedOne) {
  const auto types = listOf(DataSet::builtIn().objectList(), "sobjects");
  EXPECT_EQ(entryOf(types, "AuditEntry").at("keyPrefix"), nullptr);
  EXPECT_FALSE(entryOf(types, "Tag").contains("keyPrefix"));
  EXPECT_EQ(entryOf(types, "Attachment").at("keyPrefix"), "820");
  EXPECT_EQ(entryOf(types, "Document").at("keyPrefix"), "820");
}

TEST(DataSetTest, BuiltInHasLabelsInSeveralScripts) {
  const auto types = listOf(DataSet::builtIn().objectList(), "sobjects");
  EXPECT_EQ(entryOf(types, "Container").at("label"), "Behälter");
  EXPECT_EQ(entryOf(types, "DeliveryStop").at("label"), "配送先");
  EXPECT_EQ(entryOf(types, "Permit").at("label"), "تصريح");
  EXPECT_EQ(entryOf(types, "Celebration").at("label"), "🎉 Celebration");
  EXPECT_EQ(entryOf(types, "Trip").at("label"), "Trip \"round\" & back");
}

TEST(DataSetTest, BuiltInThemesCoverTheOddCases) {
  const auto items = listOf(DataSet::builtIn().themeList(), "themeItems");
  EXPECT_EQ(entryOf(items, "Account").at("colors").at(1).at("context"), "secondary");
  EXPECT_EQ(entryOf(items, "Team").at("colors").as_array().size(), 1U);
  EXPECT_EQ(entryOf(items, "Team").at("colors").at(0).at("theme"), "contrast");
  EXPECT_FALSE(entryOf(items, "Note").contains("colors"));
  EXPECT_EQ(entryOf(items, "Attachment").at("colors"), nullptr);
  EXPECT_TRUE(entryOf(items, "Comment").at("colors").as_array().empty());
  EXPECT_TRUE(entryOf(items, "Survey").at("icons").as_array().empty());
  EXPECT_FALSE(entryOf(items, "Report").at("icons").at(0).as_object().contains("width"));
  EXPECT_EQ(entryOf(items, "Report").at("icons").at(1).at("width"), 0);
  for (const auto& item : items) EXPECT_NE(item.at("name"), "Tag");
}

TEST(DataSetTest, BuiltInThemeEntriesHaveWhatEveryClientReads) {
  for (const auto& item : listOf(DataSet::builtIn().themeList(), "themeItems"))
    for (const auto& icon : item.at("icons").as_array())
      for (const auto* member : {"contentType", "theme", "url"}) EXPECT_TRUE(icon.at(member).is_string());
}

TEST(DataSetTest, BuiltInTypesMayLackLayouts) {
  const auto data = DataSet::builtIn();
  EXPECT_NE(data.searchLayout("Account"), nullptr);
  EXPECT_NE(data.compactLayout("Account"), nullptr);
  EXPECT_EQ(data.searchLayout("Folder"), nullptr);
  EXPECT_EQ(data.compactLayout("Folder"), nullptr);
  EXPECT_EQ(data.searchLayout("account"), nullptr);
  EXPECT_EQ(data.compactLayout(""), nullptr);
}

TEST(DataSetTest, BuiltInTypesThatLayoutsReferToExist) {
  const auto data = DataSet::builtIn();
  const auto types = listOf(data.objectList(), "sobjects");
  std::size_t references = 0;
  for (const auto& type : types) {
    const auto* layout = data.compactLayout(std::string(type.at("name").as_string()));
    if (!layout) continue;
    const auto parsed = json::parse(*layout);
    for (const auto& item : parsed.at("fieldItems").as_array())
      for (const auto& component : item.at("layoutComponents").as_array()) {
        if (!component.as_object().contains("details")) continue;
        for (const auto& target : component.at("details").at("referenceTo").as_array()) {
          EXPECT_FALSE(entryOf(types, std::string(target.as_string())).empty());
          ++references;
        }
      }
  }
  EXPECT_GT(references, 20U);
}

TEST(DataSetTest, BuiltInHasTwelveListViewsAndOneNameFieldPerTypeAtMost) {
  const auto data = DataSet::builtIn();
  ASSERT_NE(data.table("listview"), nullptr);
  EXPECT_EQ(data.table("ListView")->rows.size(), 12U);
  std::map<FieldValue, int> nameFields;
  for (const auto& row : data.table("FieldDefinition")->rows)
    if (row.values[2] == FieldValue(true)) ++nameFields[row.values[1]];
  EXPECT_EQ(nameFields.size(), 40U);
  for (const auto& [type, count] : nameFields) EXPECT_EQ(count, 1) << std::get<std::string>(type);
  EXPECT_EQ(data.table("Account"), nullptr);
}

TEST(DataSetTest, GeneratesOneKilobytePerDescribeEntry) {
  const auto data = DataSet::generated(2000);
  const auto types = listOf(data.objectList(), "sobjects");
  EXPECT_EQ(types.size(), 2000U);
  EXPECT_EQ(entryOf(types, "Record00002").size(), 28U);
  EXPECT_GT(data.objectList().size(), 2'100'000U);
  EXPECT_LT(data.objectList().size(), 2'250'000U);
}

TEST(DataSetTest, GeneratesEverythingForEachType) {
  const auto data = DataSet::generated(100);
  const auto items = listOf(data.themeList(), "themeItems");
  EXPECT_EQ(items.size(), 100U);
  for (const auto& item : items) {
    EXPECT_EQ(item.at("icons").as_array().size(), 6U);
    EXPECT_EQ(item.at("colors").as_array().size(), 2U);
    const std::string name(item.at("name").as_string());
    ASSERT_NE(data.searchLayout(name), nullptr);
    EXPECT_EQ(json::parse(*data.searchLayout(name)).at("objectType").as_string(), json::string_view(name));
    ASSERT_NE(data.compactLayout(name), nullptr);
    EXPECT_EQ(json::parse(*data.compactLayout(name)).at("objectType").as_string(), json::string_view(name));
  }
  EXPECT_EQ(data.table("ListView")->rows.size(), 50U);
  EXPECT_EQ(data.table("FieldDefinition")->rows.size(), 500U);
}

TEST(DataSetTest, GeneratesTheSameEachTime) {
  const auto one = DataSet::generated(50);
  const auto other = DataSet::generated(50);
  EXPECT_EQ(one.objectList(), other.objectList());
  EXPECT_EQ(one.themeList(), other.themeList());
  EXPECT_EQ(*one.compactLayout("Record00049"), *other.compactLayout("Record00049"));
}

TEST(DataSetTest, GeneratesKeyPrefixesOfThreeCharactersEachOnce) {
  std::set<std::string> prefixes;
  const auto data = DataSet::generated(5000);
  for (const auto& type : listOf(data.objectList(), "sobjects")) {
    const std::string prefix(type.at("keyPrefix").as_string());
    EXPECT_EQ(prefix.size(), 3U);
    EXPECT_TRUE(prefixes.insert(prefix).second) << prefix;
  }
  EXPECT_TRUE(prefixes.contains("005"));
  EXPECT_TRUE(prefixes.contains("00B"));
}

TEST(DataSetTest, GeneratesAlsoNothingAndASingleType) {
  EXPECT_TRUE(listOf(DataSet::generated(0).objectList(), "sobjects").empty());
  EXPECT_TRUE(DataSet::generated(0).table("ListView")->rows.empty());
  const auto one = DataSet::generated(1);
  EXPECT_EQ(listOf(one.objectList(), "sobjects").size(), 1U);
  EXPECT_NE(one.compactLayout("User"), nullptr);
}

TEST(DataSetTest, ReadsAFolder) {
  const DataFolder folder;
  const auto data = folder.load();
  ASSERT_TRUE(data) << data.error().localizedDescription();
  EXPECT_EQ(entryOf(listOf(data.value().objectList(), "sobjects"), "Thing").at("keyPrefix"), "t01");
  EXPECT_EQ(data.value().themeList().view(), R"({"themeItems":[{"name":"Thing","icons":[]}]})");
  EXPECT_EQ(*data.value().searchLayout("Thing"), R"({"objectType":"Thing","searchColumns":[]})");
  EXPECT_EQ(*data.value().compactLayout("Thing"), R"({"objectType":"Thing","fieldItems":[]})");
  EXPECT_EQ(data.value().table("ListView")->rows.size(), 1U);
  EXPECT_EQ(data.value().table("FieldDefinition")->rows.size(), 2U);
}

TEST(DataSetTest, TellsOfAMissingFile) {
  const DataFolder folder;
  std::filesystem::remove(folder.file("themes.json"));
  EXPECT_EQ(folder.loadError(), "cannot read " + folder.file("themes.json").string());
}

TEST(DataSetTest, TellsOfAFolderInPlaceOfAFile) {
  const DataFolder folder;
  std::filesystem::remove(folder.file("themes.json"));
  std::filesystem::create_directory(folder.file("themes.json"));
  EXPECT_EQ(folder.loadError(), "cannot read " + folder.file("themes.json").string());
}

TEST(DataSetTest, TellsWhereAFileIsNotJson) {
  const DataFolder folder;
  folder.write("objects.json", "[{},]");
  EXPECT_TRUE(folder.loadError().starts_with("objects.json: not valid JSON at byte 4: "))
      << folder.loadError();
  folder.write("objects.json", "[");
  EXPECT_TRUE(folder.loadError().starts_with("objects.json: not valid JSON at byte 1: "))
      << folder.loadError();
}

TEST(DataSetTest, TellsWhatAnEntryLacks) {
  const DataFolder folder;
  folder.write("fields.json", R"([{"object": "Thing", "fields": "Id"}])");
  EXPECT_EQ(folder.loadError(), R"(fields.json: entry 0 has no array "fields")");
  folder.write("fields.json", R"([{"object": "Thing", "fields": [1]}])");
  EXPECT_EQ(folder.loadError(), "fields.json: entry 0 has a field that is not a text");
  folder.write("list-views.json", "[7]");
  EXPECT_EQ(folder.loadError(), "list-views.json: entry 0 is not an object");
  folder.write("compact-layouts.json", R"({"Thing": {}})");
  EXPECT_EQ(folder.loadError(), "compact-layouts.json: not an array");
  folder.write("search-layouts.json", R"([{"objectType": "Thing"}, {}])");
  EXPECT_EQ(folder.loadError(), R"(search-layouts.json: entry 1 has no text "objectType")");
  folder.write("themes.json", R"([{"name": null}])");
  EXPECT_EQ(folder.loadError(), R"(themes.json: entry 0 has no text "name")");
  folder.write("objects.json", R"([{"name": "Thing", "label": "Thing"}])");
  EXPECT_EQ(folder.loadError(), R"(objects.json: entry 0 has no text "labelPlural")");
}

}  // namespace
}  // namespace vellora::recordsserver
