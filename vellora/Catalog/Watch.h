#pragma once

#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <utility>

#include "vellora/Catalog/AnswerChange.h"
#include "vellora/Catalog/Question.h"
#include "vellora/Catalog/QuestionToken.h"
#include "vellora/Catalog/Watches.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Guarded.h"

namespace vellora {

/// One watch: asks, hands on the answer when it differs from the one before, and asks again when it is told
/// to. A question that is under way then ends first, so each is answered.
///
/// Ownership: owned by the catalogue's `Watches`. What is under way for it holds it weakly.
///
/// Threads: safe to use from several threads at once. What it asks passes through a gate, one step at a time.
/// The caller's functions run inside its other gate, which `cancel` closes.
template <class T>
class Watch final : public WatchBase, public std::enable_shared_from_this<Watch<T>> {
 public:
  using Ask = std::function<Question<T>()>;
  using Callback = std::function<void(Answer<T> answer)>;

  /// Where it asks again, and what lets that through.
  struct Terms {
    std::shared_ptr<DispatchQueue> answersOn;
    std::shared_ptr<CallbackGate> gate;
    std::weak_ptr<Watches> watches;
  };

  Watch(Ask ask, Callback callback, Terms terms)
      : ask_(std::move(ask)), callback_(std::move(callback)), terms_(std::move(terms)) {}

  /// Asks for the first time. Call it once, before anything else. Throws `std::bad_alloc`.
  void start() {
    const auto token = std::make_shared<QuestionToken>(asked());
    inGate([token](Watch& watch) { watch.token_ = std::move(*token); });
  }

  void askAgain() override {
    try {
      terms_.answersOn->async([weak = this->weak_from_this()] {
        const auto watch = weak.lock();
        if (!watch) return;
        watch->terms_.gate->run([&] { watch->inGate([](Watch& self) { self.ask(); }); });
      });
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next refresh asks
    }
  }

  void forget() override { static_cast<void>(last_.exchange(nullptr)); }

  void cancel() override {
    callbacks_.close();
    const auto self = this->shared_from_this();
    if (const auto watches = terms_.watches.lock()) watches->remove(*this);
    inGate([](Watch& watch) { watch.token_ = {}; });
  }

 private:
  template <class Step>
  void inGate(Step step) {
    gate_.run([self = this->shared_from_this(), step] { step(*self); });
  }

  // Called in the gate.

  void ask() {
    if (std::exchange(isAsking_, true)) {
      isToAskAgain_ = true;
      return;
    }
    try {
      callbacks_.run([&] { token_ = asked(); });
    } catch (const std::bad_alloc&) {  // the next refresh asks
      isAsking_ = false;
    }
  }

  void noteEnd() {
    isAsking_ = false;
    if (std::exchange(isToAskAgain_, false)) ask();
  }

  [[nodiscard]] QuestionToken asked() {
    return ask_().then([weak = this->weak_from_this()](Answer<T> answer) {
      if (const auto watch = weak.lock()) watch->take(std::move(answer));
    });
  }

  // Called where answers come.

  void take(Answer<T> answer) {
    const auto last = last_.value();
    if (!last || isChanged(*last, answer)) {
      keep(answer);
      callbacks_.run([&] { callback_(std::move(answer)); });
    }
    inGate([](Watch& watch) { watch.noteEnd(); });
  }

  void keep(const Answer<T>& answer) {
    std::shared_ptr<const Answer<T>> kept;
    try {
      kept = std::make_shared<const Answer<T>>(answer);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next answer counts as changed
    }
    static_cast<void>(last_.exchange(std::move(kept)));
  }

  // Constant after construction.
  const Ask ask_;
  const Callback callback_;
  const Terms terms_;

  // Synchronise themselves.
  CallbackGate callbacks_;
  SerialGate gate_;
  Guarded<std::shared_ptr<const Answer<T>>> last_{nullptr};

  // Changed in the gate.
  QuestionToken token_;
  bool isAsking_ = true;  // the first time from the beginning
  bool isToAskAgain_ = false;
};

}  // namespace vellora
