#include "tests/faults/CallNames.h"

#include <array>
#include <map>
#include <string_view>

namespace vellora::faults {

using testkit::HostCall;
using Operation = HostCall::Operation;

namespace {

struct Renaming {
  std::string_view begin;
  std::string_view name;
  bool keepsRest;  ///< what follows names the entry
};

/// Of what is asked for; the first that fits counts.
constexpr std::array renamings = {
    Renaming{"/services/data/v50.0/theme", "themes", false},
    Renaming{"/services/data/v50.0/sobjects", "types", false},
    Renaming{"/services/data/v50.0/query?", "list view", false},
    Renaming{"/services/data/v50.0/search/layout?", "search layouts", false},
    Renaming{"/services/data/v53.0/compactLayouts?", "compact layouts", false},
    Renaming{"/services/data/v53.0/query?", "name fields", false},
    Renaming{"ops.theme.fetch.timestamp", "time of themes", false},
    Renaming{"ops.sobject.fetch.timestamp", "time of types", false},
    Renaming{"OPS_Layout_", "search layout ", true},
    Renaming{"OPS_CompactLayout_", "compact layout ", true},
    Renaming{"OPS_ThemesCacheTable cacheEntryType=themes", "theme list", false},
    Renaming{"OPS_ThemesCacheTable cacheEntryType=theme name=", "theme ", true},
    Renaming{"OPS_ThemesCacheTable cacheEntryType=theme", "theme rows", false},
    Renaming{"OPS_ThemesCacheTable", "theme table", false},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=sObjects", "type list", false},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=sObject name=", "type ", true},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=sObject", "type rows", false},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=keyPrefixes", "prefix list", false},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=keyPrefix keyPrefix=", "prefix ", true},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=keyPrefix", "prefix rows", false},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=listView id=", "list view ", true},
    Renaming{"OPS_SObjectsCacheTable cacheEntryType=listView", "list view rows", false},
    Renaming{"OPS_SObjectsCacheTable", "type table", false},
};

std::string nameOf(std::string_view subject) {
  for (const auto& [begin, name, keepsRest] : renamings) {
    if (!subject.starts_with(begin)) continue;
    return std::string(name).append(keepsRest ? subject.substr(begin.size()) : "");
  }
  return std::string(subject);
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
  return std::string(verbOf(call.operation)).append(nameOf(call.subject));
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
