#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "testkit/ForwardingCache.h"
#include "testkit/ForwardingCacheTable.h"
#include "vellora/Host/RequiredAPI.h"

namespace vellora::tests {

/// Is told of each call to the host before it is passed on, as in "log themes(for:): name: A", "sendRequest",
/// "save ops.theme.fetch.timestamp", "upsert theme", "load themes"; rows by their kind.
using HostCallListener = std::function<void(const std::string& call)>;

namespace detail {

inline std::string kindIn(const CorvaneSDK::Meta& meta) {
  const auto kind = meta.find("cacheEntryType");
  return kind == meta.end() ? std::string() : kind->second;
}

inline std::string kindIn(const CorvaneSDK::Query& query) {
  const auto* pairs = query.filter() ? query.filter()->metaPairs() : nullptr;
  return pairs ? kindIn(*pairs) : std::string();
}

class ListenedTable final : public testkit::ForwardingCacheTable {
 public:
  ListenedTable(std::shared_ptr<CorvaneSDK::CacheTable> next, HostCallListener listener)
      : ForwardingCacheTable(std::move(next)), listener_(std::move(listener)) {}

  std::vector<Data> load(const CorvaneSDK::Query& query) override {
    listener_("load " + kindIn(query));
    return next().load(query);
  }
  std::vector<CorvaneSDK::Row> fetch(const CorvaneSDK::Query& query) override {
    listener_("fetch " + kindIn(query));
    return next().fetch(query);
  }
  bool purge(const CorvaneSDK::RowFilter& rowsInFilter) override {
    listener_("purge");
    return next().purge(rowsInFilter);
  }
  bool upsert(const CorvaneSDK::CacheEntry& entry) override {
    listener_("upsert " + kindIn(entry.meta));
    return next().upsert(entry);
  }

 private:
  const HostCallListener listener_;
};

class ListenedCache final : public testkit::ForwardingCache {
 public:
  ListenedCache(std::shared_ptr<CorvaneSDK::Cache> next, HostCallListener listener)
      : ForwardingCache(std::move(next)), listener_(std::move(listener)) {}

  std::optional<Data> load(const std::string& key) override {
    listener_("load " + key);
    return next().load(key);
  }
  bool save(const Data& data, const std::string& key) override {
    listener_("save " + key);
    return next().save(data, key);
  }

 protected:
  std::shared_ptr<CorvaneSDK::CacheTable> wrapTable(std::shared_ptr<CorvaneSDK::CacheTable> table,
                                                    const std::string&) override {
    return std::make_shared<ListenedTable>(std::move(table), listener_);
  }

 private:
  const HostCallListener listener_;
};

class ListenedLogger final : public CorvaneSDK::Logger {
 public:
  explicit ListenedLogger(HostCallListener listener) : listener_(std::move(listener)) {}
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    listener_("log " + std::string(message));
  }

 private:
  const HostCallListener listener_;
};

class ListenedNetwork final : public CorvaneSDK::Network {
 public:
  ListenedNetwork(std::shared_ptr<CorvaneSDK::Network> next, HostCallListener listener)
      : next_(std::move(next)), listener_(std::move(listener)) {}
  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    listener_("sendRequest");
    next_->sendRequest(request, std::move(completion));
  }

 private:
  const std::shared_ptr<CorvaneSDK::Network> next_;
  const HostCallListener listener_;
};

}  // namespace detail

/// A host whose every call but the opening of tables `listener` is told of: to act inside a call, such as to
/// drop what makes it.
inline RequiredAPI listenedHost(std::shared_ptr<CorvaneSDK::Network> network,
                                std::shared_ptr<CorvaneSDK::Cache> cache, const HostCallListener& listener) {
  return {std::make_shared<detail::ListenedNetwork>(std::move(network), listener),
          std::make_shared<detail::ListenedCache>(std::move(cache), listener),
          std::make_shared<detail::ListenedLogger>(listener)};
}

}  // namespace vellora::tests
