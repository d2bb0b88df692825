#include "hostkit/cache/redis/LeasingNetwork.h"

#include <algorithm>
#include <condition_variable>
#include <list>
#include <mutex>
#include <new>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "hostkit/cache/redis/LeaseWait.h"
#include "hostkit/cache/redis/RedisLeases.h"
#include "hostkit/cache/redis/RedisStore.h"
#include "hostkit/cache/rows/HexDigits.h"
#include "hostkit/cache/rows/KeyedDigest.h"
#include "vellora/Platform/Queues/Sleep.h"

namespace vellora::hostkit {

using CorvaneSDK::NetRequest;

namespace {

using Moment = Sleep::Moment;
using Completion = CorvaneSDK::Network::Completion;

bool canBeShared(const NetRequest& request) {
  return request.base().httpMethod == "GET" && !request.base().body;
}

bool isGood(const std::optional<Error>& error, const std::optional<URLResponse>& response) {
  return !error && (!response || response->statusCode == 200 || response->statusCode == 0);
}

/// What the names of requests among all processes begin with; nothing when there is no memory for it.
std::optional<std::string> namesFor(const std::optional<std::string>& owner) {
  if (!owner) return "";
  const std::string digest = keyedDigest("vellora", *owner);
  return digest.empty() ? std::nullopt : std::optional(hexDigits(digest) + ":");
}

/// A request that waits, or that this process sends.
struct Item {
  NetRequest request;
  Completion completion;
  std::string name;  ///< among all processes
  std::string token;
  LeaseWait wait;
  Moment next;              ///< when it is asked about; once it is sent, when its lease is renewed
  URLResponse toldBy = {};  ///< what comes with another's answer

  /// The request with the time that is left to it.
  [[nodiscard]] NetRequest rest() const {
    auto base = request.base();
    const double left = base.timeoutInterval - wait.waited(Sleep::now());
    base.timeoutInterval = std::max(left, base.timeoutInterval / 4);
    return NetRequest(std::move(base));
  }
};

/// Goes from list to list, which takes no memory: where there is none, a request must not be lost.
using Items = std::list<std::shared_ptr<Item>>;

Items firstDue(Items& items, Moment present) {
  Items due;
  const auto first =
      std::find_if(items.begin(), items.end(), [&](const auto& item) { return item->next <= present; });
  if (first != items.end()) due.splice(due.end(), items, first);
  return due;
}

}  // namespace

/// What waits for the Redis, and the thread that asks it: neither a caller nor the other network waits.
class LeasingNetwork::Line : public std::enable_shared_from_this<Line> {
 public:
  Line(std::shared_ptr<CorvaneSDK::Network> next, std::shared_ptr<RedisStore> store, const Options& options,
       std::string names)
      : next_(std::move(next)),
        leases_(std::move(store), {options.lease, options.answer}),
        lease_(options.lease),
        interval_(options.interval),
        names_(std::move(names)) {}

  /// Null when the system gives no thread, or no memory for the names.
  [[nodiscard]] static std::shared_ptr<Line> started(std::shared_ptr<CorvaneSDK::Network> next,
                                                     std::shared_ptr<RedisStore> store,
                                                     const Options& options) {
    auto names = namesFor(options.owner);
    if (!names) return nullptr;
    auto line = std::make_shared<Line>(std::move(next), std::move(store), options, *std::move(names));
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

  void add(const NetRequest& request, Completion completion) {
    const std::string& url = request.base().url.absoluteString();
    const Moment present = Sleep::now();
    const LeaseWait wait(present, request.base().timeoutInterval, lease_, LeaseWait::shareOf(randomKey()));
    Items added;
    added.push_back(std::make_shared<Item>(Item{request,
                                                std::move(completion),
                                                names_ + url,
                                                RedisLeases::newToken(),
                                                wait,
                                                present,
                                                {url, 200, {}}}));
    const std::lock_guard lock(mutex_);
    waiting_.splice(waiting_.end(), added);
    changed_.notify_one();
  }

 private:
  void run() {
    std::unique_lock lock(mutex_);
    while (!hasEnded_ || !waiting_.empty()) {
      const Moment present = Sleep::now();
      if (auto sent = dueRenewal(present)) {
        lock.unlock();
        renew(std::move(sent));
        lock.lock();
      } else if (auto due = firstDue(waiting_, hasEnded_ ? Moment::max() : present); !due.empty()) {
        const bool isLast = hasEnded_;
        lock.unlock();
        decide(std::move(due), isLast);
        lock.lock();
      } else {
        wait(lock);
      }
    }
    lock.unlock();
    next_.reset();  // it may hold completions that hold this object, and never call them
  }

  [[nodiscard]] std::shared_ptr<Item> dueRenewal(Moment present) {
    for (const auto& item : sent_) {
      if (item->next > present) continue;
      item->next = present + lease_ / 3;
      return item;
    }
    return nullptr;
  }

  /// Lets go of the item, whose completion may hold anything, while the mutex is free.
  void renew(std::shared_ptr<Item> sent) {
    const auto item = std::move(sent);
    try {
      leases_.renew(item->name, item->token);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next one comes in time
    }
  }

  void wait(std::unique_lock<std::mutex>& lock) {
    Moment first = Sleep::never;
    for (const Items* items : {&waiting_, &sent_}) {
      for (const auto& item : *items) first = std::min(first, item->next);
    }
    Sleep::on(changed_, lock, first);
  }

  /// Takes one item. It goes on waiting where nothing can be done with it.
  void decide(Items due, bool isLast) {
    Item& item = *due.front();
    if (!isLast && !item.wait.isOver(Sleep::now())) {
      auto decision = asked(item);
      if (decision.answer) return hand(item, *std::move(decision.answer));
      if (!maySend(item, decision.turn)) return putBack(std::move(due));
    }
    const auto kept = due.front();
    {
      const std::lock_guard lock(mutex_);
      kept->next = Sleep::now() + lease_ / 3;
      sent_.splice(sent_.end(), due);
    }
    if (!hasSent(kept)) putBack(taken(*kept));
  }

  [[nodiscard]] RedisLeases::Decision asked(const Item& item) {
    try {
      return leases_.ask(item.name, item.token);
    } catch (const std::bad_alloc&) {
      return {};
    }
  }

  [[nodiscard]] static bool maySend(Item& item, RedisLeases::Turn turn) {
    if (turn == RedisLeases::Turn::own) return true;
    if (turn == RedisLeases::Turn::another) item.wait.noteHolder();
    if (turn == RedisLeases::Turn::unknown) item.wait.noteFailure(Sleep::now());
    return item.wait.isOver(Sleep::now());
  }

  static void hand(Item& item, Data answer) {
    const auto completion = std::move(item.completion);
    completion(std::move(answer), std::nullopt, std::move(item.toldBy));
  }

  /// False when there is no memory for it. The lease is given back before the answer is handed on: a process
  /// may end as soon as it has that.
  [[nodiscard]] bool hasSent(const std::shared_ptr<Item>& item) {
    try {
      next_->sendRequest(item->rest(),
                         [self = shared_from_this(), item](auto data, auto error, auto response) {
                           const bool isShared = isGood(error, response);
                           self->giveBack(*item, isShared ? data : std::nullopt);
                           const auto completion = std::move(item->completion);
                           completion(std::move(data), std::move(error), std::move(response));
                         });
      return true;
    } catch (const std::bad_alloc&) {
      return false;
    }
  }

  void giveBack(const Item& item, const std::optional<Data>& answer) {
    const Items gone = taken(item);
    try {
      leases_.giveBack(item.name, item.token, answer);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): a courtesy to others
    }
  }

  /// What was sent, no more to be renewed.
  [[nodiscard]] Items taken(const Item& item) {
    const std::lock_guard lock(mutex_);
    Items found;
    const auto place =
        std::find_if(sent_.begin(), sent_.end(), [&](const auto& each) { return each.get() == &item; });
    if (place != sent_.end()) found.splice(found.end(), sent_, place);
    return found;
  }

  void putBack(Items items) {
    const std::lock_guard lock(mutex_);
    for (const auto& item : items) item->next = Sleep::now() + interval_;
    waiting_.splice(waiting_.end(), items);
  }

  std::shared_ptr<CorvaneSDK::Network> next_;  // on the thread only, which lets go of it at its end
  RedisLeases leases_;
  const std::chrono::milliseconds lease_;
  const std::chrono::milliseconds interval_;
  const std::string names_;
  std::thread thread_;

  std::mutex mutex_;  // guards what follows, and when the items are due
  std::condition_variable changed_;
  bool hasEnded_ = false;
  Items waiting_;
  Items sent_;
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
  line_->add(request, std::move(completion));
}

}  // namespace vellora::hostkit
