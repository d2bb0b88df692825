#include "bench/ReadyHost.h"

#include <cstdlib>
#include <future>
#include <iostream>
#include <utility>

#include "vellora/Platform/Queues/SerialDispatchQueue.h"

namespace vellora::bench {

std::shared_ptr<hostkit::StandardPlatformAPI> readyHost(const std::string& server,
                                                        const std::optional<std::string>& cacheFile,
                                                        Bodies bodies) {
  auto made = hostkit::StandardPlatformAPI::make(
      {.server = server, .asksConditionally = bodies == Bodies::kept, .cacheFile = cacheFile});
  if (made) return std::move(made).value();
  std::cerr << made.error().localizedDescription() << '\n';
  std::exit(1);
}

std::unique_ptr<VelloraService> startedService(const std::shared_ptr<hostkit::StandardPlatformAPI>& host) {
  constexpr double cacheTimeout = 24 * 60 * 60;
  return std::make_unique<VelloraService>(
      host, cacheTimeout, "light",
      std::make_shared<SerialDispatchQueue>(std::string(VelloraService::Constants::queueLabel)));
}

bool waitUntilLoaded(const VelloraService& service) {
  using State = VelloraService::State;
  std::promise<bool> ended;
  const auto token = service.primerStateStream()
                         .first([](const State& state) { return state != State::isLoading(); })
                         .sink([&](const State& state) { ended.set_value(state == State::loaded()); });
  return ended.get_future().get();
}

}  // namespace vellora::bench
