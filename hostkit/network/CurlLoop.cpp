#include "hostkit/network/CurlLoop.h"

#include <curl/curl.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <system_error>
#include <utility>

#include "hostkit/libraries/CLibraries.h"
#include "hostkit/network/Connections.h"

namespace vellora::hostkit {

namespace {

using Kind = CurlNetworkError::Kind;

// The rest waits here rather than in curl, whose own limit on connections leaves a request waiting for many
// seconds now and then although a connection is free (7.88.1).
constexpr std::size_t mostActive = 8;

// Where curl lets OpenSSL write to sockets in the plain way, which 7.88.1 doesn't, a connection that the
// server has closed is then an error here, not the end of the host's process.
void blockBrokenPipeSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Error unavailable(const std::string& what) {
  return CurlNetworkError{Kind::unavailable, "the network cannot start: no " + what + " to be had"};
}

}  // namespace

struct CurlLoop::Multi {
  Connections connections;  // first: curl closes its connections through it
  std::unique_ptr<CURLM, decltype(&curl_multi_cleanup)> handle{curl_multi_init(), curl_multi_cleanup};
};

CurlLoop::CurlLoop(TransferSetting setting, std::unique_ptr<Multi> multi)
    : setting_(std::move(setting)), multi_(std::move(multi)) {
  // Otherwise curl keeps fewer connections when few requests are under way, and closes the rest at once.
  curl_multi_setopt(multi_->handle.get(), CURLMOPT_MAXCONNECTS, static_cast<long>(mostActive));
  // One request at a time on an HTTP/2 connection too: with several, curl 7.88.1 now and then overlooks what
  // has arrived, and lets them wait until their time is up.
  curl_multi_setopt(multi_->handle.get(), CURLMOPT_PIPELINING, static_cast<long>(CURLPIPE_NOTHING));
}

CurlLoop::~CurlLoop() = default;

Result<std::shared_ptr<CurlLoop>> CurlLoop::start(TransferSetting setting) {
  if (!isCurlReady()) return unavailable("curl");
  auto multi = std::make_unique<Multi>();
  if (!multi->handle) return unavailable("memory");
  // Without descriptors curl makes a handle that nobody can wake: its thread would sleep through requests.
  if (curl_multi_wakeup(multi->handle.get()) != CURLM_OK) return unavailable("descriptors");
  const std::shared_ptr<CurlLoop> loop(new CurlLoop(std::move(setting), std::move(multi)));
  try {
    loop->thread_ = std::thread([loop] { loop->run(); });
  } catch (const std::system_error&) {
    return unavailable("thread");
  }
  return loop;
}

std::unique_ptr<CurlTransfer> CurlLoop::submit(std::unique_ptr<CurlTransfer> transfer) {
  bool isFirst = false;
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) return transfer;
    queue(*transfer);
    isFirst = arrivals_.empty();
    arrivals_.push_back(std::move(transfer));
  }
  // The loop takes all arrivals at once, so it is woken by the first of them.
  if (isFirst) curl_multi_wakeup(multi_->handle.get());
  return nullptr;
}

void CurlLoop::queue(CurlTransfer& transfer) {
  if (transfer.isSettled() || queued_++ < setting_.maxWaiting) return;
  --queued_;
  transfer.fail(Kind::tooManyRequests);
}

void CurlLoop::stop() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  curl_multi_wakeup(multi_->handle.get());
  if (thread_.get_id() == std::this_thread::get_id()) {
    thread_.detach();
  } else {
    thread_.join();
  }
}

void CurlLoop::run() {
  blockBrokenPipeSignal();
  while (takeArrivals()) {
    holdBackWaiting();
    beginWaiting();
    // Taken first: an answer that came in time counts, however long completions then take.
    const auto now = Sleep::now();
    int running = 0;
    curl_multi_perform(multi_->handle.get(), &running);
    finishTransfers();
    expireTransfers(now);
    Sleep::in([this](int longest) { curl_multi_poll(multi_->handle.get(), nullptr, 0, longest, nullptr); },
              wakesAt());
  }
  failAll();
}

bool CurlLoop::takeArrivals() {
  Transfers arrivals;
  {
    const std::lock_guard lock(mutex_);
    if (stopping_) return false;
    arrivals.swap(arrivals_);
  }
  for (auto& transfer : arrivals) {
    if (transfer->isSettled()) {
      transfer->deliver();
    } else {
      waiting_.add(std::move(transfer), Sleep::now());
    }
  }
  return true;
}

// What waits is told at once: it may know another way, or when to come back.
void CurlLoop::holdBackWaiting() {
  const auto refusal = pause_.refusalAt(Sleep::now());
  if (!refusal) return;
  for (const auto& transfer : waiting_.takeAll()) {
    --queued_;
    transfer->holdBack(*refusal);
    transfer->deliver();
  }
}

// With a cache one at a time: the others get on between two look-ups.
void CurlLoop::beginWaiting() {
  while (mayBegin()) {
    std::unique_ptr<CurlTransfer> transfer = waiting_.takeFirst();
    --queued_;
    void* handle = transfer->prepareHandle(multi_->connections);
    putDeadlinesOff(transfer->takeTimeOfCache());
    if (handle != nullptr) {
      drive(std::move(transfer), handle);
    } else {
      transfer->deliver();
    }
    if (setting_.bodies) return;
  }
}

bool CurlLoop::mayBegin() const {
  return !waiting_.empty() && active_.size() < mostActive;
}

void CurlLoop::drive(std::unique_ptr<CurlTransfer> transfer, void* handle) {
  if (curl_multi_add_handle(multi_->handle.get(), handle) == CURLM_OK) {
    active_.emplace(handle, std::move(transfer));
    return;
  }
  transfer->fail(Kind::unavailable);
  transfer->deliver();
}

// What has finished is taken out first: completions are free to do anything.
void CurlLoop::finishTransfers() {
  std::vector<std::pair<CURL*, CURLcode>> finished;
  int left = 0;
  while (const CURLMsg* message = curl_multi_info_read(multi_->handle.get(), &left)) {
    if (message->msg == CURLMSG_DONE) finished.emplace_back(message->easy_handle, message->data.result);
  }
  for (const auto& [handle, code] : finished) {
    if (code != CURLE_OPERATION_TIMEDOUT) waiting_.noteProgress(Sleep::now());
    std::unique_ptr<CurlTransfer> transfer = release(handle);
    transfer->finish(code);
    if (transfer->isSettled()) {
      noteAnswer(*transfer);
      deliver(*transfer);
    } else {
      const auto timeOfCache = transfer->takeTimeOfCache();
      putDeadlinesOff(timeOfCache);
      transfer->postpone(timeOfCache);
      drive(std::move(transfer), handle);
    }
  }
}

void CurlLoop::deliver(CurlTransfer& transfer) {
  transfer.deliver();
  putDeadlinesOff(transfer.takeTimeOfCache());
}

// While the cache works for one request, none of the others gets on. That is not the server's doing.
void CurlLoop::putDeadlinesOff(CurlTransfer::Clock::duration by) {
  for (const auto& [handle, each] : active_) each->postpone(by);
  waiting_.postpone(by);
}

void CurlLoop::noteAnswer(const CurlTransfer& transfer) {
  if (setting_.pausesWhenRefused) transfer.report(pause_, Sleep::now());
}

// curl's own time-out would not count the redirects before, and knows nothing of those that wait here.
void CurlLoop::expireTransfers(CurlTransfer::Clock::time_point now) {
  Transfers expired;
  for (auto each = active_.begin(); each != active_.end();) {
    const auto& [handle, transfer] = *each++;  // released below
    if (transfer->deadline() <= now) expired.push_back(release(handle));
  }
  for (auto& transfer : waiting_.takeExpired(now)) {
    --queued_;
    expired.push_back(std::move(transfer));
  }
  for (const auto& transfer : expired) {
    transfer->expire();
    noteAnswer(*transfer);
    transfer->deliver();
  }
}

void CurlLoop::failAll() {
  Transfers pending;
  {
    const std::lock_guard lock(mutex_);
    pending.swap(arrivals_);
  }
  while (!active_.empty()) pending.push_back(release(active_.begin()->first));
  for (auto& transfer : waiting_.takeAll()) pending.push_back(std::move(transfer));
  for (const auto& transfer : pending) {
    if (!transfer->isSettled()) transfer->fail(Kind::shutDown);
    transfer->deliver();
  }
}

std::unique_ptr<CurlTransfer> CurlLoop::release(void* handle) {
  curl_multi_remove_handle(multi_->handle.get(), handle);
  return std::move(active_.extract(handle).mapped());
}

Sleep::Moment CurlLoop::wakesAt() const {
  if (mayBegin()) return Sleep::now();
  auto soonest = waiting_.soonestExpiry();
  for (const auto& [handle, transfer] : active_) soonest = std::min(soonest, transfer->deadline());
  return soonest;
}

}  // namespace vellora::hostkit
