// A host of your own: a network, a log and a queue, around the ready-made memory cache. The "server" is a
// folder of answers, so that the example needs none; a real host calls its own HTTP stack in the same place.
//
//     own-host FOLDER RECORD-ID        FOLDER/services/data/v50.0/sobjects and …/theme hold the answers

#include <chrono>
#include <condition_variable>
#include <deque>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/memory/MemoryCache.h"
#include "vellora/Host/Logger.h"
#include "vellora/Host/Network.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace {

// [error]
struct FolderNetworkError {
  std::string path;

  std::string localizedDescription() const { return "There is no answer for " + path + "."; }
};
// [error]

// [network]
class FolderNetwork final : public CorvaneSDK::Network {
 public:
  explicit FolderNetwork(std::string folder) : folder_(std::move(folder)) {}

  void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
    const std::string& url = request.base().url.absoluteString();  // "/services/data/…", percent-encoded
    std::ifstream file(folder_ + url.substr(0, url.find('?')), std::ios::binary);
    if (!file) return completion(std::nullopt, FolderNetworkError{url}, std::nullopt);
    const std::string body{std::istreambuf_iterator<char>(file), {}};
    completion(vellora::Data(body), std::nullopt, vellora::URLResponse{url, 200, {}});
  }

 private:
  const std::string folder_;
};
// [network]

// [logger]
class StandardErrorLogger final : public CorvaneSDK::Logger {
 public:
  void log(std::string_view message, CorvaneSDK::LogLevel level) override {
    const std::lock_guard lock(mutex_);  // lines come from several threads
    std::cerr << (level == CorvaneSDK::LogLevel::error ? "error: " : "info: ") << message << '\n';
  }

 private:
  std::mutex mutex_;
};
// [logger]

// [queue]
/// A loop on the main thread, as user interfaces have one.
class MainLoop final : public vellora::DispatchQueue {
 public:
  void async(Work work) override {
    const std::lock_guard lock(mutex_);
    waiting_.push_back(std::move(work));
    changed_.notify_one();
  }

  /// Runs one piece of work; false when none came in time.
  bool runNext(std::chrono::seconds limit) {
    std::unique_lock lock(mutex_);
    if (!changed_.wait_for(lock, limit, [this] { return !waiting_.empty(); })) return false;
    const Work work = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();  // the work may submit more
    work();
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Work> waiting_;
};
// [queue]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::cerr << "usage: own-host FOLDER RECORD-ID\n", 2;
  const std::string recordId = argv[2];

  // [host]
  const auto host = std::make_shared<vellora::hostkit::StandardPlatformAPI>(
      std::make_shared<FolderNetwork>(argv[1]), std::make_shared<vellora::hostkit::MemoryCache>(),
      std::make_shared<StandardErrorLogger>());
  const auto loop = std::make_shared<MainLoop>();
  vellora::VelloraService service(host, /*cacheTimeout=*/3600, /*theme=*/"light", loop);
  // [host]

  // [answer]
  bool answered = false;
  service.objectPresentationInfoForIds({recordId}, [&, loop](const auto& infos) {
    // This may be any thread: take what is needed, and go on where the application lives.
    const auto found = infos.find(recordId);
    const std::string label =
        found == infos.end() ? "unknown" : found->second.typePresentationInfo.label.value_or("");
    loop->async([&answered, label] {
      std::cout << label << '\n';
      answered = true;
    });
  });
  while (!answered && loop->runNext(std::chrono::seconds(5))) continue;
  // [answer]
  if (!answered) std::cerr << "no answer: " << service.primerState().description() << '\n';
  return answered ? 0 : 1;
}
