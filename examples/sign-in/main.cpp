// A host application that hands over a token, renews it, and asks its user to sign in again when it must. It
// stands for one that gets its tokens elsewhere: it reads them from a file.
//
//     sign-in https://records.example token-file 001000000000001 [ca-file]

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <future>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace {

std::optional<std::string> tokenIn(const std::string& file) {
  std::ifstream text(file);
  std::string token;
  return text >> token ? std::optional(token) : std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 4 || argc > 5) return std::cerr << "usage: sign-in SERVER TOKEN-FILE RECORD-ID [CA-FILE]\n", 2;
  const std::string file = argv[2];
  const std::string recordId = argv[3];

  std::atomic<bool> mustSignIn = false;
  // [token]
  using namespace vellora;
  hostkit::StandardPlatformAPI::Options options{.server = argv[1]};
  if (argc == 5) options.caFile = argv[4];  // absent: the authorities that the system trusts
  options.token = [file] { return tokenIn(file); };
  options.renewedToken = [file](const std::string& /*refused*/) { return tokenIn(file); };
  options.observer = [&mustSignIn](const hostkit::RequestOutcome& outcome) {
    if (outcome.statusCode == 401) mustSignIn = true;  // the renewed token was refused, too, or there is none
  };
  const auto host = hostkit::StandardPlatformAPI::make(options);
  // [token]
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;

  std::promise<std::string> label;
  auto answer = label.get_future();
  const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
  VelloraService service(host.value(), /*cacheTimeout=*/3600, /*theme=*/"light", queue);
  service.objectPresentationInfoForIds({recordId}, [&](const auto& infos) {
    const auto found = infos.find(recordId);
    label.set_value(found == infos.end() ? "unknown" : found->second.typePresentationInfo.label.value_or(""));
  });
  if (answer.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
    std::cerr << "no answer: " << service.primerState().description() << '\n';
    std::_Exit(1);
  }
  if (mustSignIn) return std::cerr << "sign in again\n", 1;
  std::cout << recordId << " is of type " << answer.get() << '\n';
}
