// Asks a records server about some records, in each of the three ways to wait.
//
//     ask http://127.0.0.1:8080 001000000000001 00B000000000003

#include <chrono>
#include <coroutine>
#include <exception>
#include <future>
#include <iostream>
#include <memory>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "hostkit/StandardPlatformAPI.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"

using namespace vellora;
using namespace std::chrono_literals;

namespace {

/// The least that a coroutine returns: it runs by itself. Your app or its framework has a task type.
struct Task {
  struct promise_type {
    Task get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    [[noreturn]] void unhandled_exception() { std::terminate(); }
  };
};

// [answer]
void show(const Answer<ObjectPresentationInfo>& answer) {
  for (const auto& [id, info] : answer.found) {
    std::cout << id << ": " << info.typePresentationInfo.label.value_or("")
              << (answer.ageOf(id).isStale ? " (old)" : "") << '\n';
  }
  for (const auto& [id, missing] : answer.missing) std::cout << id << ": " << missing.text() << '\n';
  if (answer.trouble) std::cerr << answer.trouble->text() << '\n';
}
// [answer]

// [coroutine]
Task showRecords(const Catalog& catalog, std::vector<std::string> ids, std::promise<void>& shown) {
  show(co_await catalog.records(ids, {.deadline = 5s}));
  shown.set_value();
}
// [coroutine]

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return std::cerr << "usage: ask SERVER RECORD-ID…\n", 2;
  const std::vector<std::string> ids(argv + 2, argv + argc);
  const auto host = hostkit::StandardPlatformAPI::make({.server = argv[1], .cacheFile = "ask-cache.sqlite"});
  if (!host) return std::cerr << host.error().localizedDescription() << '\n', 1;

  std::promise<void> shown;  // outlives the catalogue, which waits for callbacks that run
  // [get]
  const auto mainLoop = std::make_shared<SerialDispatchQueue>("main loop");
  const Catalog catalog(host.value(), {.theme = "light", .cacheTimeout = 1h, .answersOn = mainLoop});
  show(catalog.records(ids, {.deadline = 5s}).get());
  // [get]

  std::promise<void> called;
  // [then]
  QuestionToken pending = catalog.records(ids).then([&](const Answer<ObjectPresentationInfo>& answer) {
    show(answer);  // on the main loop
    called.set_value();
  });
  // [then]
  called.get_future().wait();

  std::promise<void> told;
  // [watch]
  QuestionToken watching = catalog.watch([&] { return catalog.records(ids); },
                                         [&](const Answer<ObjectPresentationInfo>& answer) {
                                           show(answer);  // now, and after each refresh that changed it
                                           told.set_value();
                                         });
  // [watch]
  told.get_future().wait();
  watching.cancel();

  // [cancel]
  std::stop_source button;
  const std::stop_token pressed = button.get_token();
  auto question = catalog.records(ids, {.deadline = 5s, .source = Source::serverFirst, .stop = pressed});
  button.request_stop();  // on any thread
  if (std::move(question).get().end == End::cancelled) std::cerr << "cancelled\n";
  // [cancel]

  showRecords(catalog, ids, shown);
  shown.get_future().wait();
}
