#pragma once

#include <cstddef>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "vellora/Platform/Json/Json.h"

namespace vellora {

/// A cached list of records that have a `name`, with an index of the names: a lookup of many names searches
/// the same list for each of them.
///
/// Ownership: owns the records.
///
/// Threads: immutable, hence safe to read from several threads at once.
template <class Record>
class NamedList {
 public:
  explicit NamedList(std::vector<Record> records) : records_(std::move(records)) {
    positions_.reserve(records_.size());
    for (std::size_t index = 0; index < records_.size(); ++index) {
      positions_.try_emplace(records_[index].name, index);  // of equal names the first stays
    }
  }
  NamedList(NamedList&&) noexcept = default;
  NamedList& operator=(NamedList&&) noexcept = default;
  NamedList(const NamedList&) = delete;  // the positions refer to the records' own names
  NamedList& operator=(const NamedList&) = delete;

  /// Reads the list from its JSON text.
  [[nodiscard]] static Result<NamedList> decode(const Data& text) {
    auto records = json::decodeOnce<std::vector<Record>>(text);
    if (!records) return records.error();
    return NamedList(std::move(records).value());
  }

  /// The first record of that very name; null when there is none. Valid as long as the list lives.
  [[nodiscard]] const Record* firstNamed(std::string_view name) const {
    const auto found = positions_.find(name);
    return found == positions_.end() ? nullptr : &records_[found->second];
  }

  [[nodiscard]] const std::vector<Record>& records() const noexcept { return records_; }

 private:
  std::vector<Record> records_;
  std::unordered_map<std::string_view, std::size_t> positions_;
};

}  // namespace vellora
