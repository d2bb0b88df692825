// Tests whether a host of your own keeps the contract: a network, a cache, a log and a queue are tried on
// everything that the contract demands of them. The program prints a verdict for each guarantee, and ends
// with 1 when one is broken.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "conformance/CacheConformance.h"
#include "conformance/LoggerConformance.h"
#include "conformance/NetworkConformance.h"
#include "conformance/QueueConformance.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "hostkit/network/CurlNetwork.h"

namespace {

/// The app's network: the ready-made one, and a count for the app's own screen.
class CountingNetwork final : public CorvaneSDK::Network {
 public:
  explicit CountingNetwork(const std::string& server)
      : next_(vellora::hostkit::CurlNetwork::make({.server = server}).value()) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    ++count_;
    next_->sendRequest(request, std::move(completion));
  }

 private:
  std::atomic<int> count_ = 0;
  const std::shared_ptr<CorvaneSDK::Network> next_;
};

/// The app's store of blobs. It leaves the row tables to a ready-made cache in memory.
class AppCache final : public CorvaneSDK::Cache {
 public:
  explicit AppCache(std::function<vellora::Date()> clock) : rows_(std::move(clock)) {}

  std::optional<vellora::Data> load(const std::string& key) override {
    const std::lock_guard lock(mutex_);
    const auto found = blobs_.find(key);
    return found == blobs_.end() ? std::nullopt : std::optional(found->second);
  }
  bool save(const vellora::Data& data, const std::string& key) override {
    const std::lock_guard lock(mutex_);
    blobs_.insert_or_assign(key, data);
    return true;
  }
  bool remove(const std::string& key) override {
    const std::lock_guard lock(mutex_);
    blobs_.erase(key);
    return true;
  }
  std::shared_ptr<CorvaneSDK::CacheTable> openTable(const std::string& tableKey) override {
    return rows_.openTable(tableKey);
  }
  std::shared_ptr<CorvaneSDK::CacheTable> createTable(const CorvaneSDK::Table& table) override {
    return rows_.createTable(table);
  }

 private:
  vellora::hostkit::MemoryCache rows_;
  std::mutex mutex_;
  std::map<std::string, vellora::Data> blobs_;  // under mutex_
};

/// The app's log: a stream, one line for each message.
class StreamLogger final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel) override {
    std::string line(message);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    const std::lock_guard lock(mutex_);
    stream_ << line << '\n';
  }

  std::string text() {
    const std::lock_guard lock(mutex_);
    return stream_.str();
  }

 private:
  std::mutex mutex_;
  std::ostringstream stream_;  // under mutex_
};

/// The app's queue: a thread that ends when its work is done and nobody has the queue any more.
class WorkerQueue final : public vellora::DispatchQueue {
 public:
  WorkerQueue() {
    std::thread([state = state_] {
      while (const Work work = state->next()) work();
    }).detach();
  }
  ~WorkerQueue() override { state_->close(); }

  void async(Work work) override { state_->add(std::move(work)); }

 private:
  struct State {
    void add(Work work) {
      const std::lock_guard lock(mutex);
      waiting.push_back(std::move(work));
      changed.notify_one();
    }
    void close() {
      const std::lock_guard lock(mutex);
      isClosed = true;
      changed.notify_one();
    }
    Work next() {
      std::unique_lock lock(mutex);
      changed.wait(lock, [this] { return isClosed || !waiting.empty(); });
      if (waiting.empty()) return {};
      Work work = std::move(waiting.front());
      waiting.pop_front();
      return work;
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::deque<Work> waiting;
    bool isClosed = false;
  };

  const std::shared_ptr<State> state_ = std::make_shared<State>();
};

// [conformance]
using namespace vellora::conformance;

class AppNetworkHost final : public NetworkHost {
  std::shared_ptr<CorvaneSDK::Network> connect(const std::string& serverUrl) override {
    return std::make_shared<CountingNetwork>(serverUrl);
  }
};

class AppCacheHost final : public CacheHost {
  std::shared_ptr<CorvaneSDK::Cache> open() override {
    return std::make_shared<AppCache>([now = now_] { return vellora::Date::since1970(*now); });
  }
  bool outlivesTheProcess() const override { return false; }
  bool advanceClock(double seconds) override { return *now_ += seconds, true; }

  const std::shared_ptr<double> now_ = std::make_shared<double>(1'700'000'000);
};

class AppLoggerHost final : public LoggerHost {
  std::shared_ptr<CorvaneSDK::Logger> logger() override { return logger_; }
  std::vector<std::string> lines() override {
    std::istringstream text(logger_->text());
    std::vector<std::string> all;
    for (std::string line; std::getline(text, line);) all.push_back(line);
    return all;
  }

  const std::shared_ptr<StreamLogger> logger_ = std::make_shared<StreamLogger>();
};

class AppQueueHost final : public QueueHost {
  std::shared_ptr<vellora::DispatchQueue> make() override { return std::make_shared<WorkerQueue>(); }
};
// [conformance]

}  // namespace

// [main]
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  registerNetworkConformance("AppNetwork", [] { return std::make_unique<AppNetworkHost>(); });
  registerCacheConformance("AppCache", [] { return std::make_unique<AppCacheHost>(); });
  registerLoggerConformance("AppLogger", [] { return std::make_unique<AppLoggerHost>(); });
  registerQueueConformance("AppQueue", [] { return std::make_unique<AppQueueHost>(); });
  return RUN_ALL_TESTS();
}
// [main]
