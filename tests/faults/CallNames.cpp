#include "tests/faults/CallNames.h"

#include <map>
#include <string_view>

namespace vellora::faults {

using testkit::HostCall;
using Operation = HostCall::Operation;

namespace {

struct Renaming {
  std::string_view begin;
  std::string_view name;
  bool keepsRest = false;  ///< what follows names the entry
};

/// Of what is asked for; the first that fits counts.
constexpr Renaming renamings[] = {
    {.begin = "/services/data/v50.0/theme", .name = "themes"},
    {.begin = "/services/data/v50.0/sobjects", .name = "types"},
    {.begin = "/services/data/v50.0/query?", .name = "list view"},
    {.begin = "/services/data/v50.0/search/layout?", .name = "search layouts"},
    {.begin = "/services/data/v53.0/compactLayouts?", .name = "compact layouts"},
    {.begin = "/services/data/v53.0/query?", .name = "name fields"},
    {.begin = "ops.theme.fetch.timestamp", .name = "time of themes"},
    {.begin = "ops.sobject.fetch.timestamp", .name = "time of types"},
    {.begin = "OPS_Layout_", .name = "search layout ", .keepsRest = true},
    {.begin = "OPS_CompactLayout_", .name = "compact layout ", .keepsRest = true},
    {.begin = "OPS_ThemesCacheTable cacheEntryType=themes", .name = "theme list"},
    {.begin = "OPS_ThemesCacheTable cacheEntryType=theme name=", .name = "theme ", .keepsRest = true},
    {.begin = "OPS_ThemesCacheTable cacheEntryType=theme", .name = "theme rows"},
    {.begin = "OPS_ThemesCacheTable", .name = "theme table"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=sObjects", .name = "type list"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=sObject name=", .name = "type ", .keepsRest = true},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=sObject", .name = "type rows"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keyPrefixes", .name = "prefix list"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keyPrefix keyPrefix=",
     .name = "prefix ",
     .keepsRest = true},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keyPrefix", .name = "prefix rows"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=listView id=", .name = "list view ", .keepsRest = true},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=listView", .name = "list view rows"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keptBodyKey", .name = "key of bodies"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keptBody request=", .name = "kept body"},
    {.begin = "OPS_SObjectsCacheTable bytes=", .name = "kept body"},
    {.begin = "OPS_SObjectsCacheTable cacheEntryType=keptBody", .name = "kept bodies"},
    {.begin = "OPS_SObjectsCacheTable", .name = "type table"},
};

std::string nameOf(std::string_view target) {
  for (const auto& [begin, name, keepsRest] : renamings) {
    if (!target.starts_with(begin)) continue;
    return std::string(name).append(keepsRest ? target.substr(begin.size()) : "");
  }
  return std::string(target);
}

std::string_view verbOf(Operation operation) {
  switch (operation) {
    case Operation::sendRequest:
      return "GET ";
    case Operation::load:
    case Operation::tableLoad:
      return "read ";
    case Operation::save:
    case Operation::tableUpsert:
      return "write ";
    case Operation::remove:
    case Operation::tablePurge:
      return "remove ";
    case Operation::openTable:
      return "open ";
    case Operation::createTable:
      return "create ";
    case Operation::tableFetch:
      return "find ";
    case Operation::log:
      break;
  }
  return "log ";
}

}  // namespace

std::string nameOf(const HostCall& call) {
  if (call.operation == Operation::log) return "log";
  return std::string(verbOf(call.operation)).append(nameOf(call.target()));
}

std::vector<std::string> namesOf(const std::vector<HostCall>& calls) {
  std::map<std::string, int> counts;
  std::vector<std::string> names;
  for (const auto& call : calls) {
    std::string name = nameOf(call);
    const int count = ++counts[name];
    names.push_back(count == 1 ? name : name + " #" + std::to_string(count));
  }
  return names;
}

}  // namespace vellora::faults
