#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "vellora/Platform/Publishers/Lease.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora {

/// What a network has answered: a body, an error, or neither, which is an absent body.
using NetworkAnswer = Result<std::optional<Data>>;

/// Who has a lookup send requests: it is told of each, and says which are sent again. A question of the
/// catalogue is one.
///
/// Ownership: shared by the requests that are under way for it.
///
/// Threads: called from several threads at once.
///
/// Errors: must not throw.
class VELLORA_EXPORT Requester {
 public:
  using Answered = std::function<void(const NetworkAnswer&)>;

  virtual ~Requester() = default;
  Requester(const Requester&) = delete;
  Requester& operator=(const Requester&) = delete;

  /// The request to `url` is about to be sent, for the `attempt`-th time. What is returned is called with its
  /// answer, with each when a network answers twice; it may be empty.
  [[nodiscard]] virtual Answered sending(const std::string& url, int attempt) = 0;

  /// What it has waited for has come from the server, also when another had it sent.
  virtual void served() = 0;

  /// How long to wait before what has failed `attempt` times, lastly for `error`, is tried again. None when
  /// it is not.
  [[nodiscard]] virtual std::optional<TimedQueue::Delay> pauseAfter(int attempt, const Error& error) = 0;

  /// The gate through which what was fetched for it is written into the cache. It is closed when all of that
  /// is to be forgotten.
  [[nodiscard]] virtual CallbackGate& writes() const = 0;

  /// Where to wait.
  [[nodiscard]] virtual const std::shared_ptr<TimedQueue>& timer() const = 0;

 protected:
  Requester() = default;
};

/// For whom a lookup fetches what the cache lacks, and how often it has tried.
///
/// Ownership: a plain value; shares the requester and the lease.
struct VELLORA_EXPORT Fetching {
  std::shared_ptr<Requester> requester = {};  ///< null: nobody is told, and nothing is sent again
  int attempt = 1;
  std::shared_ptr<Lease> lease = {};  ///< of the shared fetch that this is part of; null outside of any
};

/// Calls `write`, which writes into the cache, unless the requester is not to write any more.
template <class Write>
void writeFor(const Fetching& fetching, Write&& write) {
  if (!fetching.requester) return std::forward<Write>(write)();
  fetching.requester->writes().run(std::forward<Write>(write));
}

}  // namespace vellora
