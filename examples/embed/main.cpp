// The smallest host application: a records server's address, a cache file, and one question.
//
//     embed http://127.0.0.1:8080 001000000000001

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace {

// [ids]
bool isRecordId(std::string_view id) {
  const auto isLetterOrDigit = [](unsigned char c) { return c < 0x80 && std::isalnum(c) != 0; };
  return (id.size() == 15 || id.size() == 18) && std::all_of(id.begin(), id.end(), isLetterOrDigit);
}
// [ids]

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3 || !isRecordId(argv[2])) return std::cerr << "usage: embed SERVER RECORD-ID\n", 2;
  const std::string recordId = argv[2];

  std::promise<std::string> label;
  // [embed]
  using namespace vellora;
  const auto host =
      hostkit::StandardPlatformAPI::make({.server = argv[1], .cacheFile = "embed-cache.sqlite"});
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;

  const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
  VelloraService service(host.value(), /*cacheTimeout=*/3600, /*theme=*/"light", queue);
  service.objectPresentationInfoForIds({recordId}, [&](const auto& infos) {
    const auto found = infos.find(recordId);
    label.set_value(found == infos.end() ? "unknown" : found->second.typePresentationInfo.label.value_or(""));
  });
  // [embed]

  // An id lookup is silent when a request fails, so never wait for it without a limit.
  auto answer = label.get_future();
  if (answer.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
    std::cerr << "no answer: " << service.primerState().description() << '\n';
    std::_Exit(1);
  }
  std::cout << recordId << " is of type " << answer.get() << '\n';
}
