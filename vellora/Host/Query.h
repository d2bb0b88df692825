#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Export.h"

namespace CorvaneSDK {

/// A predicate on rows. Two kinds of filters can be answered from an index: `metaEquals`, which tells the
/// meta pairs that it compares, and `dataKeyEquals`, which tells the data key. A host that ignores this and
/// calls the filter for every row finds the same rows.
///
///     const RowFilter ofThemes = metaEquals({{"cacheEntryType", "theme"}});
///     const RowFilter ofSingleItems = [](const Row& row) { return row.meta.contains("name"); };
///
/// Ownership: a plain value; copies a predicate with what it captured.
///
/// Threads: may be called from several threads at once if the predicate may.
class VELLORA_EXPORT RowFilter {
 public:
  /// Whether a row is admitted.
  using Predicate = std::function<bool(const Row&)>;

  /// Any predicate; must not be empty, and is called only during the call that it is handed to.
  template <class P>
  requires std::is_invocable_r_v<bool, const P&, const Row&> RowFilter(P predicate)
      : condition_(Predicate(std::move(predicate))) {}  // NOLINT: converts on purpose

  /// Whether `row` is admitted.
  [[nodiscard]] bool operator()(const Row& row) const;

  /// The pairs that a row's meta must hold, when the filter is nothing but that; else null.
  [[nodiscard]] const Meta* metaPairs() const noexcept { return std::get_if<Meta>(&condition_); }

  /// The data key that a row must have, when the filter is nothing but that; else null.
  [[nodiscard]] const std::string* dataKey() const noexcept { return std::get_if<std::string>(&condition_); }

 private:
  friend VELLORA_EXPORT RowFilter metaEquals(Meta pairs);
  friend VELLORA_EXPORT RowFilter dataKeyEquals(std::string dataKey);

  using Condition = std::variant<Predicate, Meta, std::string>;
  explicit RowFilter(Condition condition) : condition_(std::move(condition)) {}

  Condition condition_;
};

/// Admits the rows whose meta holds every one of `pairs`; it may hold others besides. A row that lacks one of
/// the keys is not admitted. No pairs at all admit every row.
[[nodiscard]] VELLORA_EXPORT RowFilter metaEquals(Meta pairs);

/// Admits the one row of that data key.
[[nodiscard]] VELLORA_EXPORT RowFilter dataKeyEquals(std::string dataKey);

/// Positions from `lower` up to, not including, `upper`, counted from 0. The default is all of them.
struct VELLORA_EXPORT PositionRange {
  std::int64_t lower = 0;
  std::int64_t upper = std::numeric_limits<std::int64_t>::max();

  friend bool operator==(const PositionRange&, const PositionRange&) = default;
};

/// Selects rows of a table, for `CacheTable::load` and `CacheTable::fetch`.
///
///     table.load(Query::exact(metaEquals({{"cacheEntryType", "sObject"}, {"name", "Account"}})));
///     table.fetch(Query::oldest({0, 10}));  // the ten rows that were written longest ago
///
/// Ownership: a plain value; valid for as many calls as you like.
class VELLORA_EXPORT Query {
 public:
  /// Every row that `filter` admits, in an order of the host's choice.
  [[nodiscard]] static Query exact(RowFilter filter) { return {std::nullopt, std::move(filter)}; }

  /// Among the rows that `filter` admits (all when absent), those whose positions in oldest-first order fall
  /// in `range`; returned oldest first. An empty range selects none; positions past the end are ignored.
  [[nodiscard]] static Query oldest(PositionRange range, std::optional<RowFilter> filter = std::nullopt) {
    return {range, std::move(filter)};
  }

  /// The positions of an oldest-first query; absent for an exact one.
  [[nodiscard]] const std::optional<PositionRange>& oldestRange() const noexcept { return range_; }

  /// Which rows are looked at; absent when every row is admitted.
  [[nodiscard]] const std::optional<RowFilter>& filter() const noexcept { return filter_; }

 private:
  Query(std::optional<PositionRange> range, std::optional<RowFilter> filter)
      : range_(range), filter_(std::move(filter)) {}

  std::optional<PositionRange> range_;
  std::optional<RowFilter> filter_;
};

}  // namespace CorvaneSDK
