#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/log/SpdlogLogger.h"
#include "tests/integration/Rest.h"
#include "tests/support/SteppedSleep.h"
#include "tests/support/TemporaryFolder.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Queues/ThreadPool.h"
#include "vellora/Services/VelloraService.h"

// What an app's process does while nobody asks anything: nothing. The time of the threads is stepped.

namespace vellora {
namespace {

using namespace std::chrono_literals;
using recordsserver::DataSet;
using recordsserver::RecordsServer;
using tests::SteppedSleep;

/// Sleeps for a minute at a time, until it is destroyed.
class PollingThread {
 public:
  ~PollingThread() {
    {
      const std::lock_guard lock(mutex_);
      isOver_ = true;
    }
    over_.notify_one();
    thread_.join();
  }

 private:
  void poll() {
    std::unique_lock lock(mutex_);
    while (!isOver_) Sleep::on(over_, lock, Sleep::now() + 1min);
  }

  std::mutex mutex_;
  std::condition_variable over_;
  bool isOver_ = false;
  std::thread thread_{[this] { poll(); }};
};

class IdleHourTest : public testing::Test {
 protected:
  /// How often a thread wakes in an hour besides those that the process has anyway.
  std::size_t wakeUpsOfOneMoreSleeper() const { return SteppedSleep::wakeUpsOfAnHour(others_ + 1); }

 private:
  const std::size_t others_ = tests::comeToRestAtFirst();
};

TEST_F(IdleHourTest, AThreadThatPollsIsCounted) {
  const PollingThread thread;
  EXPECT_EQ(wakeUpsOfOneMoreSleeper(), 60U);
}

TEST_F(IdleHourTest, APollThatIsAskedForByTheMinuteIsCounted) {
  std::size_t wakeUps = 0;
  Sleep::in([&](int) { wakeUps = wakeUpsOfOneMoreSleeper(); }, Sleep::now() + 1min);
  EXPECT_EQ(wakeUps, 60U);
}

class IdleProcessTest : public testing::Test {
 protected:
  [[nodiscard]] std::shared_ptr<CorvaneSDK::PlatformAPI> host() const {
    return hostkit::StandardPlatformAPI::make(
               {.server = server_->url(),
                .cacheFile = folder_.file("cache.sqlite"),
                .logger =
                    hostkit::SpdlogLogger::toFile(folder_.file("log"), hostkit::SpdlogLogger::Level::info)
                        .value()})
        .value();
  }

 private:
  const tests::TemporaryFolder folder_;
  const std::unique_ptr<RecordsServer> server_ = RecordsServer::start(DataSet::builtIn()).value();
};

TEST_F(IdleProcessTest, WakesNoThreadInAnHourThoughCatalogueWatchAndFacadeAreThere) {
  const auto shared = host();
  const Catalog catalog(shared, {.cacheTimeout = 24h});
  const auto type = [&] { return catalog.types({"Account"}); };
  std::promise<void> watched;
  const auto watch = catalog.watch(type, [&](const auto&) { watched.set_value(); });
  watched.get_future().wait();
  VelloraService facade(shared, 3600, "light", std::make_shared<SerialDispatchQueue>("VelloraService.queue"));
  std::promise<std::size_t> found;
  facade.objectPresentationInfoForApiNames({"Account"},
                                           [&](const auto& infos) { found.set_value(infos.size()); });
  ASSERT_EQ(found.get_future().get(), 1U);

  constexpr std::size_t ours = 2;  // the network's thread, and that of the deadlines
  tests::comeToRest(ours);
  EXPECT_EQ(SteppedSleep::wakeUpsOfAnHour(ours), 0U);

  EXPECT_EQ(type().get().end, End::answered) << "threads have come again";
}

TEST_F(IdleProcessTest, EndsItsThreadsWithoutWorkWhenMemoryIsReleased) {
  const Catalog catalog(host(), {});
  ASSERT_EQ(catalog.types({"Account"}).get().end, End::answered);
  // One that still works has to find out first that it has none.
  constexpr int most = 30'000;
  for (int turn = 0; turn < most && detail::ThreadPool::shared().threads() > 0; ++turn) {
    catalog.releaseMemory();
    std::this_thread::sleep_for(1ms);
  }
  EXPECT_EQ(detail::ThreadPool::shared().threads(), 0U);
}

}  // namespace
}  // namespace vellora
