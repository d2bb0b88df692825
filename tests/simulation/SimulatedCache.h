#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/simulation/World.h"
#include "vellora/Host/CacheEntry.h"
#include "vellora/Host/Query.h"
#include "vellora/Host/Row.h"

namespace vellora::simulation {

/// What the hosts of a world store, blobs and rows. Reads may give nothing, half of what was stored, or what
/// was stored before. Writes may be refused.
///
/// Every read is noted in the cause that it is made for. Every write is checked: what it holds must come from
/// what the host handed out for that cause.
class SimulatedCache {
 public:
  explicit SimulatedCache(World& world) : world_(world) {}

  [[nodiscard]] std::optional<Data> load(const std::string& key);
  bool save(const Data& data, const std::string& key);
  bool remove(const std::string& key);

  [[nodiscard]] bool hasTable(const std::string& tableKey) const { return tables_.contains(tableKey); }
  void createTable(const std::string& tableKey) { tables_[tableKey]; }
  [[nodiscard]] std::vector<Data> loadRows(const std::string& tableKey, const CorvaneSDK::Query& query);
  [[nodiscard]] std::vector<CorvaneSDK::Row> fetchRows(const std::string& tableKey,
                                                       const CorvaneSDK::Query& query);
  bool purge(const std::string& tableKey, const CorvaneSDK::RowFilter& filter);
  bool upsert(const std::string& tableKey, const CorvaneSDK::CacheEntry& entry);

  /// Whether the reads since the last call said of the tables, in this order, that each holds a list and that
  /// the list is fresh: what the library may conclude from them.
  [[nodiscard]] bool takeReadsSaidFresh();

  /// To be called when nothing runs: an expired search layout must have been removed by then, and each list
  /// that was written have been followed by one time stamp.
  void checkSettled();

 private:
  struct Stored {
    Data data;
    double savedAt = 0;
  };
  using History = std::vector<Stored>;
  struct StoredRow {
    CorvaneSDK::Row row;
    History history;
  };

  [[nodiscard]] bool isForCatalog() const;
  void keep(History& history, const Data& data) const;
  [[nodiscard]] std::optional<Stored> handOut(const History& history);
  void noteRow(const CorvaneSDK::Meta& meta, const std::optional<Stored>& handed) const;
  void noteLayout(const std::string& name, SimulatedServer::Mark kind, const std::optional<Stored>& handed,
                  const std::string& key);
  void checkRow(const CorvaneSDK::CacheEntry& entry) const;
  void checkBlob(const Data& data, const std::string& key) const;
  void checkMarks(const Data& data, SimulatedServer::Mark kind, std::string_view onlyName) const;

  World& world_;
  std::map<std::string, History> blobs_;
  std::map<std::string, std::vector<StoredRow>> tables_;  // rows in the order of their writing
  std::optional<std::string> mustBeRemoved_;
  std::vector<bool> freshnessReads_;
  int stampsOwed_ = 0;
  int rowsMade_ = 0;
};

}  // namespace vellora::simulation
