#include "bindings/c/ForeignCacheTable.h"

#include <optional>

#include "bindings/c/Texts.h"
#include "bindings/c/vellora.h"

namespace vellora::capi {

namespace {

using CorvaneSDK::Meta;
using CorvaneSDK::Query;
using CorvaneSDK::RowFilter;

std::vector<vellora_pair> shownPairs(const Meta& meta) {
  std::vector<vellora_pair> pairs;
  pairs.reserve(meta.size());
  for (const auto& [name, value] : meta) pairs.push_back({shown(name), shown(value)});
  return pairs;
}

/// How C sees a filter. Valid as long as the filter.
struct ShownFilter {
  explicit ShownFilter(const RowFilter* filter) {
    query.struct_size = sizeof query;
    if (filter == nullptr) return;
    if (const auto* meta = filter->metaPairs()) pairs = shownPairs(*meta);
    query.meta = pairs.data();
    query.meta_count = pairs.size();
    if (const auto* dataKey = filter->dataKey()) query.data_key = shown(*dataKey);
  }

  std::vector<vellora_pair> pairs;
  vellora_row_query query{};
};

}  // namespace

std::vector<GivenRow> ForeignCacheTable::rows(const Query& query, bool wantsData) const {
  const vellora_text table = shown(key_);
  ShownFilter filter(query.filter() ? &*query.filter() : nullptr);
  if (const auto& range = query.oldestRange()) {
    filter.query.is_oldest_first = 1;
    filter.query.lower = range->lower;
    filter.query.upper = range->upper;
  }
  filter.query.wants_data = wantsData ? 1 : 0;
  vellora_sink sink{.takesRows = true};
  functions_->call((*functions_)->rows, &table, &filter.query, &sink);
  if (query.filter())
    std::erase_if(sink.rows, [&](const GivenRow& given) { return !(*query.filter())(given.row); });
  return std::move(sink.rows);
}

std::vector<Data> ForeignCacheTable::load(const Query& query) {
  std::vector<Data> data;
  for (auto& given : rows(query, true)) data.push_back(std::move(given.data));
  return data;
}

std::vector<CorvaneSDK::Row> ForeignCacheTable::fetch(const Query& query) {
  std::vector<CorvaneSDK::Row> fetched;
  for (auto& given : rows(query, false)) fetched.push_back(std::move(given.row));
  return fetched;
}

bool ForeignCacheTable::purge(const RowFilter& rowsInFilter) {
  if (rowsInFilter.metaPairs() == nullptr && rowsInFilter.dataKey() == nullptr) return false;
  const vellora_text table = shown(key_);
  const ShownFilter filter(&rowsInFilter);
  return functions_->call((*functions_)->purge, &table, &filter.query) != 0;
}

bool ForeignCacheTable::upsert(const CorvaneSDK::CacheEntry& entry) {
  const vellora_text table = shown(key_);
  const auto pairs = shownPairs(entry.meta);
  const vellora_row row{sizeof row, pairs.data(), pairs.size(), shown(entry.dataKey),
                        shown(entry.data.view())};
  return functions_->call((*functions_)->upsert, &table, &row) != 0;
}

}  // namespace vellora::capi
