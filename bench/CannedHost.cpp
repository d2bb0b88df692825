#include "bench/CannedHost.h"

#include <cstdlib>
#include <future>
#include <iostream>
#include <map>
#include <optional>
#include <utility>

#include "apps/records-server/DataSet.h"
#include "bench/ReadyHost.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "vellora/Models/SObjectsResponse.h"

namespace vellora::bench {

namespace {

/// The server's data for so many types, generated once and kept.
const recordsserver::DataSet& generatedData(std::size_t types) {
  static std::map<std::size_t, recordsserver::DataSet> made;
  const auto found = made.find(types);
  return found != made.end() ? found->second
                             : made.emplace(types, recordsserver::DataSet::generated(types)).first->second;
}

class CannedNetwork final : public CorvaneSDK::Network {
 public:
  explicit CannedNetwork(std::size_t types) : data_(generatedData(types)) {}
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    const bool isTheme = request.base().url.absoluteString().ends_with("/theme");
    completion(isTheme ? data_.themeList() : data_.objectList(), std::nullopt, std::nullopt);
  }

 private:
  const recordsserver::DataSet& data_;
};

template <class Start>
std::size_t waitFor(Start start) {
  std::promise<std::size_t> answered;
  start([&](const auto& infos) { answered.set_value(infos.size()); });
  return answered.get_future().get();
}

}  // namespace

std::string_view nameOf(Medium medium) {
  return medium == Medium::memory ? "memory" : "SQLite";
}

std::shared_ptr<CorvaneSDK::Cache> freshCache(Medium medium, const tests::TemporaryFolder& folder) {
  if (medium == Medium::memory) return std::make_shared<hostkit::MemoryCache>();
  auto opened = hostkit::SQLiteCache::open(folder.file("cache.sqlite"));
  if (opened) return std::move(opened).value();
  std::cerr << opened.error().localizedDescription() << '\n';
  std::exit(1);
}

CannedHost::CannedHost(Medium medium, std::size_t types)
    : cache_(freshCache(medium, folder_)),
      types_(json::decode<SObjectsResponse>(generatedData(types).objectList()).value().sObjects),
      host_(std::make_shared<hostkit::StandardPlatformAPI>(std::make_shared<CannedNetwork>(types), cache_,
                                                           logger_)),
      service_(startedService(host_)) {
  if (waitUntilLoaded(*service_)) catalog_ = std::make_unique<Catalog>(host_);
  if (catalog_ && catalog_->allTypes().get().end == End::answered) return;
  std::cerr << "The canned lists were not loaded.\n";
  std::exit(1);
}

CannedHost::~CannedHost() = default;

std::vector<std::string> CannedHost::ids(std::size_t count) const {
  std::vector<std::string> ids;
  for (const auto& type : types_) {
    if (type.keyPrefix && type.name != "ListView" && ids.size() < count) {
      ids.push_back(*type.keyPrefix + "000000000000AAA");
    }
  }
  return ids;
}

std::vector<std::string> CannedHost::names(std::size_t count) const {
  std::vector<std::string> names;
  for (std::size_t index = 0; index < count; ++index) {
    names.push_back(types_[index * types_.size() / count].name);
  }
  return names;
}

std::size_t CannedHost::lookUpIds(const std::vector<std::string>& ids) const {
  return waitFor([&](auto completion) { service_->objectPresentationInfoForIds(ids, completion); });
}

std::size_t CannedHost::lookUpNames(const std::vector<std::string>& names) const {
  return waitFor([&](auto completion) { service_->objectPresentationInfoForApiNames(names, completion); });
}

std::size_t CannedHost::askRecords(const std::vector<std::string>& ids) const {
  return catalog_->records(ids).get().found.size();
}

}  // namespace vellora::bench
