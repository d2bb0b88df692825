#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Inquiry.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/Catalog/Sheet.h"
#include "vellora/Catalog/StopToken.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Guarded.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// What a question is answered with, besides its keys.
struct Terms {
  std::shared_ptr<DispatchQueue> answersOn;
  std::shared_ptr<TimedQueue> timer;
  std::shared_ptr<CallbackGate> gate;  ///< of the catalogue
  SubscriptionScope catalog;           ///< ends every question that is open
  std::shared_ptr<Inquiry> inquiry;
};

/// The part of a question that does not depend on what it asks for.
class AskedBase {
 public:
  virtual ~AskedBase() = default;
  AskedBase(const AskedBase&) = delete;
  AskedBase& operator=(const AskedBase&) = delete;

  /// Gives the question up; when it has returned, no callback of it runs or will.
  virtual void cancel() = 0;

 protected:
  AskedBase() = default;
};

/// One question from when it is asked until it is answered: what has been found out, who waits, and what is
/// under way for it.
///
/// It ends once, through whichever comes first: the last key, the deadline, a stop, a cancellation, the
/// catalogue. Then the pipelines that work for it are cut, and the answer goes to who waits, or will.
///
/// Ownership: shared by the question's handle, the pipelines that work for it, and the timer. The timer holds
/// it until it ends, so a host that drops a completion does not drop the question. While the
/// answer waits in its queue, the question holds no handle to that queue: the waiting work holds the
/// question, so a queue that has stopped running would keep itself and the question for ever.
///
/// Threads: safe to use from several threads at once. What changes it passes through a gate, one action at a
/// time, with no lock held.
///
/// Errors: asking throws `std::bad_alloc`. Ending takes no memory: it leaves a mark, and whoever is inside
/// the gate looks at it before leaving.
template <class T>
class Asked final : public AskedBase, public std::enable_shared_from_this<Asked<T>> {
 public:
  /// Each of `keys` comes once.
  Asked(const std::vector<std::string>& keys, Terms terms)
      : sentOn_(terms.answersOn),
        answersOn_(std::exchange(terms.answersOn, nullptr)),
        terms_(std::move(terms)),
        keyCount_(keys.size()),
        sheet_(keys) {}

  /// Sets the deadline, and lets the catalogue and `stop` end the question. To be called once, before
  /// anything else. When it throws, nothing is left of it.
  void begin(TimedQueue::Delay deadline, const StopToken& stop) {
    const auto self = this->shared_from_this();
    const std::function<void()> cancelled = [weak = this->weak_from_this()] {
      if (const auto asked = weak.lock()) asked->end(End::cancelled, Missing(Missing::Why::cancelled));
    };
    try {
      alarm_ = terms_.timer->after(TimedQueue::bounded(deadline),
                                   [self] { self->end(End::timedOut, Missing(Missing::Why::timedOut)); });
      registration_ = terms_.catalog.add(cancelled);
      stop_ = stop.whenStopped(cancelled);
    } catch (const std::bad_alloc&) {
      letGo();
      throw;
    }
    if (isSettled_) letGo();  // it ended before all of that was noted
  }

  // For what works on the answer.

  /// Calls `write(Sheet<T>&)`, unless the question has ended. When no key is open afterwards, it ends: one
  /// that names no keys with the first that is written.
  template <class Write>
  void write(Write&& write) {
    const auto self = this->shared_from_this();
    try {
      if (!gate_.tryRun([&] { change(write); })) {
        gate_.enqueue([self, later = std::decay_t<Write>(std::forward<Write>(write))]() mutable {
          self->change(later);
        });
        gate_.drain();
      }
    } catch (const std::bad_alloc&) {
      fail(outOfMemory());
    }
    lookIfMarked();
  }

  /// Has `write(Sheet<T>&)` called before the question ends at its deadline, so that it answers what is still
  /// open with what is there. Takes the place of the one before.
  void fallBackOn(std::function<void(Sheet<T>&)> write) {
    gate_.run([self = this->shared_from_this(), write = std::move(write)]() mutable {
      if (!self->isSettled_) self->fallback_ = std::move(write);
    });
    lookIfMarked();
  }

  /// Ends the question, unless something else has. Open keys get the reason `rest`. Takes no memory.
  void end(End end, const Missing& rest) {
    const auto self = this->shared_from_this();
    if (!isEnding_.test_and_set()) {
      ending_.emplace(Ending{end, rest});
      isToEnd_ = true;
    }
    look();
  }

  /// Ends it as one that could not be asked.
  void fail(const Error& error) { end(End::failed, Missing(Missing::Why::failed, Failure(error))); }

  /// Whether the question has ended, so that nobody needs to work for it.
  [[nodiscard]] bool hasEnded() const { return !work_.isActive(); }

  /// For whom its lookups fetch.
  [[nodiscard]] Fetching fetching() const { return {terms_.inquiry}; }

  /// Keeps a pipeline going until the question has ended.
  void keep(AnyCancellable token) {
    work_.add([kept = std::make_shared<AnyCancellable>(std::move(token))] { kept->cancel(); });
  }

  // For who waits.

  /// Calls `callback` on the queue of the answers once the question has ended. It then takes the answer.
  /// After `cancel`, or the end of the catalogue, nothing is called.
  void whenEnded(std::function<void()> callback) {
    const auto self = this->shared_from_this();
    static_cast<void>(callback_.exchange(std::move(callback)));
    look();
  }

  /// Blocks until the question has ended. Where that must not be, the question fails at once.
  void awaitEnd() {
    if (!isAnswered_ && isAwaitedBadly()) fail(QuestionError{QuestionError::Case::wouldBlock});
    isAnswered_.wait(false);
  }

  /// Whether `whenEnded` would be in vain: the answer has been taken, or nobody may be called any more.
  [[nodiscard]] bool isSilent() const noexcept {
    return isTaken_ || callbacks_.isClosed() || terms_.gate->isClosed();
  }

  /// The answer, after the end or when the question is silent. A second time there is none any more, which it
  /// then says.
  [[nodiscard]] Answer<T> take() {
    if (!isAnswered_) end(End::cancelled, Missing(Missing::Why::cancelled));
    isAnswered_.wait(false);
    if (!isTaken_.exchange(true)) return sheet_.take();
    Answer<T> none;
    none.end = End::failed;
    none.trouble = Failure(QuestionError{QuestionError::Case::alreadyTaken});
    return none;
  }

  void cancel() override {
    const auto self = this->shared_from_this();
    callbacks_.close();
    static_cast<void>(callback_.exchange(nullptr));
    static_cast<void>(dueCallback_.exchange(nullptr));
    end(End::cancelled, Missing(Missing::Why::cancelled));
  }

 private:
  struct Ending {
    End end;
    Missing rest;
  };

  /// Leaves a mark for the gate: `settle` and `announce` are due, if they are. Whoever is inside sees it
  /// before leaving; when nobody is, it is seen at once.
  void look() {
    isMarked_ = true;
    lookIfMarked();
  }

  /// Called behind each visit to the gate.
  void lookIfMarked() {
    const auto seeToIt = [this] {
      isMarked_ = false;
      if (isToEnd_) settle(ending_->end, ending_->rest);
      if (isSettled_) announce();
    };
    while (isMarked_ && gate_.tryRun(seeToIt)) {
    }
  }

  void letGo() {
    terms_.catalog.remove(registration_);
    terms_.timer->cancel(alarm_);
  }

  [[nodiscard]] bool isAwaitedBadly() const {
    const auto queue = answersOn_.value();
    return (queue && queue->runsHere()) || terms_.gate->isInside() || terms_.timer->runsHere() ||
           DispatchQueue::global(DispatchQoS::unspecified)->runsHere();
  }

  // Called inside the gate.

  template <class Write>
  void change(Write& write) {
    if (isSettled_) return;
    try {
      write(sheet_);
      if (!sheet_.isOpen()) settle(End::answered, Missing(Missing::Why::unknown));
    } catch (const std::bad_alloc&) {
      settle(End::failed, Missing(Missing::Why::failed, Failure(outOfMemory())));
    }
  }

  void settle(End end, const Missing& rest) {
    if (isSettled_) return;
    isSettled_ = true;
    letGo();
    work_.end();
    close(end, rest);
    terms_.inquiry->noteEnd(keyCount_, sheet_.answer());
    isAnswered_ = true;
    isAnswered_.notify_all();
    announce();
  }

  void close(End end, const Missing& rest) {
    const auto fallback = std::exchange(fallback_, nullptr);
    try {
      if (fallback && end == End::timedOut) fallback(sheet_);
    } catch (const std::bad_alloc&) {  // NOLINT(bugprone-empty-catch): what is left is missing all the same
    }
    sheet_.close(end, rest);
  }

  /// Sends the callback on its way, if there is one that may be called.
  void announce() {
    bool isDue = false;
    const bool isOpen = callbacks_.run([&] {
      auto callback = callback_.exchange(nullptr);
      isDue = callback && !terms_.gate->isClosed();
      if (isDue) static_cast<void>(dueCallback_.exchange(std::move(callback)));
    });
    if (!isOpen) static_cast<void>(callback_.exchange(nullptr));
    if (isDue) post();
  }

  void post() {
    auto queue = answersOn_.exchange(nullptr);
    if (!queue) queue = sentOn_.lock();  // for who waits once more
    try {
      const auto self = this->shared_from_this();
      (queue ? queue : DispatchQueue::global(DispatchQoS::unspecified))->async([self] { self->callBack(); });
    } catch (const std::bad_alloc&) {
      callBack();
    }
  }

  // Called where answers come.

  void callBack() {
    callbacks_.run([this] {
      const auto callback = dueCallback_.exchange(nullptr);
      if (callback) terms_.gate->run(callback);
    });
  }

  const std::weak_ptr<DispatchQueue> sentOn_;

  // Synchronise themselves.
  Guarded<std::shared_ptr<DispatchQueue>> answersOn_;  // until the callback is on its way there
  Guarded<std::function<void()>> callback_{nullptr};
  Guarded<std::function<void()>> dueCallback_{nullptr};  // on its way
  CallbackGate callbacks_;
  const SubscriptionScope work_;
  std::atomic_flag isEnding_;  // somebody writes, or has written, `ending_`
  std::atomic<bool> isToEnd_ = false;
  std::atomic<bool> isMarked_ = false;
  std::atomic<bool> isSettled_ = false;  // set inside the gate
  std::atomic<bool> isAnswered_ =
      false;  // set inside the gate; from then on the sheet belongs to who takes it
  std::atomic<bool> isTaken_ = false;
  std::atomic<SubscriptionScope::Registration> registration_ = 0;
  std::atomic<TimedQueue::Alarm> alarm_ = 0;

  const Terms terms_;
  const std::size_t keyCount_;
  std::optional<Ending> ending_;  // written before `isToEnd_` is set

  SerialGate gate_;
  Sheet<T> sheet_;                           // changed inside the gate
  std::function<void(Sheet<T>&)> fallback_;  // changed inside the gate

  std::shared_ptr<void> stop_;  // watches for one
};

}  // namespace vellora::detail
