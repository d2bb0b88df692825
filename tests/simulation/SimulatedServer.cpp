#include "tests/simulation/SimulatedServer.h"

#include <algorithm>
#include <cctype>
#include <map>

namespace vellora::simulation {

namespace {

using Type = SimulatedServer::Type;

// Appends, since g++ 12 warns of overlaps that are none where short literals are added to strings.
std::string enclosed(std::string_view before, std::string_view text, std::string_view behind) {
  return std::string(before).append(text).append(behind);
}

std::string quoted(std::string_view text) {
  return enclosed("\"", text, "\"");
}

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text.append(text.empty() ? "" : ",").append(part);
  return text;
}

template <class Describe>
std::string each(const std::vector<const Type*>& types, Describe describe) {
  std::vector<std::string> parts;
  for (const auto* type : types) parts.push_back(describe(*type));
  return joined(parts);
}

std::vector<const Type*> allTypes() {
  std::vector<const Type*> all;
  for (const auto& type : SimulatedServer::types()) all.push_back(&type);
  return all;
}

/// The types with layouts among those that a query lists; a name that comes twice is described twice.
std::vector<const Type*> laidOutTypesIn(std::string_view url) {
  std::vector<const Type*> asked;
  std::string names(url.substr(url.find("q=") + 2));
  std::replace(names.begin(), names.end(), ',', '\n');
  for (std::size_t from = 0; from <= names.size();) {
    const auto to = std::min(names.find('\n', from), names.size());
    const auto* type = SimulatedServer::named(std::string_view(names).substr(from, to - from));
    if (type && type->laidOut) asked.push_back(type);
    from = to + 1;
  }
  return asked;
}

std::string idIn(std::string_view url) {
  const auto from = url.find('\'') + 1;
  return std::string(url.substr(from, url.rfind('\'') - from));
}

std::string describeEntry(const Type& type, int revision) {
  return R"({"name":)" + quoted(type.name) +
         (type.keyPrefix.empty() ? "" : R"(,"keyPrefix":)" + quoted(type.keyPrefix)) + R"(,"label":)" +
         quoted(SimulatedServer::mark(type.name, SimulatedServer::sObjectMark, revision)) +
         R"(,"labelPlural":"many","createable":true,"queryable":false})";
}

std::string themeEntry(const Type& type, int revision) {
  const auto mark = SimulatedServer::mark(type.name, SimulatedServer::themeMark, revision);
  return R"({"name":)" + quoted(type.name) + R"(,"colors":[{"color":)" + quoted(mark) +
         R"(,"context":"primary","theme":"light"}],"icons":[{"contentType":"image/svg+xml","theme":"light","url":)" +
         quoted(mark + ".svg") + R"(},{"contentType":"image/png","theme":"light","width":16,"url":)" +
         quoted(mark + ".png") + "}]}";
}

std::string searchEntry(const Type& type, int revision) {
  return R"({"objectType":)" + quoted(type.name) +
         R"(,"searchColumns":[{"name":"Name","field":"Name","label":)" +
         quoted(SimulatedServer::mark(type.name, SimulatedServer::searchMark, revision)) + "}]}";
}

std::string fieldItem(const std::string& label, const std::string& value, const std::string& details) {
  return R"({"label":)" + quoted(label) + R"(,"layoutComponents":[{"value":)" + quoted(value) +
         R"(,"details":{)" + details + R"(,"label":"own","htmlFormatted":false}}]})";
}

std::string compactEntry(const Type& type, int revision) {
  const auto mark = SimulatedServer::mark(type.name, SimulatedServer::compactMark, revision);
  auto items = fieldItem(mark, "Name", R"("referenceTo":[],"type":"string")");
  if (type.ownedByUser) {
    items += enclosed(
        ",",
        fieldItem(mark, "OwnerId", R"("referenceTo":["User"],"relationshipName":"Owner","type":"reference")"),
        "");
  }
  return quoted(type.name) + R"(:{"objectType":)" + quoted(type.name) + R"(,"fieldItems":[)" + items + "]}";
}

std::string listViewRows(const std::string& id) {
  if (id == "00Bnone") return R"({"records":[]})";
  const auto* listed = SimulatedServer::listedBy(id);
  return R"({"records":[{"Id":)" + quoted(id) +
         (listed ? R"(,"SobjectType":)" + quoted(listed->name) : std::string()) + "}]}";
}

bool isWordCharacter(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0;
}

}  // namespace

const std::vector<Type>& SimulatedServer::types() {
  static const std::vector<Type> all{
      {.name = "Account", .keyPrefix = "001", .themed = true, .laidOut = true, .ownedByUser = true},
      {.name = "Contact", .keyPrefix = "003", .themed = true, .laidOut = true, .ownedByUser = true},
      {.name = "Order", .keyPrefix = "801", .laidOut = true},
      {.name = "Note", .keyPrefix = "", .themed = true},
      {.name = "ListView", .keyPrefix = "00B", .themed = true},
      {.name = "User", .keyPrefix = "005", .themed = true, .laidOut = true},
  };
  return all;
}

const Type* SimulatedServer::named(std::string_view name) {
  const auto& all = types();
  const auto found =
      std::find_if(all.begin(), all.end(), [&](const Type& type) { return type.name == name; });
  return found == all.end() ? nullptr : &*found;
}

const Type* SimulatedServer::withPrefixOf(std::string_view id) {
  const auto& all = types();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Type& type) {
    return !type.keyPrefix.empty() && type.keyPrefix == id.substr(0, 3);
  });
  return found == all.end() ? nullptr : &*found;
}

const Type* SimulatedServer::listedBy(std::string_view id) {
  static const std::map<std::string, std::string, std::less<>> listed{{"00Baccounts", "Account"},
                                                                      {"00Borders", "Order"}};
  const auto found = listed.find(id);
  return found == listed.end() ? nullptr : named(found->second);
}

std::optional<SimulatedServer::Endpoint> SimulatedServer::endpointOf(std::string_view url) {
  if (url == "/services/data/v50.0/sobjects") return Endpoint::sObjects;
  if (url == "/services/data/v50.0/theme") return Endpoint::themes;
  if (url.starts_with("/services/data/v50.0/query?q=SELECT%20Id,SobjectType")) return Endpoint::listView;
  if (url.starts_with("/services/data/v50.0/search/layout?q=")) return Endpoint::searchLayouts;
  if (url.starts_with("/services/data/v53.0/compactLayouts?q=")) return Endpoint::compactLayouts;
  if (url.starts_with("/services/data/v53.0/query?q=SELECT%20EntityDefinition.")) return Endpoint::nameFields;
  return std::nullopt;
}

std::string SimulatedServer::body(Endpoint endpoint, std::string_view url, int revision) {
  switch (endpoint) {
    case Endpoint::sObjects:
      return R"({"encoding":"UTF-8","sobjects":[)" +
             each(allTypes(), [&](const Type& type) { return describeEntry(type, revision); }) + "]}";
    case Endpoint::themes: {
      auto themed = allTypes();
      std::erase_if(themed, [](const Type* type) { return !type->themed; });
      return R"({"themeItems":[)" +
             each(themed, [&](const Type& type) { return themeEntry(type, revision); }) + "]}";
    }
    case Endpoint::listView:
      return listViewRows(idIn(url));
    case Endpoint::searchLayouts:
      return enclosed(
          "[", each(laidOutTypesIn(url), [&](const Type& type) { return searchEntry(type, revision); }), "]");
    case Endpoint::compactLayouts:
      return enclosed(
          "{", each(laidOutTypesIn(url), [&](const Type& type) { return compactEntry(type, revision); }),
          "}");
    case Endpoint::nameFields:
      return url.find("'User'") == std::string_view::npos
                 ? R"({"records":[]})"
                 : R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},"QualifiedApiName":"Name"}]})";
  }
  return {};
}

std::string SimulatedServer::mark(std::string_view name, Mark kind, int revision) {
  return std::string(name) + static_cast<char>(kind) + std::to_string(revision);
}

std::set<std::string> SimulatedServer::marksIn(std::string_view text) {
  std::set<std::string> marks;
  for (auto at = text.find_first_of("#~^@"); at != std::string_view::npos;
       at = text.find_first_of("#~^@", at + 1)) {
    auto from = at;
    auto to = at + 1;
    while (from > 0 && isWordCharacter(text[from - 1])) --from;
    while (to < text.size() && isWordCharacter(text[to])) ++to;
    marks.emplace(text.substr(from, to - from));
  }
  return marks;
}

std::optional<int> SimulatedServer::revisionIn(const std::optional<std::string>& mark, std::string_view name,
                                               Mark kind) {
  const auto start = std::string(name) + static_cast<char>(kind);
  if (!mark || !mark->starts_with(start)) return std::nullopt;
  return std::atoi(mark->c_str() + start.size());
}

SObject SimulatedServer::sObject(const Type& type, int revision) {
  return {type.name, type.keyPrefix.empty() ? std::nullopt : std::optional(type.keyPrefix),
          mark(type.name, sObjectMark, revision), "many", true};
}

PresentationInfo SimulatedServer::presentation(const Type& type, int revision,
                                               std::optional<int> themeRevision) {
  PresentationInfo info(std::nullopt, sObject(type, revision), "light");
  if (!themeRevision) return info;
  info.color = mark(type.name, themeMark, *themeRevision);
  info.svgIconUrl = *info.color + ".svg";
  info.smallIconUrl = *info.color + ".png";
  info.largeIconUrl = *info.color + ".png";
  return info;
}

ObjectLayoutInfo SimulatedServer::searchLayout(const Type& type, int revision) {
  return {type.name, {{"Name", mark(type.name, searchMark, revision), std::nullopt, "Name"}}};
}

ObjectCompactLayoutInfo SimulatedServer::compactLayout(const Type& type, int revision,
                                                       bool referencesResolved) {
  const auto label = mark(type.name, compactMark, revision);
  ObjectCompactLayoutInfo info{{}, type.name};
  info.layoutFields.push_back(std::make_shared<CompactLayoutField>(
      CompactLayoutField::Content{.apiName = "Name", .fieldType = "string", .label = label}));
  if (type.ownedByUser) {
    info.layoutFields.push_back(std::make_shared<CompactLayoutField>(
        CompactLayoutField::Content{.apiName = referencesResolved ? "Owner.Name" : "OwnerId",
                                    .fieldType = "reference",
                                    .label = label,
                                    .referenceTo = "User",
                                    .relationshipName = "Owner"}));
  }
  return info;
}

std::string SimulatedServer::keyPrefixes() {
  std::map<std::string, std::string> names;
  for (const auto& type : types()) {
    if (!type.keyPrefix.empty()) names[type.keyPrefix] = type.name;
  }
  std::vector<std::string> members;
  for (const auto& [prefix, name] : names) members.push_back(enclosed(quoted(prefix), ":", quoted(name)));
  return enclosed("{", joined(members), "}");
}

}  // namespace vellora::simulation
