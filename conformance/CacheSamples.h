#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "vellora/Host/Cache.h"
#include "vellora/Host/CacheTable.h"

namespace vellora::conformance {

constexpr double sevenDays = 604'800;

constexpr const char* noClock = "its clock cannot be set";

inline Data blob(const std::string& text) {
  return Data(text);
}

inline CorvaneSDK::CacheEntry item(const std::string& name, const std::string& text,
                                   const std::optional<std::string>& dataKey = std::nullopt) {
  return {blob(text), {{"kind", "item"}, {"name", name}}, dataKey};
}

inline void addItems(CorvaneSDK::CacheTable& table, const std::vector<std::string>& itemNames) {
  for (const auto& name : itemNames) ASSERT_TRUE(table.upsert(item(name, "data of " + name)));
}

inline std::string everyByteValue() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes.push_back(static_cast<char>(byte));
  return bytes;
}

inline std::vector<std::string> names(const std::vector<CorvaneSDK::Row>& rows) {
  std::vector<std::string> all;
  for (const CorvaneSDK::Row& row : rows) {
    const auto name = row.meta.find("name");
    all.push_back(name == row.meta.end() ? "(no name)" : name->second);
  }
  return all;
}

inline CorvaneSDK::RowFilter everyRow() {
  return [](const CorvaneSDK::Row&) { return true; };
}

inline CorvaneSDK::RowFilter named(const std::string& name) {
  return [name](const CorvaneSDK::Row& row) {
    const auto found = row.meta.find("name");
    return found != row.meta.end() && found->second == name;
  };
}

inline CorvaneSDK::RowFilter keyed(const std::string& dataKey) {
  return [dataKey](const CorvaneSDK::Row& row) { return row.dataKey == dataKey; };
}

inline std::shared_ptr<CorvaneSDK::CacheTable> emptyTable(CorvaneSDK::Cache& cache,
                                                          const std::string& key = "Rows") {
  using CorvaneSDK::Table;
  return CorvaneSDK::CacheTable::create(cache, Table::emptyWithKey(key, Table::MaxAge::sevenDays));
}

}  // namespace vellora::conformance
