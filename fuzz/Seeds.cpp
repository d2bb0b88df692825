#include "fuzz/Seeds.h"

#include <bit>
#include <boost/json.hpp>
#include <cstdint>
#include <optional>
#include <string_view>

#include "apps/records-server/Endpoints.h"
#include "hostkit/bodies/KeptBody.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/CompactLayoutResults.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Models/ObjectPresentationInfo.h"
#include "vellora/Models/SObjectsResponse.h"
#include "vellora/Models/ThemeResponse.h"

namespace vellora::fuzz {

namespace {

using Seeds = std::map<std::string, std::vector<std::string>>;
using recordsserver::DataSet;

const Date downloaded = Date::sinceReferenceDate(700'000'000.25);
constexpr const char* anyQuery = "/services/data/v50.0/query?q=";
constexpr const char* anyNameQuery = "/services/data/v53.0/query?q=";

std::string answerTo(const std::string& target) {
  return std::string(recordsserver::answerFor(target, DataSet::builtIn()).body.view());
}

template <class T>
std::string jsonOf(const T& value) {
  return std::string(json::encode(value).value().view());
}

template <class T>
T decoded(const std::string& text) {
  return json::decode<T>(Data(text)).value();
}

/// The body without most of the items of its list `key`: every fifth pair of them makes a body.
std::vector<std::string> slices(const std::string& body, std::string_view key) {
  std::vector<std::string> all;
  const auto whole = boost::json::parse(body).as_object();
  const auto& items = whole.at(key).as_array();
  for (std::size_t first = 0; first + 1 < items.size(); first += 10) {
    auto slice = whole;
    slice[key] = boost::json::array{items[first], items[first + 1]};
    all.push_back(boost::json::serialize(slice));
  }
  return all;
}

void addLists(Seeds& seeds) {
  seeds["ObjectListResponse"] = slices(answerTo("/services/data/v50.0/sobjects"), "sobjects");
  for (const auto& body : seeds["ObjectListResponse"]) {
    const auto list = decoded<SObjectsResponse>(body).sObjects;
    seeds["CachedObjectList"].push_back(jsonOf(list));
    seeds["CachedObject"].push_back(jsonOf(list.front()));
    seeds["CachedName"].push_back(jsonOf(list.front().name));
    std::map<std::string, std::string> names;
    for (const auto& object : list) names.emplace(object.keyPrefix.value_or("é"), object.name);
    seeds["CachedKeyPrefixes"].push_back(jsonOf(names));
  }
  seeds["ThemeResponse"] = slices(answerTo("/services/data/v50.0/theme"), "themeItems");
  for (const auto& body : seeds["ThemeResponse"]) {
    const auto list = decoded<ThemeResponse>(body).themeItems;
    seeds["CachedThemeList"].push_back(jsonOf(list));
    seeds["CachedTheme"].push_back(jsonOf(list.back()));
    const SObject object{list.front().name, "001", "one", "many", true};
    seeds["PresentationInfo"].push_back(jsonOf(PresentationInfo(list.front(), object, "light")));
    seeds["ObjectPresentationInfo"].push_back(
        jsonOf(ObjectPresentationInfo(list.front(), object, "dark", list.back(), object)));
  }
}

void addLayouts(Seeds& seeds) {
  for (const auto* names : {"Account,Contact", "Case", "Order,Invoice", "Vehicle", "Nothing"}) {
    const auto search = answerTo(std::string("/services/data/v50.0/search/layout?q=") + names);
    seeds["SearchLayoutResponse"].push_back(search);
    for (const auto& layout : decoded<std::vector<ObjectLayoutInfo>>(search))
      seeds["CachedSearchLayout"].push_back(jsonOf(ObjectLayoutInfoCacheEntry{layout, downloaded}));
    const auto compact = answerTo(std::string("/services/data/v53.0/compactLayouts?q=") + names);
    seeds["CompactLayoutResponse"].push_back(compact);
    for (const auto& layout : decoded<CompactLayoutResults>(compact).layouts)
      seeds["CachedCompactLayout"].push_back(jsonOf(CompactLayoutCacheEntry{layout, downloaded}));
  }
}

std::string listViewQuery(const std::string& id) {
  return "SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'" + id + "'";
}

std::string nameFieldQuery(const std::string& types) {
  return "SELECT%20EntityDefinition.QualifiedApiName,%20QualifiedApiName,%20IsNameField%20FROM%20"
         "FieldDefinition%20WHERE%20EntityDefinition.QualifiedApiName%20IN%20(" +
         types + ")%20AND%20IsNameField%20%3D%20true";
}

void addQueries(Seeds& seeds) {
  for (const auto* id : {"00B000000000001", "00B000000000003", "00B00000000000A", "nothing"})
    seeds["ListViewResponse"].push_back(answerTo(anyQuery + listViewQuery(id)));
  for (const auto* types : {"'User'", "'Account','Case'", "'Product','Vehicle','User'", "''"})
    seeds["NameFieldResponse"].push_back(answerTo(anyNameQuery + nameFieldQuery(types)));
}

void addUrls(Seeds& seeds) {
  seeds["Url"] = {"Account,Contact", "SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'",
                  "value a+b&c;d%20é #?[]", "http://user@[::1]:8080/path;a=b?c=d#e",
                  std::string("\0\xFF%%zz", 6)};
}

void addTimeStamps(Seeds& seeds) {
  for (const double seconds : {0.0, 1'700'000'000.0, 1'700'000'300.5, -1e300}) {
    const auto bits = std::bit_cast<std::uint64_t>(seconds);
    std::string bytes;
    for (unsigned shift = 0; shift < 64; shift += 8) bytes += static_cast<char>((bits >> shift) & 0xFFU);
    seeds["TimeStamp"].push_back(bytes);
  }
  seeds["TimeStamp"].push_back("1234567");
}

void addKeptBodies(Seeds& seeds) {
  const Data packed(std::string("\x1f\x8b\x08\0\0\0\0\0\x02\x03\x03\0\0\0\0\0\0\0\0\0", 20));
  const hostkit::KeptBody bodies[] = {
      {},
      {{{"etag", "\"1\""}, {"content-type", "application/json"}}, Data(seeds["ThemeResponse"].front())},
      {{{"etag", "W/\"1\""}, {"content-encoding", "gzip"}}, packed},
      {{{"last-modified", "Sun, 06 Nov 1994 08:49:37 GMT"}}, Data(std::string("[]"))}};
  for (const auto& body : bodies) seeds["KeptBody"].emplace_back(hostkit::storedForm(body, "request").view());
  seeds["KeptBody"].emplace_back("vellora-body 1 4294967295 99 short");
}

/// A line of a script, see `FacadeTarget.h`.
std::string line(std::string_view what, std::string_view rest) {
  return std::string(what).append(rest).append("\n");
}

void addFacades(Seeds& seeds) {
  const auto themes = line("T", seeds["ThemeResponse"].front());
  const auto lists = themes + line("O", seeds["ObjectListResponse"].front());
  const auto names = line("N", answerTo(anyNameQuery + nameFieldQuery("'User','Account'")));
  const auto search = line("S", seeds["SearchLayoutResponse"].front());
  const auto compact = line("C", seeds["CompactLayoutResponse"].front());
  const std::string objects =
      R"(O{"sobjects":[)"
      R"({"name":"ListView","keyPrefix":"00B","label":"v","labelPlural":"vs","createable":false},)"
      R"({"name":"Account","keyPrefix":"001","label":"a","labelPlural":"as","createable":true}]})"
      "\n";
  const auto views = line("Q", answerTo(anyQuery + listViewQuery("00B000000000001")));
  seeds["Facade"] = {
      lists + "a\ni001000000000009,zzz\na\nnAccount,Nothing\na\nt\ni001x\na\n",
      themes + objects + views + "a\ni00B000000000001,001y\na\ni00B000000000001\n",
      search + "sAccount,Contact\nsAccount\nt\nsAccount,Contact\nES\nsCase\n",
      compact + names + "cAccount,Contact\ncAccount\nt\nh\n" + compact +
          "cAccount\ncContact\nr\nr\nEN\ncCase\n",
      "h\n" + themes + objects + "nAccount\n1\n1\nr\nx\nnAccount\ni001\nr\nr\nh\nZTO\na\nt\ni001\na\n",
  };
}

}  // namespace

Seeds seeds() {
  Seeds all;
  addLists(all);
  addLayouts(all);
  addQueries(all);
  addUrls(all);
  addTimeStamps(all);
  addKeptBodies(all);
  addFacades(all);
  return all;
}

}  // namespace vellora::fuzz
