#pragma once

#include <memory>
#include <utility>

namespace vellora::capi {

/// A table of functions that a host has given, with its context. It calls the table's `destroy` when the last
/// who uses it lets go, but only once it has been kept: what is refused stays the host's.
///
/// Ownership: owns the context from `keep` on.
///
/// Threads: the functions decide. `keep` comes before anybody else has it.
template <class Table>
class ForeignTable {
 public:
  explicit ForeignTable(const Table& table) : table_(table) {}
  ~ForeignTable() {
    if (isKept_ && table_.destroy != nullptr) table_.destroy(table_.context);
  }
  ForeignTable(const ForeignTable&) = delete;
  ForeignTable& operator=(const ForeignTable&) = delete;

  /// From now on the context is ours, or, with false, the host's again.
  void keep(bool isKept = true) { isKept_ = isKept; }

  /// Calls `function` with the context.
  template <class Function, class... Arguments>
  auto call(Function function, Arguments... arguments) const {
    return function(table_.context, arguments...);
  }

  [[nodiscard]] const Table& operator*() const noexcept { return table_; }
  [[nodiscard]] const Table* operator->() const noexcept { return &table_; }

 private:
  const Table table_;
  bool isKept_ = false;
};

}  // namespace vellora::capi
