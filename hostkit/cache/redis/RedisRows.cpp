#include "hostkit/cache/redis/RedisRows.h"

#include <bit>
#include <charconv>
#include <cstdint>
#include <memory>
#include <utility>

#include "hostkit/cache/redis/RedisReply.h"
#include "hostkit/cache/redis/RedisScripts.h"
#include "hostkit/cache/redis/RedisTables.h"
#include "hostkit/cache/rows/Checksum.h"
#include "hostkit/cache/rows/LiveSpan.h"
#include "hostkit/cache/rows/MetaCodec.h"

namespace vellora::hostkit::redisRows {

namespace {

using CorvaneSDK::RowFilter;
using Access = RedisStore::Access;

/// Where in a row's reply its parts stand.
struct Part {
  enum : std::size_t { dataKey, number, written, checksum, meta, data, count };
};

std::optional<std::int64_t> integer(const std::string& digits) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
  return isWhole ? std::optional(value) : std::nullopt;
}

/// The date bit by bit, so that it is read as it was written.
std::string digits(Date date) {
  return std::to_string(std::bit_cast<std::int64_t>(date.secondsSinceReferenceDate()));
}

Checksum rowChecksum(std::string_view tableKey, std::string_view dataKey, std::string_view written,
                     std::string_view meta) {
  return Checksum().add("row").add(tableKey).add(dataKey).add(written).add(meta);
}

/// Null when the row is damaged. One without data has a checksum without it.
std::shared_ptr<const StoredRow> verifiedRow(RedisReply reply, std::string_view tableKey,
                                             Content content = Content::whole) {
  auto& parts = reply.items;
  const bool hasData = content == Content::whole;
  if (parts.size() != (hasData ? Part::count : Part::data)) return nullptr;
  auto checksum =
      rowChecksum(tableKey, parts[Part::dataKey].text, parts[Part::written].text, parts[Part::meta].text);
  if (hasData) checksum.add(parts[Part::data].text);
  auto meta = decodedMeta(parts[Part::meta].text);
  const auto written = integer(parts[Part::written].text);
  const auto number = integer(parts[Part::number].text);
  const bool isSound = integer(parts[Part::checksum].text) == checksum.value();
  if (!isSound || !meta || !written || !number) return nullptr;
  auto stored = std::make_shared<StoredRow>();
  stored->row = {*std::move(meta), std::move(parts[Part::dataKey].text)};
  if (hasData) stored->data = Data(std::move(parts[Part::data].text));
  stored->written = Date::sinceReferenceDate(std::bit_cast<double>(*written));
  stored->sequence = *number;
  return stored;
}

Head head(const RedisReply& reply) {
  enum : std::size_t { dataKey, number, meta, count };
  if (reply.items.size() != count) return {};
  Head head{reply.items[dataKey].text, reply.items[number].text, std::nullopt};
  const bool hasMeta = reply.items[meta].kind == RedisReply::Kind::text;
  if (auto known = hasMeta ? decodedMeta(reply.items[meta].text) : std::nullopt) {
    head.row = {*std::move(known), head.dataKey};
  }
  return head;
}

RedisCommand command(const std::string& script, const std::vector<std::string>& keys) {
  RedisCommand command{"EVAL", script, std::to_string(keys.size())};
  command.insert(command.end(), keys.begin(), keys.end());
  return command;
}

/// A command that finds the rows that may match `filter`.
RedisCommand finding(const std::string& script, const RedisKeys& keys, const std::string& tableKey,
                     const RowFilter* filter) {
  std::vector<std::string> sets{keys.order(tableKey), keys.metas(tableKey)};
  if (const auto* pairs = filter != nullptr ? indexablePairs(*filter) : nullptr) {
    for (const auto& pair : *pairs) sets.push_back(keys.pairs(tableKey) + encodedMeta({pair}));
  }
  RedisCommand finding = command(script, sets);
  finding.push_back(keys.rows(tableKey));
  if (const auto* dataKey = filter != nullptr ? filter->dataKey() : nullptr) finding.push_back(*dataKey);
  return finding;
}

}  // namespace

std::optional<StoredRows> read(RedisStore& store, const std::string& tableKey, const RowFilter* filter,
                               Content content) {
  const auto& script = content == Content::whole ? redisScripts::read : redisScripts::readWithoutData;
  auto reply = store.ask(finding(script, store.keys(), tableKey, filter), Access::reading);
  if (!reply) return std::nullopt;
  StoredRows rows;
  for (RedisReply& row : reply->items) {
    if (auto stored = verifiedRow(std::move(row), tableKey, content)) rows.push_back(std::move(stored));
  }
  return rows;
}

std::optional<std::vector<Found>> readAll(RedisStore& store, const std::string& tableKey) {
  auto reply = store.ask(finding(redisScripts::read, store.keys(), tableKey, nullptr), Access::reading);
  if (!reply) return std::nullopt;
  std::vector<Found> rows;
  for (RedisReply& row : reply->items) {
    if (row.items.empty()) continue;
    std::string dataKey = row.items[Part::dataKey].text;
    rows.push_back({std::move(dataKey), verifiedRow(std::move(row), tableKey)});
  }
  return rows;
}

std::optional<std::vector<Head>> readHeads(RedisStore& store, const std::string& tableKey,
                                           const RowFilter& filter) {
  const auto reply =
      store.ask(finding(redisScripts::readHeads, store.keys(), tableKey, &filter), Access::reading);
  if (!reply) return std::nullopt;
  std::vector<Head> heads;
  for (const RedisReply& item : reply->items) heads.push_back(head(item));
  return heads;
}

bool write(RedisStore& store, const CorvaneSDK::Table& table, const CorvaneSDK::CacheEntry& entry,
           Date written) {
  const RedisKeys& keys = store.keys();
  const std::string dataKey = entry.dataKey ? *entry.dataKey : derivedDataKey(entry.meta);
  const std::string meta = encodedMeta(entry.meta);
  const std::string date = digits(written);
  auto checksum = rowChecksum(table.key(), dataKey, date, meta);
  const auto withoutData = std::to_string(checksum.value());
  checksum.add(entry.data.view());
  const auto age = std::to_string(static_cast<std::int64_t>(seconds(table.maxAge())));
  RedisCommand write = command(redisScripts::write,
                               {keys.order(table.key()), keys.metas(table.key()), keys.table(table.key())});
  write.insert(write.end(), {keys.rows(table.key()), keys.pairs(table.key()), dataKey, date,
                             std::to_string(checksum.value()), meta, std::string(entry.data.view()), age,
                             redisTables::record(table), withoutData});
  return store.ask(write, Access::writing).has_value();
}

bool remove(RedisStore& store, const std::string& tableKey, const std::vector<Head>& heads) {
  const RedisKeys& keys = store.keys();
  RedisCommand remove = command(redisScripts::remove, {keys.order(tableKey), keys.metas(tableKey)});
  remove.push_back(keys.rows(tableKey));
  remove.push_back(keys.pairs(tableKey));
  for (const Head& head : heads) {
    remove.push_back(head.dataKey);
    remove.push_back(head.number);
  }
  return store.ask(remove, Access::writing).has_value();
}

}  // namespace vellora::hostkit::redisRows
