#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "vellora/Platform/Publishers/Publisher.h"

namespace vellora::tests {

/// Subscribes to a producer of one value, and keeps the value or the error that it gives.
///
///     EXPECT_EQ(Answer(service->themes({"Account"})).value(), expected);
///
/// Ownership: owns the subscription; destroying it cancels.
///
/// Threads: safe to ask from several threads at once. The value may come on any thread.
template <class T>
class Answer {
 public:
  explicit Answer(const Publisher<T>& publisher)
      : token_(
            publisher.sink([state = state_](T value) { state->keep(std::move(value)); },
                           [state = state_](std::optional<Error> error) { state->end(std::move(error)); })) {}

  /// Waits for the end; false when it has not come after `limit`.
  [[nodiscard]] bool wait(std::chrono::milliseconds limit = std::chrono::seconds(60)) const {
    std::unique_lock lock(state_->mutex);
    return state_->changed.wait_for(lock, limit, [&] { return state_->ended; });
  }

  [[nodiscard]] bool hasEnded() const {
    const std::lock_guard lock(state_->mutex);
    return state_->ended;
  }

  /// These wait for the end first.
  [[nodiscard]] std::optional<T> value() const { return waited().value; }
  [[nodiscard]] std::optional<Error> error() const { return waited().error; }
  [[nodiscard]] std::thread::id thread() const { return waited().thread; }

 private:
  struct State {
    void keep(T given) {
      const std::lock_guard lock(mutex);
      value = std::move(given);
    }
    void end(std::optional<Error> given) {
      const std::lock_guard lock(mutex);
      error = std::move(given);
      thread = std::this_thread::get_id();
      ended = true;
      changed.notify_all();
    }

    std::mutex mutex;
    std::condition_variable changed;
    // All below under mutex until the end.
    std::optional<T> value;
    std::optional<Error> error;
    std::thread::id thread;
    bool ended = false;
  };

  const State& waited() const {
    static_cast<void>(wait());
    return *state_;
  }

  const std::shared_ptr<State> state_ = std::make_shared<State>();
  const AnyCancellable token_;
};

}  // namespace vellora::tests
