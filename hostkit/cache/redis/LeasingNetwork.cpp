#include "hostkit/cache/redis/LeasingNetwork.h"

#include <algorithm>
#include <condition_variable>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "hostkit/cache/redis/RedisLeases.h"
#include "hostkit/cache/redis/RedisStore.h"

namespace vellora::hostkit {

using CorvaneSDK::NetRequest;

namespace {

using std::chrono::steady_clock;
using Moment = steady_clock::time_point;
using Completion = CorvaneSDK::Network::Completion;

bool canBeShared(const NetRequest& request) {
  return request.base().httpMethod == "GET" && !request.base().body;
}

/// The request's name among all processes.
const std::string& nameOf(const NetRequest& request) {
  return request.base().url.absoluteString();
}

bool isGood(const std::optional<Data>& data, const std::optional<Error>& error,
            const std::optional<URLResponse>& response) {
  return data && !error && (!response || response->statusCode == 200 || response->statusCode == 0);
}

/// A request that has not been decided about.
struct Waiting {
  NetRequest request;
  Completion completion;
  Moment since;
  Moment next;  ///< when it is asked about

  /// Whether half of its time is over.
  [[nodiscard]] bool isOver(Moment present) const {
    return present - since >= std::chrono::duration<double>(request.base().timeoutInterval / 2);
  }

  /// The request with the time that is left to it.
  [[nodiscard]] NetRequest rest(Moment present) const {
    auto base = request.base();
    const double waited = std::chrono::duration<double>(present - since).count();
    base.timeoutInterval = std::max(base.timeoutInterval - waited, base.timeoutInterval / 4);
    return NetRequest(std::move(base));
  }
};

}  // namespace

/// What waits for the Redis, and the thread that asks it: neither a caller nor the other network waits.
class LeasingNetwork::Line : public std::enable_shared_from_this<Line> {
 public:
  Line(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<RedisStore> store, const Options& options)
      : next_(std::move(next)),
        leases_(std::move(store), {options.lease, options.answer}),
        interval_(options.interval) {}

  /// Null when the system gives no thread.
  [[nodiscard]] static std::shared_ptr<Line> started(std::shared_ptr<CorvaneSDK::Network> next,
                                                     std::shared_ptr<RedisStore> store,
                                                     const Options& options) {
    auto line = std::make_shared<Line>(std::move(next), std::move(store), options);
    try {
      line->thread_ = std::thread([line] { line->run(); });
    } catch (const std::system_error&) {
      return nullptr;
    }
    return line;
  }

  /// Has the thread decide what there is, and end.
  void end() {
    {
      const std::lock_guard lock(mutex_);
      hasEnded_ = true;
    }
    changed_.notify_one();
    // A completion may let go of the last handle to the network on this very thread.
    if (thread_.get_id() == std::this_thread::get_id()) return thread_.detach();
    thread_.join();
  }

  void add(Waiting waiting) {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(waiting));
    changed_.notify_one();
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    while (!hasEnded_ || !waiting_.empty()) {
      auto due = takeDue(steady_clock::now());
      if (due.empty()) {
        wait(lock);
        continue;
      }
      const bool isLast = hasEnded_;
      lock.unlock();
      for (Waiting& each : due) decide(std::move(each), isLast);
      lock.lock();
    }
  }

  /// Those that are asked about now; all at the end.
  [[nodiscard]] std::vector<Waiting> takeDue(Moment present) {
    const auto later = std::stable_partition(waiting_.begin(), waiting_.end(), [&](const Waiting& each) {
      return !hasEnded_ && each.next > present;
    });
    std::vector<Waiting> due(std::make_move_iterator(later), std::make_move_iterator(waiting_.end()));
    waiting_.erase(later, waiting_.end());
    return due;
  }

  void wait(std::unique_lock<std::mutex>& lock) {
    if (waiting_.empty()) return changed_.wait(lock);
    const auto first =
        std::min_element(waiting_.begin(), waiting_.end(),
                         [](const Waiting& one, const Waiting& other) { return one.next < other.next; });
    changed_.wait_until(lock, Moment(first->next));
  }

  void decide(Waiting waiting, bool isLast) {
    const Moment present = steady_clock::now();
    if (isLast || waiting.isOver(present))
      return next_->sendRequest(waiting.rest(present), waiting.completion);
    const std::string& name = nameOf(waiting.request);
    auto decision = leases_.ask(name);
    if (decision.answer) {
      waiting.completion(std::move(decision.answer), std::nullopt, URLResponse{name, 200, {}});
    } else if (decision.maySend) {
      send(std::move(waiting), std::move(decision.token));
    } else {
      waiting.next = present + interval_;
      add(std::move(waiting));
    }
  }

  /// The lease is given back before the answer is handed on: a process may end as soon as it has that.
  void send(Waiting waiting, std::string token) {
    const auto rest = waiting.rest(steady_clock::now());
    next_->sendRequest(rest,
                       [self = shared_from_this(), name = nameOf(rest), token = std::move(token),
                        completion = std::move(waiting.completion)](auto data, auto error, auto response) {
                         const bool isShared = isGood(data, error, response);
                         if (!token.empty())
                           self->leases_.giveBack(name, token, isShared ? data : std::nullopt);
                         completion(std::move(data), std::move(error), std::move(response));
                       });
  }

  const std::shared_ptr<CorvaneSDK::Network> next_;
  RedisLeases leases_;
  const std::chrono::milliseconds interval_;
  std::thread thread_;

  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  bool hasEnded_ = false;
  std::vector<Waiting> waiting_;
};

LeasingNetwork::LeasingNetwork(std::shared_ptr<CorvaneSDK::Network> next, const RedisCache& cache,
                               const Options& options)
    : next_(std::move(next)), line_(Line::started(next_, cache.store_, options)) {}

LeasingNetwork::LeasingNetwork(std::shared_ptr<CorvaneSDK::Network> next, const RedisCache& cache)
    : LeasingNetwork(std::move(next), cache, Options()) {}

LeasingNetwork::~LeasingNetwork() {
  if (line_) line_->end();
}

void LeasingNetwork::sendRequest(const NetRequest& request, Completion completion) {
  if (!line_ || !canBeShared(request)) return next_->sendRequest(request, std::move(completion));
  const Moment present = steady_clock::now();
  line_->add({request, std::move(completion), present, present});
}

}  // namespace vellora::hostkit
