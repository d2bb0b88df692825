#pragma once

#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/network/CurlNetwork.h"
#include "vellora/Host/Cache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Host/PlatformAPI.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// A `PlatformAPI` made of the three facilities that it is given, each of any kind: the ready-made ones or
/// your own. Null stays null: the host then grants none of that kind. `make` builds the ready-made ones.
///
///     const auto host = StandardPlatformAPI::make({.server = "https://records.example"});
///     if (!host) return fail(host.error().localizedDescription());
///
/// Ownership: shares each facility. A `VelloraService` takes handles of its own: it needs this object only
/// while the service is being constructed.
///
/// Threads: immutable, hence safe to read from several threads.
///
/// Errors: `make` tells the `CurlNetworkError` or the `SQLiteCacheError` of the facility that cannot be had.
class VELLORA_EXPORT StandardPlatformAPI final : public CorvaneSDK::PlatformAPI {
 public:
  struct Options {
    /// The records server's address, such as "https://records.example".
    std::string server;
    /// Gives the bearer token; see `CurlNetwork`. Asked for each request, to see whether it may share another
    /// one: only if both go out with the same token. Asked again for each request that is sent. `make` asks,
    /// too, so that the log is clean of the token before anything is sent.
    CurlNetwork::TokenProvider token = {};
    /// Gives another token when the server has refused one; see `CurlNetwork`.
    CurlNetwork::TokenRenewal renewedToken = {};
    /// See `CurlNetwork`; the token of an http server elsewhere is refused without it.
    bool allowTokenOverPlainHttp = false;
    /// A PEM file of the certificate authorities to trust; absent: the system's.
    std::optional<std::string> caFile = {};
    /// Told how each request has ended, also one that could not be sent. Requests that share one count as
    /// one. See `CurlNetwork`.
    CurlNetwork::Observer observer = {};
    /// Whether equal requests under way at the same time share one of the ready-made network's: so there is
    /// at most one for each list.
    bool sharesRequests = true;
    /// Whether the ready-made network asks for a body only if it has changed since it was kept in the cache;
    /// see `CurlNetwork::Options::bodies`. The bodies are the cache owner's where `cacheOwner` names one,
    /// else those of the token that they came with.
    bool asksConditionally = true;
    /// Whether the ready-made network leaves a server alone that says 429 or 503; see
    /// `CurlNetwork::Options::pausesWhenRefused`.
    bool pausesWhenRefused = true;
    /// Where a `SQLiteCache` is kept; absent: a `MemoryCache`, which forgets everything with the process.
    std::optional<std::string> cacheFile = {};
    /// Whose cache that file is; see `SQLiteCache::Options::owner`. Without it a file of any owner is opened.
    std::optional<std::string> cacheOwner = {};
    /// Told of each call of that file that failed; see `SQLiteCache`. The logger is told of them, too.
    SQLiteCache::Observer cacheObserver = {};
    /// Null: nothing is logged. With a `token` it gets its lines through a `RedactingLogger`, without the
    /// tokens that a server sent back.
    std::shared_ptr<CorvaneSDK::Logger> logger = {};
    /// One of your own in place of the ready-made network; then `server` and what follows it, down to
    /// `pausesWhenRefused`, are not looked at.
    std::shared_ptr<CorvaneSDK::Network> network = {};
    /// One of your own in place of the ready-made caches; then what begins with `cache` is not looked at.
    std::shared_ptr<CorvaneSDK::Cache> cache = {};
  };

  /// A host of the ready-made facilities, but for those that the options have.
  [[nodiscard]] static Result<std::shared_ptr<StandardPlatformAPI>> make(Options options);

  /// A host of these facilities; any of them may be null.
  StandardPlatformAPI(std::shared_ptr<CorvaneSDK::Network> network, std::shared_ptr<CorvaneSDK::Cache> cache,
                      std::shared_ptr<CorvaneSDK::Logger> logger);

  /// The same facility at each call.
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Network> network() override { return network_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Cache> cache() override { return cache_; }
  [[nodiscard]] std::shared_ptr<CorvaneSDK::Logger> logger() override { return logger_; }

 private:
  const std::shared_ptr<CorvaneSDK::Network> network_;
  const std::shared_ptr<CorvaneSDK::Cache> cache_;
  const std::shared_ptr<CorvaneSDK::Logger> logger_;
};

}  // namespace vellora::hostkit
