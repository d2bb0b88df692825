#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "bindings/c/ForeignTable.h"
#include "bindings/c/vellora.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::capi {

/// The cache of a host that gives a table of functions.
///
/// Ownership: shares the table with the tables of rows that it has handed out.
///
/// Threads, Errors: as the table's functions.
class ForeignCache final : public CorvaneSDK::Cache {
 public:
  using Functions = ForeignTable<vellora_cache>;

  explicit ForeignCache(std::shared_ptr<const Functions> functions) : functions_(std::move(functions)) {}

  [[nodiscard]] std::optional<Data> load(const std::string& key) override;
  bool save(const Data& data, const std::string& key) override;
  bool remove(const std::string& key) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override;
  [[nodiscard]] std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override;

 private:
  const std::shared_ptr<const Functions> functions_;
};

}  // namespace vellora::capi
