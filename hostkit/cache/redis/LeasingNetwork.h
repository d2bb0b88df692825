#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/redis/RedisCache.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::hostkit {

/// Wraps another network: of the processes that share a `RedisCache` and want the same at the same time, one
/// sends the request, and all others get its answer. So a service that starts on many machines fetches each
/// list once.
///
///     const auto network = std::make_shared<LeasingNetwork>(CurlNetwork::make(…).value(), *cache.value());
///
/// Who sends holds a lease in the Redis, and renews it until it is answered. If that process dies, another
/// one sends when the lease has run out; if its request fails, another one sends at once. An answer stays in
/// the Redis for a moment, for those who looked into the cache before it was there. No request waits for more
/// than half of its time-out: it is then sent by itself, and its answer is as good for the others. Those that
/// wait together are sent one after the other, not in one moment.
///
/// When the Redis fails, a request that was told of no other process is sent at once. One that waits for
/// another process waits on, for no longer than a lease: else all that wait would be sent in one moment. A
/// request that is no GET, or has a body, is passed on.
///
/// What a server answers depends on who asks. Requests are told apart by their URL and the cache's owner, so
/// the owner must name the server and the user of the other network. Where it does not, `Options::owner`
/// does.
///
/// An answer that another process got comes as the body alone, with status 200 and no headers. Answers of
/// another status are not shared.
///
/// Ownership: shares the other network, which must not be null, and the cache's connection. Requests that
/// wait when this object is destroyed are sent by themselves.
///
/// Threads: `sendRequest` may be called from any thread, also from a completion. A completion runs where the
/// other network calls, which waits for the Redis before, for no longer than the cache's time-out; or, for
/// another's answer, on a thread of this object: it must not wait for an answer of this network.
///
/// Errors: the other network's.
class VELLORA_EXPORT LeasingNetwork final : public CorvaneSDK::Network {
 public:
  struct Options {
    /// How long the others wait for a process that died, or that cannot reach the Redis.
    std::chrono::milliseconds lease{10'000};

    /// How long an answer is given to others. A refresh within that time gets the same answer.
    std::chrono::milliseconds answer{5'000};

    /// How often those who wait look.
    std::chrono::milliseconds interval{50};

    /// Whose answers these are: a text that tells server and user, as for the cache. Processes share answers
    /// of one owner only. The Redis holds a digest of it. Absent: the cache's owner says enough.
    std::optional<std::string> owner = {};
  };

  LeasingNetwork(std::shared_ptr<CorvaneSDK::Network> next, const RedisCache& cache, const Options& options);
  LeasingNetwork(std::shared_ptr<CorvaneSDK::Network> next, const RedisCache& cache);
  ~LeasingNetwork() override;
  LeasingNetwork(const LeasingNetwork&) = delete;
  LeasingNetwork& operator=(const LeasingNetwork&) = delete;

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override;

 private:
  class Line;

  const std::shared_ptr<CorvaneSDK::Network> next_;
  const std::shared_ptr<Line> line_;  // null when there is no thread: everything is passed on
};

}  // namespace vellora::hostkit
