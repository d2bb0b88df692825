#include "bindings/c/ForeignCache.h"

#include "bindings/c/ForeignCacheTable.h"
#include "bindings/c/Sink.h"
#include "bindings/c/Texts.h"

namespace vellora::capi {

namespace {

constexpr double sevenDays = 604800;

double longestAge(CorvaneSDK::Table::MaxAge age) {
  switch (age) {
    case CorvaneSDK::Table::MaxAge::sevenDays:
      break;
  }
  return sevenDays;
}

}  // namespace

std::optional<Data> ForeignCache::load(const std::string& key) {
  const vellora_text shownKey = shown(key);
  vellora_sink sink;
  functions_->call((*functions_)->load, &shownKey, &sink);
  return sink.bytes ? std::optional(Data(*std::move(sink.bytes))) : std::nullopt;
}

bool ForeignCache::save(const Data& data, const std::string& key) {
  const vellora_text shownKey = shown(key);
  const vellora_text blob = shown(data.view());
  return functions_->call((*functions_)->save, &shownKey, &blob) != 0;
}

bool ForeignCache::remove(const std::string& key) {
  const vellora_text shownKey = shown(key);
  return functions_->call((*functions_)->remove, &shownKey) != 0;
}

std::shared_ptr<CorvaneSDK::CacheTable> ForeignCache::openTable(const std::string& tableKey) {
  const vellora_text shownKey = shown(tableKey);
  if (functions_->call((*functions_)->has_table, &shownKey) == 0) return nullptr;
  return std::make_shared<ForeignCacheTable>(functions_, tableKey);
}

std::shared_ptr<CorvaneSDK::CacheTable> ForeignCache::createTable(const CorvaneSDK::Table& table) {
  const vellora_text shownKey = shown(table.key());
  functions_->call((*functions_)->create_table, &shownKey, longestAge(table.maxAge()));
  return std::make_shared<ForeignCacheTable>(functions_, table.key());
}

}  // namespace vellora::capi
