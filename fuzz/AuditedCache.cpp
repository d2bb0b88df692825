#include "fuzz/AuditedCache.h"

#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "testkit/ForwardingCacheTable.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Models/CompactLayoutCacheEntry.h"
#include "vellora/Models/ObjectLayoutInfoCacheEntry.h"
#include "vellora/Models/SObject.h"
#include "vellora/Models/ThemeItem.h"
#include "vellora/Platform/Json/Json.h"

namespace vellora::fuzz {

namespace {

using Findings = std::vector<std::string>;
using CorvaneSDK::CacheEntry;

constexpr std::string_view absentListViewType = "null";

std::string valueUnder(const std::string& key, const CorvaneSDK::Meta& meta) {
  const auto found = meta.find(key);
  return found == meta.end() ? std::string() : found->second;
}

template <class T>
bool decodes(const Data& data) {
  return json::decode<T>(data).hasValue();
}

template <class T>
bool isNamed(const CacheEntry& entry) {
  const auto value = json::decode<T>(entry.data);
  return value && value.value().name == valueUnder("name", entry.meta);
}

bool isRow(const CacheEntry& entry) {
  const auto kind = valueUnder("cacheEntryType", entry.meta);
  if (kind == "sObjects") return decodes<std::vector<SObject>>(entry.data);
  if (kind == "sObject") return isNamed<SObject>(entry);
  if (kind == "keyPrefixes") return decodes<std::map<std::string, std::string>>(entry.data);
  if (kind == "keyPrefix") return decodes<std::string>(entry.data);
  // The query found no such list view, or one that lists nothing: that is asked again.
  if (kind == "listView") return entry.data.view() == absentListViewType || decodes<std::string>(entry.data);
  if (kind == "themes") return decodes<std::vector<ThemeItem>>(entry.data);
  if (kind == "theme") return isNamed<ThemeItem>(entry);
  return false;
}

bool isBlob(const Data& data, std::string_view key) {
  constexpr std::string_view compactLayout = "OPS_CompactLayout_";
  constexpr std::string_view searchLayout = "OPS_Layout_";
  if (key.starts_with(compactLayout)) {
    const auto entry = json::decode<CompactLayoutCacheEntry>(data);
    return entry && entry.value().compactLayout.objectType == key.substr(compactLayout.size());
  }
  if (key.starts_with(searchLayout)) {
    const auto entry = json::decode<ObjectLayoutInfoCacheEntry>(data);
    return entry && entry.value().objectLayoutInfo.objectType == key.substr(searchLayout.size());
  }
  const bool isTimeStamp = key == "ops.sobject.fetch.timestamp" || key == "ops.theme.fetch.timestamp";
  return isTimeStamp && data.size() == sizeof(double);
}

class AuditedTable final : public testkit::ForwardingCacheTable {
 public:
  AuditedTable(std::shared_ptr<CorvaneSDK::CacheTable> next, std::shared_ptr<Findings> findings)
      : ForwardingCacheTable(std::move(next)), findings_(std::move(findings)) {}

  bool upsert(const CacheEntry& entry) override {
    if (!isRow(entry)) findings_->push_back("row " + std::string(entry.data.view()));
    return next().upsert(entry);
  }

 private:
  const std::shared_ptr<Findings> findings_;
};

}  // namespace

AuditedCache::AuditedCache(std::shared_ptr<CorvaneSDK::Cache> next)
    : ForwardingCache(std::move(next)), findings_(std::make_shared<Findings>()) {}

AuditedCache::~AuditedCache() = default;

bool AuditedCache::save(const Data& data, const std::string& key) {
  if (!isBlob(data, key)) findings_->push_back("blob " + key + " " + std::string(data.view()));
  return next().save(data, key);
}

std::shared_ptr<CorvaneSDK::CacheTable> AuditedCache::wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                                const std::string&) {
  return std::make_shared<AuditedTable>(std::move(table), findings_);
}

}  // namespace vellora::fuzz
