#pragma once

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "vellora/DataServices/NamedList.h"
#include "vellora/Platform/Values/Guarded.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What came of the fetch of a list for one lookup of several names, so that one fetch serves them all, also
/// where the cache has not kept the list.
///
/// Ownership: shared by the steps of the lookup.
///
/// Threads: safe to use from several threads at once.
template <class Record>
class FetchedOnce {
 public:
  using List = std::shared_ptr<const NamedList<Record>>;
  using Entry = std::optional<Record>;

  /// `known` is the list that was fetched before the lookup began; null when there is none.
  explicit FetchedOnce(List known)
      : list_(known ? std::optional<Result<List>>(std::move(known)) : std::nullopt) {}

  /// The entry of that name in what was fetched, or why there is none to look into; no value as long as
  /// nothing has come.
  [[nodiscard]] std::optional<Result<Entry>> named(const std::string& name) const {
    const auto list = list_.value();
    return list ? std::optional(in(*list, name)) : std::nullopt;
  }

  /// Takes note of what has come; the entry of that name in it.
  [[nodiscard]] Result<Entry> noted(Result<List> list, const std::string& name) {
    static_cast<void>(list_.exchange(list));
    return in(list, name);
  }

 private:
  [[nodiscard]] static Result<Entry> in(const Result<List>& list, const std::string& name) {
    if (!list) return list.error();
    const Record* entry = list.value()->firstNamed(name);
    return entry ? Entry(*entry) : Entry();
  }

  Guarded<std::optional<Result<List>>> list_;
};

}  // namespace vellora
