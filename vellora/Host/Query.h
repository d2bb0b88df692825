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
/// The library's own filters are all of these two kinds.
///
/// Ownership: a plain value; copies a predicate with what it captured.
///
/// Threads: immutable but for assignment; may be called from several threads at once if the predicate may.
///
/// Errors: none of its own, so a predicate must not throw. Making or copying one takes memory, and throws
/// `std::bad_alloc` when there is none.
class VELLORA_EXPORT RowFilter {
 public:
  /// Whether a row is admitted.
  using Predicate = std::function<bool(const Row&)>;

  /// Any predicate, which must not be empty. A table calls it only inside the `load`, `fetch` or `purge` that
  /// it was handed to.
  template <class P>
  requires std::is_invocable_r_v<bool, const P&, const Row&> RowFilter(P predicate)
      : condition_(Predicate(std::move(predicate))) {}  // NOLINT: converts on purpose

  /// Whether `row` is admitted.
  [[nodiscard]] bool operator()(const Row& row) const;

  /// The pairs that a row's meta must hold, when the filter is nothing but that; else null. Valid as long as
  /// the filter.
  [[nodiscard]] const Meta* metaPairs() const noexcept { return std::get_if<Meta>(&condition_); }

  /// The data key that a row must have, when the filter is nothing but that; else null. Valid as long as the
  /// filter.
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

/// Positions from `lower` up to, not including, `upper`, counted from 0. The default, `{}`, is all of them.
///
/// Ownership: a plain value.
struct VELLORA_EXPORT PositionRange {
  std::int64_t lower = 0;
  std::int64_t upper = std::numeric_limits<std::int64_t>::max();

  friend bool operator==(const PositionRange&, const PositionRange&) = default;
};

/// Selects rows of a table, for `CacheTable::load` and `CacheTable::fetch`.
///
///     table.load(Query::exact(metaEquals({{"cacheEntryType", "sObject"}, {"name", "Account"}})));
///     table.fetch(Query::oldest({0, 10}));  // the ten rows that were written longest ago
///     table.fetch(Query::oldest({}));       // all rows, the one that was written longest ago first
///
/// Ownership: a plain value; valid for as many calls as you like.
///
/// Threads: immutable but for assignment; may be used from several threads at once if its filter may.
///
/// Errors: none. A query that selects no row finds none. Making or copying one takes memory, as with its
/// filter.
class VELLORA_EXPORT Query {
 public:
  /// Every row that `filter` admits. Of rows with the same meta the one that was written last comes first,
  /// because the library takes the first row that it gets, and no other. Any other order is the host's
  /// choice.
  [[nodiscard]] static Query exact(RowFilter filter) { return {std::nullopt, std::move(filter)}; }

  /// Among the rows that `filter` admits (all when absent), those whose positions in oldest-first order fall
  /// in `range`; returned oldest first. A range whose `upper` is not above its `lower` selects none, the
  /// range `{}` selects all. Positions that no row has are ignored.
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
