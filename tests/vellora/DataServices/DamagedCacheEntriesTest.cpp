#include <functional>

#include "testkit/FailingCache.h"
#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/vellora/DataServices/DamagedJson.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/ThemeDataService.h"
#include "vellora/Host/CacheTable.h"

// Each kind of cached entry is cut at every byte, and has each member replaced by each JSON type. The damage
// is reported, the entry counts as absent, and nothing is written in its place.

namespace vellora {
namespace {

using CorvaneSDK::Meta;
using testkit::StubNetwork;
using tests::JsonMember;
using Need = JsonMember::Need;

constexpr const char* objectsTable = "OPS_SObjectsCacheTable";
constexpr const char* themesTable = "OPS_ThemesCacheTable";
constexpr const char* themesUrl = "/services/data/v50.0/theme";

/// A kind of cached entry: a row of `table` with `meta`, or the blob `key`.
struct Cached {
  std::string name;
  std::string table = {};
  Meta meta = {};
  std::string key = {};
  std::string text;
  std::vector<JsonMember> members;
  std::function<void(const RequiredAPI&, tests::ManualQueues&)> ask;  ///< a lookup that reads it
  std::vector<std::string> errorLines;     ///< about a damaged one; REASON stands for what the reader said
  std::vector<std::string> requests = {};  ///< what is asked for in its place
};

void PrintTo(const Cached& cached, std::ostream* out) {
  *out << cached.name;
}

auto askForName(const std::string& name) {
  return [name](const RequiredAPI& api, tests::ManualQueues& queues) {
    const auto service = std::make_shared<SObjectsDataService>(api, 300);
    const auto token = service->sObjectsForNames({name}).sink([](const auto&) {}, [](const auto&) {});
    queues.runAll();
  };
}

auto askForId(const std::string& id) {
  return [id](const RequiredAPI& api, tests::ManualQueues& queues) {
    const auto service = std::make_shared<SObjectsDataService>(api, 300);
    const auto token = service->sObjectsForIds({id}).sink([](const auto&) {}, [](const auto&) {});
    queues.runAll();
  };
}

void askForTheme(const RequiredAPI& api, tests::ManualQueues& queues) {
  const auto service = std::make_shared<ThemeDataService>(api, 300);
  const auto token = service->themes({"Account"}).sink([](const auto&) {}, [](const auto&) {});
  queues.runAll();
}

void askForSearchLayout(const RequiredAPI& api, tests::ManualQueues&) {
  std::make_shared<LayoutDataService>(api, 300)->layoutForApiName({"Account"}, nullptr);
}

void askForCompactLayout(const RequiredAPI& api, tests::ManualQueues&) {
  std::make_shared<CompactLayoutDataService>(api, 300)->compactLayoutForApiName({"Account"}, nullptr);
}

std::vector<JsonMember> objectMembers(const std::string& at) {
  return {{at, "an object"},
          {at + "/name", "a string"},
          {at + "/keyPrefix", "a string", Need::optional},
          {at + "/label", "a string"},
          {at + "/labelPlural", "a string"},
          {at + "/createable", "a boolean"}};
}

std::vector<JsonMember> themeMembers(const std::string& at) {
  return {{at, "an object"},
          {at + "/name", "a string"},
          {at + "/colors", "an array", Need::optional},
          {at + "/colors/0", "an object"},
          {at + "/colors/0/color", "a string"},
          {at + "/colors/0/context", "a string"},
          {at + "/colors/0/theme", "a string"},
          {at + "/icons", "an array"},
          {at + "/icons/0", "an object"},
          {at + "/icons/0/contentType", "a string"},
          {at + "/icons/0/theme", "a string"},
          {at + "/icons/0/url", "a string"},
          {at + "/icons/0/width", "an integer", Need::optional}};
}

/// When the fields do not decode, the reader tries the server's form next; so the error is about that form.
std::vector<JsonMember> compactLayoutMembers() {
  const std::string fields = "/compactLayout/layoutFields";
  const std::string reason = R"(missing key "fieldItems" at $.compactLayout)";
  return {{"/compactLayout", "an object"},
          {"/compactLayout/objectType", "a string"},
          {fields, "an array", Need::required, reason},
          {fields + "/0", "an object", Need::required, reason},
          {fields + "/0/apiName", "a string", Need::required, reason},
          {fields + "/0/fieldType", "a string", Need::required, reason},
          {fields + "/0/label", "a string", Need::required, reason},
          {fields + "/0/referenceTo", "a string", Need::optional, reason},
          {fields + "/0/relationshipName", "a string", Need::optional, reason},
          {fields + "/0/htmlFormatted", "a boolean", Need::required, reason},
          {fields + "/0/layoutFields", "an array", Need::optional, reason},
          {"/downloadedTime", "a number"}};
}

constexpr const char* object =
    R"({"name":"Account","keyPrefix":"001","label":"é","labelPlural":"Accounts","createable":true})";
constexpr const char* contacts =
    R"([{"name":"Contact","keyPrefix":"003","label":"c","labelPlural":"cs","createable":false}])";
constexpr const char* theme =
    R"({"name":"Account","colors":[{"color":"FF0000","context":"primary","theme":"light"}],)"
    R"("icons":[{"contentType":"image/png","theme":"light","url":"a.png","width":16}]})";

Cached cachedObjectList() {
  return {.name = "ObjectList",
          .table = objectsTable,
          .meta = {{"cacheEntryType", "sObjects"}},
          .text = contacts,
          .members = objectMembers("/0"),
          .ask = askForName("Contact"),
          .errorLines = {"cachedSObjects(): Failed to decode: REASON"},
          .requests = {listUrl}};
}

Cached cachedObject() {
  return {.name = "Object",
          .table = objectsTable,
          .meta = {{"cacheEntryType", "sObject"}, {"name", "Account"}},
          .text = object,
          .members = objectMembers(""),
          .ask = askForName("Account"),
          .errorLines = {"cachedSObject(for:): Failed to decode: REASON"},
          .requests = {listUrl}};
}

/// An id's prefix is looked up for its type, and again to see whether that is the list view.
std::vector<std::string> twice(const std::string& line) {
  return {line, line};
}

Cached cachedKeyPrefixes() {
  return {
      .name = "KeyPrefixes",
      .table = objectsTable,
      .meta = {{"cacheEntryType", "keyPrefixes"}},
      .text = R"({"001":"Account"})",
      .members = {{"", "an object"}, {"/001", "a string", Need::dynamic, R"(expected a string at $["001"])"}},
      .ask = askForId("001x"),
      .errorLines = twice("cachedKeyPrefixes(): Failed to decode: REASON")};
}

Cached cachedKeyPrefix() {
  return {.name = "KeyPrefix",
          .table = objectsTable,
          .meta = {{"cacheEntryType", "keyPrefix"}, {"keyPrefix", "001"}},
          .text = R"("Account")",
          .members = {{"", "a string"}},
          .ask = askForId("001x"),
          .errorLines = twice("cachedName(for:): Failed to decode: REASON")};
}

Cached cachedListView() {
  return {.name = "ListView",
          .table = objectsTable,
          .meta = {{"cacheEntryType", "listView"}, {"id", "00Bxx"}},
          .text = R"("Account")",
          .members = {{"", "a string"}},
          .ask = askForId("00Bxx"),
          .errorLines = {"cachedListViewType(for:): Failed to decode: REASON"},
          .requests = {queryUrl("00Bxx")}};
}

Cached cachedThemeList() {
  return {.name = "ThemeList",
          .table = themesTable,
          .meta = {{"cacheEntryType", "themes"}},
          .text = std::string("[") + theme + "]",
          .members = themeMembers("/0"),
          .ask = askForTheme,
          .errorLines = {"cachedThemes(): Failed to decode: REASON"},
          .requests = {themesUrl}};
}

Cached cachedTheme() {
  return {.name = "Theme",
          .table = themesTable,
          .meta = {{"cacheEntryType", "theme"}, {"name", "Account"}},
          .text = theme,
          .members = themeMembers(""),
          .ask = askForTheme,
          .errorLines = {"cachedTheme(for:): Failed to decode: REASON"},
          .requests = {themesUrl}};
}

Cached cachedSearchLayout() {
  return {.name = "SearchLayout",
          .key = "OPS_Layout_Account",
          .text =
              R"({"objectLayoutInfo":{"objectType":"Account","searchColumns":[{"name":"Name","label":"n",)"
              R"("format":"f","field":"Name"}]},"downloadedTime":721692800})",
          .members = {{"/objectLayoutInfo", "an object"},
                      {"/objectLayoutInfo/objectType", "a string"},
                      {"/objectLayoutInfo/searchColumns", "an array"},
                      {"/objectLayoutInfo/searchColumns/0", "an object"},
                      {"/objectLayoutInfo/searchColumns/0/name", "a string"},
                      {"/objectLayoutInfo/searchColumns/0/label", "a string"},
                      {"/objectLayoutInfo/searchColumns/0/format", "a string", Need::optional},
                      {"/objectLayoutInfo/searchColumns/0/field", "a string"},
                      {"/downloadedTime", "a number"}},
          .ask = askForSearchLayout,
          .errorLines = {"load(key:): Failed to decode: REASON"},
          .requests = {"/services/data/v50.0/search/layout?q=Account"}};
}

Cached cachedCompactLayout() {
  return {.name = "CompactLayout",
          .key = "OPS_CompactLayout_Account",
          .text = R"({"compactLayout":{"objectType":"Account","layoutFields":[{"apiName":"Owner.Name",)"
                  R"("fieldType":"reference","label":"o","referenceTo":"User","relationshipName":"Owner",)"
                  R"("htmlFormatted":false,"layoutFields":[]}]},"downloadedTime":721692800})",
          .members = compactLayoutMembers(),
          .ask = askForCompactLayout,
          .errorLines = {"load(key:): Failed to decode: REASON"},
          .requests = {"/services/data/v53.0/compactLayouts?q=Account"}};
}

class DamagedCacheEntriesTest : public testing::TestWithParam<Cached> {
 protected:
  /// Looks up what `text`, cached, says; the server never answers.
  void ask(const std::string& text) {
    const auto memory = std::make_shared<hostkit::MemoryCache>();
    const auto cache = std::make_shared<testkit::FailingCache>(memory);
    const auto network = std::make_shared<StubNetwork>();
    const auto logger = std::make_shared<testkit::RecordingLogger>();
    network->answerPrefix("/", StubNetwork::never());
    keepNeighbours(*memory);
    if (GetParam().key.empty()) {
      keep(*memory, GetParam().table, GetParam().meta, text);
    } else {
      memory->save(Data(text), GetParam().key);
    }
    GetParam().ask({network, cache, logger}, queues);
    errors = logger->texts(CorvaneSDK::LogLevel::error);
    requests = network->urls();
    written = tests::writesAmong(cache->calls());
  }

  static void keep(CorvaneSDK::Cache& cache, const std::string& table, const Meta& meta,
                   const std::string& text) {
    using CorvaneSDK::Table;
    cache.createTable(Table::emptyWithKey(table, Table::MaxAge::sevenDays))->upsert({Data(text), meta, {}});
  }

  /// What the lookups need besides.
  static void keepNeighbours(CorvaneSDK::Cache& cache) {
    keep(cache, objectsTable, {{"cacheEntryType", "keyPrefix"}, {"keyPrefix", "00B"}}, R"("ListView")");
    for (const std::string name : {"ListView", "Account"}) {
      keep(cache, objectsTable, {{"cacheEntryType", "sObject"}, {"name", name}},
           R"({"name":")" + name + R"(","label":"l","labelPlural":"ls","createable":false})");
    }
  }

  tests::TestClock clock;
  tests::ManualQueues queues;
  std::vector<std::string> errors;
  std::vector<std::string> requests;
  std::ptrdiff_t written = 0;
};

TEST_P(DamagedCacheEntriesTest, AWholeEntryIsTheAnswer) {
  ask(GetParam().text);
  EXPECT_THAT(errors, testing::IsEmpty());
  EXPECT_THAT(requests, testing::IsEmpty());
}

TEST_P(DamagedCacheEntriesTest, ADamagedEntryIsReportedAndCountsAsAbsent) {
  for (const auto& damage : tests::damages(GetParam().text, GetParam().members)) {
    SCOPED_TRACE(damage.what);
    ask(damage.text);
    if (damage.reason) {
      ASSERT_EQ(errors, tests::withReason(GetParam().errorLines, *damage.reason));
      ASSERT_EQ(requests, GetParam().requests);
      ASSERT_EQ(written, 0);
    } else {
      ASSERT_THAT(errors, testing::IsEmpty());
      ASSERT_THAT(requests, testing::IsEmpty());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, DamagedCacheEntriesTest,
                         testing::Values(cachedObjectList(), cachedObject(), cachedKeyPrefixes(),
                                         cachedKeyPrefix(), cachedListView(), cachedThemeList(),
                                         cachedTheme(), cachedSearchLayout(), cachedCompactLayout()),
                         [](const auto& cached) { return cached.param.name; });

}  // namespace
}  // namespace vellora
