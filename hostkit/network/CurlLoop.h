#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "hostkit/network/CurlTransfer.h"
#include "hostkit/network/ServerPause.h"
#include "hostkit/network/TransferSetting.h"
#include "hostkit/network/WaitingTransfers.h"
#include "vellora/Platform/Queues/Sleep.h"
#include "vellora/Platform/Values/Result.h"

namespace vellora::hostkit {

/// The one thread that drives all transfers of a network.
///
/// Ownership: shared by the network and by the thread itself, which ends some time after `stop`; until then
/// it keeps the setting that its transfers refer to.
///
/// Threads: `submit` is safe from any thread; `stop` is called once. Transfers are delivered on the loop's
/// thread, with no lock held.
///
/// Errors: `start` fails with a `CurlNetworkError` of kind `unavailable` when the machine gives no thread, no
/// descriptor or no memory.
class CurlLoop : public std::enable_shared_from_this<CurlLoop> {
 public:
  [[nodiscard]] static Result<std::shared_ptr<CurlLoop>> start(TransferSetting setting);
  ~CurlLoop();
  CurlLoop(const CurlLoop&) = delete;
  CurlLoop& operator=(const CurlLoop&) = delete;

  [[nodiscard]] const TransferSetting& setting() const noexcept { return setting_; }

  /// Takes `transfer` over, and delivers it in the end. Gives it back once the loop is stopped.
  [[nodiscard]] std::unique_ptr<CurlTransfer> submit(std::unique_ptr<CurlTransfer> transfer);

  /// Fails what is pending and ends the thread. Waits for that, except on the loop's own thread: there it
  /// lets the loop end by itself, once the caller has returned.
  void stop();

 private:
  struct Multi;
  using Transfers = WaitingTransfers::Transfers;

  CurlLoop(TransferSetting setting, std::unique_ptr<Multi> multi);

  void queue(CurlTransfer& transfer);
  void run();
  [[nodiscard]] bool takeArrivals();
  void holdBackWaiting();
  void beginWaiting();
  [[nodiscard]] bool mayBegin() const;
  void drive(std::unique_ptr<CurlTransfer> transfer, void* handle);
  void finishTransfers();
  void noteAnswer(const CurlTransfer& transfer);
  void deliver(CurlTransfer& transfer);
  void putDeadlinesOff(CurlTransfer::Clock::duration by);
  void expireTransfers(CurlTransfer::Clock::time_point now);
  void failAll();
  [[nodiscard]] std::unique_ptr<CurlTransfer> release(void* handle);
  [[nodiscard]] Sleep::Moment wakesAt() const;

  // Constant after construction.
  const TransferSetting setting_;
  const std::unique_ptr<Multi> multi_;
  std::thread thread_;

  std::atomic<std::size_t> queued_ = 0;  // that are not settled, in arrivals_ and waiting_
  std::mutex mutex_;
  Transfers arrivals_;     // under mutex_
  bool stopping_ = false;  // under mutex_

  // Only on the loop's thread.
  WaitingTransfers waiting_;
  ServerPause pause_;
  std::map<void*, std::unique_ptr<CurlTransfer>> active_;  // by curl handle
};

}  // namespace vellora::hostkit
