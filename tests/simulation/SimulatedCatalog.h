#pragma once

#include <coroutine>
#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

#include "testkit/ManualQueue.h"
#include "testkit/ManualTimer.h"
#include "tests/simulation/SimulatedCache.h"
#include "tests/simulation/SimulatedHost.h"
#include "tests/simulation/SimulatedQuestion.h"
#include "tests/simulation/World.h"
#include "vellora/Catalog/Catalog.h"

namespace vellora::simulation {

/// A coroutine that waits for one answer. It is destroyed with its handle, suspended or not.
class Waiter {
 public:
  struct promise_type {
    Waiter get_return_object() { return Waiter(std::coroutine_handle<promise_type>::from_promise(*this)); }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_always final_suspend() noexcept { return {}; }
    void return_void() {}
    [[noreturn]] void unhandled_exception() { std::terminate(); }
  };

  explicit Waiter(std::coroutine_handle<promise_type> handle) : handle_(handle) {}
  Waiter(Waiter&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
  Waiter& operator=(Waiter&&) = delete;
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;
  ~Waiter() {
    if (handle_) handle_.destroy();
  }

 private:
  std::coroutine_handle<promise_type> handle_;
};

/// One catalogue in a world, and the model of what it must do: each question ends once, at its deadline at
/// the latest, unless it is given up, and then it stays silent. Answers ask further questions, give up
/// others, and release the catalogue, as the seed has it.
class SimulatedCatalog {
 public:
  SimulatedCatalog(World& world, SimulatedCache& cache);
  SimulatedCatalog(const SimulatedCatalog&) = delete;
  SimulatedCatalog& operator=(const SimulatedCatalog&) = delete;

  [[nodiscard]] bool mayAsk() const { return catalog_ && left_ > 0; }

  /// Asks a question of a kind, of keys, with options and a way to wait that are drawn.
  void ask();

  // What may happen between two steps.
  void cancelSome();
  void stopSome();
  void forget();
  void release();

  // Steps.
  [[nodiscard]] bool hasAnswers() const { return answers_->pending() > 0; }
  void runAnswer();
  [[nodiscard]] bool hasDeadlines() const { return timer_->pending() > 0; }
  void passDeadline();

  /// To be called when nothing is left to happen.
  void checkEnded();

  /// To be called when nothing is left to happen after the release.
  void checkGone();

  [[nodiscard]] std::size_t asked() const { return asked_.size(); }
  [[nodiscard]] std::size_t answered() const;

 private:
  struct Asked {
    SimulatedQuestion question;
    std::stop_source stop;
    QuestionToken token;
    std::optional<Waiter> waiter;
    bool isDetached = false;
  };

  void askFor(Asked& asked);
  template <class T>
  void wait(Asked& asked, Question<T> question);
  template <class T>
  static Waiter waitFor(Question<T> question, std::function<void(const Answer<T>&)> take);
  template <class T>
  void noteAnswer(Asked& asked, const Answer<T>& answer);
  [[nodiscard]] std::set<std::string> drawnKeys(bool areIds);
  [[nodiscard]] QuestionOptions drawnOptions(Asked& asked);
  [[nodiscard]] Asked* drawnOpenOne();

  World& world_;
  SimulatedHost host_;
  const CausePtr cause_;
  const std::shared_ptr<testkit::ManualQueue> answers_ = std::make_shared<testkit::ManualQueue>();
  const std::shared_ptr<testkit::ManualTimer> timer_ = std::make_shared<testkit::ManualTimer>();
  int left_ = 8;
  std::vector<std::unique_ptr<Asked>> asked_;
  std::unique_ptr<Catalog> catalog_;
};

}  // namespace vellora::simulation
