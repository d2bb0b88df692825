#pragma once

// The steps that both layout services take alike.

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <iterator>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Values/Date.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora {

/// `names` in their order, with `separator` between each two.
[[nodiscard]] std::string joined(const std::vector<std::string>& names, std::string_view separator);

/// Those of `names`, in their order, that are no layout's object type.
template <class Layout>
[[nodiscard]] std::vector<std::string> namesWithoutLayout(const std::vector<std::string>& names,
                                                          const std::vector<Layout>& layouts) {
  std::vector<std::string> missing;
  std::copy_if(names.begin(), names.end(), std::back_inserter(missing), [&](const std::string& name) {
    return std::none_of(layouts.begin(), layouts.end(),
                        [&](const Layout& layout) { return layout.objectType == name; });
  });
  return missing;
}

/// Makes the keys of a service's blobs one after the other, in the memory of one.
class CacheKeys {
 public:
  explicit CacheKeys(std::string_view prefix) : key_(prefix), prefixSize_(prefix.size()) {}

  /// The prefix followed by `objectType`; valid until the next call.
  [[nodiscard]] const std::string& keyOf(std::string_view objectType) {
    key_.resize(prefixSize_);
    return key_.append(objectType);
  }

 private:
  std::string key_;
  const std::size_t prefixSize_;
};

/// Tells which of a lookup's cached layouts are too old. They are all compared with one moment, that of the
/// first of them.
class Expiry {
 public:
  explicit Expiry(double cacheTimeout) : cacheTimeout_(cacheTimeout) {}

  /// Whether what was downloaded then is older than the time-out. A time in the future is not.
  [[nodiscard]] bool isPast(Date downloadedTime);

 private:
  const double cacheTimeout_;
  std::optional<Date> now_;
};

/// Logs `operation`, `failure` and what the error says, as one line; none when there is no memory for it.
template <ErrorValue E>
void logError(CorvaneSDK::Logger& logger, std::string_view operation, std::string_view failure,
              const E& error) {
  try {
    logger.log(std::string(operation).append(failure).append(error.localizedDescription()),
               CorvaneSDK::LogLevel::error);
  } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the failure counts, not its line
  }
}

/// The same, unless the logger is gone.
template <ErrorValue E>
void logError(const std::weak_ptr<CorvaneSDK::Logger>& logger, std::string_view operation,
              std::string_view failure, const E& error) {
  if (const auto alive = logger.lock()) logError(*alive, operation, failure, error);
}

/// `json::decode`, with `OutOfMemory` as the error when there is no memory for the value.
template <class T>
[[nodiscard]] Result<T> decodedInMemory(const Data& text) {
  try {
    return json::decode<T>(text);
  } catch (const std::bad_alloc&) {
    return outOfMemory();
  }
}

/// A service's logger for as long as the service lives: whoever holds it weakly logs nothing for a service
/// that has been released.
template <class Service>
[[nodiscard]] std::weak_ptr<CorvaneSDK::Logger> loggerOf(const std::weak_ptr<Service>& service,
                                                         CorvaneSDK::Logger& logger) {
  return std::shared_ptr<CorvaneSDK::Logger>(service.lock(), &logger);
}

/// The cache entry under `key`; none when there is no blob or it isn't one, which is logged.
template <class Entry>
[[nodiscard]] std::optional<Entry> loadEntry(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger,
                                             const std::string& key) {
  const auto data = cache.load(key);
  if (!data) {
    logger.log("load(key:): No data from cache", CorvaneSDK::LogLevel::info);
    return std::nullopt;
  }
  auto entry = json::decode<Entry>(*data);
  if (entry) return std::move(entry.value());
  logError(logger, "load(key:)", ": Failed to decode: ", entry.error());
  return std::nullopt;
}

/// Stores `entry` under `key`; when it has no JSON form, logs that as a failure of `operation`.
template <class Entry>
void saveEntry(CorvaneSDK::Cache& cache, CorvaneSDK::Logger& logger, const std::string& key,
               const Entry& entry, std::string_view operation) {
  const auto data = json::encode(entry);
  if (!data) return logError(logger, operation, ": Failed to encode: ", data.error());
  cache.save(data.value(), key);
}

/// Sends `request` and reads the response body as a `Body`. Calls `then(body, error)` with one of the two;
/// the error is `network` without a body, `decoding` for one of another form. Logs the reason as a failure of
/// `operation`. A network that answers a second time is not listened to: `then` is called once.
template <class Body, class Then>
void download(CorvaneSDK::Network& network, const CorvaneSDK::NetRequest& request,
              std::weak_ptr<CorvaneSDK::Logger> logger, std::string operation, Then then) {
  network.sendRequest(
      request, [answered = std::make_shared<std::atomic_flag>(), logger = std::move(logger),
                operation = std::move(operation), then = std::move(then)](
                   const std::optional<Data>& data, const std::optional<Error>& error, const auto&) {
        if (answered->test_and_set()) return;
        if (!data) {
          if (error) logError(logger, operation, ": Network request error:  ", *error);
          return then(std::optional<Body>(), std::optional(SObjectsDataServiceError::network()));
        }
        auto body = decodedInMemory<Body>(*data);
        if (!body) {
          logError(logger, operation, ": Failed to decode: ", body.error());
          return then(std::optional<Body>(), std::optional(SObjectsDataServiceError::decoding()));
        }
        then(std::optional(std::move(body).value()), std::optional<SObjectsDataServiceError>());
      });
}

template <class Layout>
using LayoutCompletion = std::function<void(std::optional<std::vector<Layout>> layouts,
                                            std::optional<SObjectsDataServiceError> error)>;

/// The error of an answer that there is no memory for.
[[nodiscard]] inline std::optional<SObjectsDataServiceError> noMemoryForAnswer() {
  return SObjectsDataServiceError::other(outOfMemory());
}

/// Answers `completion` with a copy of `layouts`; with the error alone when there is no memory for that.
template <class Layout>
void answerWithCopy(const LayoutCompletion<Layout>& completion, const std::vector<Layout>& layouts) {
  std::optional<std::vector<Layout>> copy;
  try {
    copy = layouts;
  } catch (const std::bad_alloc&) {
    return completion(std::nullopt, noMemoryForAnswer());
  }
  completion(std::move(copy), std::nullopt);
}

/// What cached layouts a lookup has found.
template <class Layout>
struct CachedLayouts {
  std::vector<Layout> fresh;  ///< belong to every answer
  std::vector<Layout> found;  ///< all; better than nothing when the server fails
};

/// Takes a lookup's downloaded layouts and answers `completion`, if there is one, with these and the fresh
/// ones; without downloaded layouts with all that were found and the error, which is logged as one of
/// `operation`. Without the memory for a list there is only the error.
template <class Layout>
[[nodiscard]] LayoutCompletion<Layout> answerWithCached(CachedLayouts<Layout> cached,
                                                        std::weak_ptr<CorvaneSDK::Logger> logger,
                                                        std::string operation,
                                                        LayoutCompletion<Layout> completion) {
  return [cached = std::move(cached), logger = std::move(logger), operation = std::move(operation),
          completion = std::move(completion)](auto downloaded, auto error) {
    if (!downloaded && error) logError(logger, operation, ": Network request error:  ", *error);
    if (!completion) return;
    std::optional<std::vector<Layout>> layouts;
    try {
      if (downloaded) {
        downloaded->insert(downloaded->end(), cached.fresh.begin(), cached.fresh.end());
        layouts = std::move(downloaded);
        error.reset();
      } else {
        layouts = cached.found;
      }
    } catch (const std::bad_alloc&) {
      error = noMemoryForAnswer();
    }
    completion(std::move(layouts), std::move(error));
  };
}

}  // namespace vellora
