// The first start of an app that ships a cache: it answers without a network, shows how far loading gets, and
// gives each signed-in user a cache of their own.
//
//     seeded-start SERVER SEED-FILE CACHE-FILE RECORD-ID

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/StandardPlatformAPI.h"
#include "hostkit/cache/CacheArchive.h"
#include "hostkit/cache/sqlite/SQLiteCache.h"
#include "hostkit/log/SpdlogLogger.h"
#include "hostkit/network/CurlNetwork.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

using namespace vellora;

namespace {

// [seed]
/// Fills an empty cache with what the app ships, as if it had been fetched now.
bool seed(CorvaneSDK::Cache& cache, const std::string& seedFile) {
  std::ifstream file(seedFile, std::ios::binary);
  const auto archive =
      hostkit::CacheArchive::decode(Data(std::string(std::istreambuf_iterator<char>(file), {})));
  if (!archive) return std::cerr << archive.error().localizedDescription() << '\n', false;
  if (archive.value().foundIn(cache)) return true;  // not the first start
  return archive.value().fetchedAt(now()).restore(cache);
}
// [seed]

// [ids]
bool isRecordId(std::string_view id) {
  const auto isLetterOrDigit = [](unsigned char c) { return c < 0x80 && std::isalnum(c) != 0; };
  return (id.size() == 15 || id.size() == 18) && std::all_of(id.begin(), id.end(), isLetterOrDigit);
}
// [ids]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5 || !isRecordId(argv[4])) {
    return std::cerr << "usage: seeded-start SERVER SEED-FILE CACHE-FILE RECORD-ID\n", 2;
  }
  const std::string recordId = argv[4];

  // [parts]
  auto network = hostkit::CurlNetwork::make({.server = argv[1]});
  if (!network) return std::cerr << network.error().localizedDescription() << '\n', 1;
  auto cache = hostkit::SQLiteCache::open(argv[3]);
  if (!cache) return std::cerr << cache.error().localizedDescription() << '\n', 1;
  if (!seed(*cache.value(), argv[2])) return 1;

  const auto logger = hostkit::SpdlogLogger::toStandardError(hostkit::SpdlogLogger::Level::error);
  const auto host = std::make_shared<hostkit::StandardPlatformAPI>(network.value(), cache.value(), logger);
  const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
  const auto service = std::make_shared<VelloraService>(host, /*cacheTimeout=*/3600, "light", queue);
  // [parts]

  // [state]
  const AnyCancellable watching = service->primerStateStream().sink([](const VelloraService::State& state) {
    if (const Error* error = state.error()) {
      std::cerr << "working offline: " << error->localizedDescription() << '\n';
    }
  });
  // [state]

  // [bounded]
  auto answer = std::make_shared<std::promise<std::string>>();
  auto label = answer->get_future();
  service->objectPresentationInfoForIds({recordId}, [answer, recordId](const auto& infos) {
    const auto found = infos.find(recordId);
    answer->set_value(found == infos.end() ? "unknown"
                                           : found->second.typePresentationInfo.label.value_or(""));
  });
  // An id lookup is silent when a request fails on its way, so the wait has a limit of its own.
  if (label.wait_for(std::chrono::seconds(10)) != std::future_status::ready) {
    std::cerr << "no answer: " << service->primerState().description() << '\n';
    return 1;
  }
  std::cout << label.get() << '\n';
  // [bounded]
}
