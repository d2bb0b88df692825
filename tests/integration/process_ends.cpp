// Ends a process, in the way that is named, while a catalogue and a façade in static storage wait for a
// server that has taken a request and does not answer. Whoever runs it must see it end, with 0, within a
// minute.
//   process-ends exit|exit-then-ask|exit-in-answer|exit-on-network|quick-exit|quick-exit-in-answer|fork
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "hostkit/StandardPlatformAPI.h"
#include "tests/support/Requests.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace {

using namespace vellora;
using namespace std::chrono_literals;

[[noreturn]] void giveUp() {
  std::_Exit(3);
}

/// A server that takes one connection at a time, reads the beginning of a request, and never answers.
class SilentServer {
 public:
  SilentServer() : listening_(::socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in here{};
    here.sin_family = AF_INET;
    here.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const address = reinterpret_cast<sockaddr*>(&here);  // NOLINT: as the system's calls want it
    socklen_t size = sizeof here;
    if (::bind(listening_, address, size) != 0 || ::listen(listening_, 16) != 0) giveUp();
    if (::getsockname(listening_, address, &size) != 0) giveUp();
    address_ = "http://127.0.0.1:" + std::to_string(ntohs(here.sin_port));
  }

  [[nodiscard]] const std::string& address() const { return address_; }

  /// Waits for a request, and gives its connection.
  [[nodiscard]] int takeRequest() const { return take().connection; }

  /// Waits for the request of `path`.
  void takeRequestOf(std::string_view path) const {
    while (take().line.find(path) == std::string::npos) {
    }
  }

 private:
  struct Request {
    int connection;
    std::string line;  ///< its beginning
  };

  [[nodiscard]] Request take() const {
    const int connection = ::accept(listening_, nullptr, nullptr);
    std::array<char, 64> begin{};
    const auto size = ::read(connection, begin.data(), begin.size());
    if (size <= 0) giveUp();
    return {connection, std::string(begin.data(), static_cast<std::size_t>(size))};
  }

  const int listening_;
  std::string address_;
};

/// What an app has in static storage: it is destroyed while the process ends.
struct App {
  explicit App(const std::string& server) {
    host = hostkit::StandardPlatformAPI::make({.server = server}).value();
    catalog = std::make_unique<Catalog>(host);
    const auto queue = std::make_shared<SerialDispatchQueue>("VelloraService.queue");
    service = std::make_unique<VelloraService>(host, 3600, "light", queue);
  }

  std::shared_ptr<hostkit::StandardPlatformAPI> host;
  std::unique_ptr<Catalog> catalog;
  std::unique_ptr<VelloraService> service;
};

/// Has `end` called by the answer to a question, on a queue of the library.
[[noreturn]] void endInAnswer(const App& app, void (*end)(int)) {
  app.catalog->types({"Account"}, {.deadline = 0s}).then([end](const auto&) { end(0); }).detach();
  while (true) ::pause();
}

/// Has `exit` called by the answer to a lookup, on the network's thread, once the server hangs up.
[[noreturn]] void exitOnNetwork(const App& app, const SilentServer& server, int firstConnection) {
  app.service->objectLayoutInfoForApiNames({"Account"}, [](const auto&) { std::exit(0); });
  ::close(firstConnection);
  while (true) ::close(server.takeRequest());
}

/// A request that is sent when all else has been cleaned up in the process, as by a thread that nobody waits
/// for.
struct LastRequest {
  SilentServer server;
  std::shared_ptr<CorvaneSDK::Network> network;
};

/// Is not destroyed itself.
std::unique_ptr<LastRequest>& lastRequest() {
  static auto* const kept = new std::unique_ptr<LastRequest>();
  return *kept;
}

/// What is registered first is called last: so before anything else is made.
void registerLastRequest() {
  static_cast<void>(lastRequest());
  const int failed = std::atexit([] {
    if (!lastRequest()) return;
    lastRequest()->network->sendRequest(tests::get("/last"), [](auto, auto, auto) {});
    lastRequest()->server.takeRequestOf("/last");
  });
  if (failed != 0) giveUp();
}

/// Whether all threads but this one sleep, none of them in the middle of anything.
bool isAtRest() {
  const std::string own = std::to_string(::getpid());
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream file(thread.path() / "stat");
    std::string text;
    std::getline(file, text);
    const std::size_t state = text.rfind(')') + 2;
    if (thread.path().filename() != own && text.size() > state && text[state] != 'S') return false;
  }
  return true;
}

/// Threads that have slept for so many looks sleep until somebody asks: the server doesn't answer.
void waitUntilAtRest() {
  for (int looks = 0; looks < 100; looks = isAtRest() ? looks + 1 : 0) std::this_thread::sleep_for(1ms);
}

/// Whether a child of fork, which has none of the library's threads, can end.
int endOfChild() {
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(60);  // a child has none of its parent's
    std::exit(0);
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child) return 1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  ::alarm(60);  // ends a process that hangs
  const std::string way = arguments[1];
  registerLastRequest();
  const SilentServer server;
  static const App app(server.address());
  const int connection = server.takeRequest();
  if (way == "exit") return 0;
  if (way == "exit-then-ask") {
    lastRequest().reset(new LastRequest{server, app.host->network()});
    return 0;
  }
  if (way == "exit-in-answer") endInAnswer(app, std::exit);
  if (way == "exit-on-network") exitOnNetwork(app, server, connection);
  if (way == "quick-exit") std::quick_exit(0);
  if (way == "quick-exit-in-answer") endInAnswer(app, std::quick_exit);
  if (way == "fork") {
    waitUntilAtRest();
    return endOfChild();
  }
  return 2;
}
