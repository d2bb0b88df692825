#pragma once

#include <atomic>
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
///
/// Errors: `start` throws `std::bad_alloc`. Cancelling takes no memory, nor does taking note of an end: each
/// leaves a mark, and whoever is inside the gate looks at it before leaving.
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
    static_cast<void>(first_.exchange(std::make_shared<QuestionToken>(asked())));
    look();
  }

  void askAgain() override {
    try {
      terms_.answersOn->async([weak = this->weak_from_this()] {
        const auto watch = weak.lock();
        if (watch) watch->terms_.gate->run([&] { watch->mark(watch->isToAsk_); });
      });
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): the next refresh asks
    }
  }

  void forget() override { static_cast<void>(last_.exchange(nullptr)); }

  void cancel() override {
    callbacks_.close();
    const auto self = this->shared_from_this();
    if (const auto watches = terms_.watches.lock()) watches->remove(*this);
    mark(isCancelled_);
  }

 private:
  void mark(std::atomic<bool>& what) {
    what = true;
    look();
  }

  /// Leaves a mark for the gate: a step is due. Whoever is inside sees it before leaving; when nobody is, it
  /// is seen at once. Takes no memory.
  void look() {
    isMarked_ = true;
    const auto seeToIt = [this] {
      isMarked_ = false;
      step();
    };
    while (isMarked_ && gate_.tryRun(seeToIt)) {
    }
  }

  // Called in the gate.

  void step() {
    // The first question has ended when another has been asked: its token is of no use then.
    auto first = first_.exchange(nullptr);
    if (first && !hasAskedAgain_) token_ = std::move(*first);
    if (hasEnded_.exchange(false)) isAsking_ = false;
    if (isCancelled_) {
      token_ = {};
    } else if (!isAsking_ && isToAsk_.exchange(false)) {
      ask();
    }
  }

  void ask() {
    isAsking_ = true;
    hasAskedAgain_ = true;
    try {
      callbacks_.run([&] { token_ = asked(); });
    } catch (const std::bad_alloc&) {  // the next refresh asks
      isAsking_ = false;
    }
  }

  [[nodiscard]] QuestionToken asked() {
    return ask_().then([weak = this->weak_from_this()](Answer<T> answer) {
      if (const auto watch = weak.lock()) watch->take(std::move(answer));
    });
  }

  // Called where answers come.

  void take(Answer<T> answer) {
    const auto last = last_.value();
    const bool isGivenUp = answer.end == End::cancelled && hasTold_;
    if (!isGivenUp && (!last || isChanged(*last, answer))) {
      hasTold_ = true;
      keep(answer);
      // The question may be another catalogue's: its gate says nothing of this one.
      terms_.gate->run([&] { callbacks_.run([&] { callback_(std::move(answer)); }); });
    }
    mark(hasEnded_);
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
  Guarded<std::shared_ptr<QuestionToken>> first_{nullptr};  // until the gate has it
  std::atomic<bool> isMarked_ = false;
  std::atomic<bool> isToAsk_ = false;
  std::atomic<bool> hasEnded_ = false;  // the question that is under way
  std::atomic<bool> isCancelled_ = false;
  std::atomic<bool> hasTold_ = false;

  // Changed in the gate.
  QuestionToken token_;
  bool isAsking_ = true;  // the first time from the beginning
  bool hasAskedAgain_ = false;
};

}  // namespace vellora
