#pragma once

#include <cstddef>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <utility>

#include "vellora/Catalog/Answer.h"
#include "vellora/Catalog/Inquiry.h"
#include "vellora/Catalog/QuestionError.h"
#include "vellora/Catalog/Sheet.h"
#include "vellora/DataServices/Requester.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"
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
/// it until it ends, so a host that drops a completion does not drop the question.
///
/// Threads: safe to use from several threads at once. What changes it passes through a gate, one action at a
/// time, with no lock held.
template <class T>
class Asked final : public AskedBase, public std::enable_shared_from_this<Asked<T>> {
 public:
  Asked(std::set<std::string> keys, Terms terms)
      : terms_(std::move(terms)), keyCount_(keys.size()), sheet_(std::move(keys)) {}

  /// Sets the deadline, and lets the catalogue and `stop` end the question. Call it once, at first.
  void begin(TimedQueue::Delay deadline, std::stop_token stop) {
    const auto self = this->shared_from_this();
    const auto alarm =
        terms_.timer->after(deadline, [self] { self->end(End::timedOut, Missing(Missing::Why::timedOut)); });
    gate_.run([self, alarm] {
      self->alarm_ = alarm;
      if (self->settled_) self->terms_.timer->cancel(alarm);  // it was quick
    });
    try {
      letOthersEndIt(std::move(stop));
    } catch (const std::bad_alloc&) {
      terms_.timer->cancel(alarm);
      throw;
    }
  }

  // For what works on the answer.

  /// Calls `write(Sheet<T>&)`, unless the question has ended. When no key is open afterwards, it ends.
  template <class Write>
  void write(Write write) {
    gate_.run([self = this->shared_from_this(), write = std::move(write)]() mutable {
      if (self->settled_) return;
      try {
        write(self->sheet_);
        if (!self->sheet_.isOpen()) self->settle(End::answered, Missing(Missing::Why::unknown));
      } catch (const std::bad_alloc&) {
        self->settle(End::failed, Missing(Missing::Why::failed, Failure(outOfMemory())));
      }
    });
  }

  /// Has `write(Sheet<T>&)` called before the question ends at its deadline, so that it answers what is still
  /// open with what is there. Takes the place of the one before.
  void fallBackOn(std::function<void(Sheet<T>&)> write) {
    gate_.run([self = this->shared_from_this(), write = std::move(write)]() mutable {
      if (!self->settled_) self->fallback_ = std::move(write);
    });
  }

  /// Ends the question. Open keys get the reason `rest`.
  void end(End end, const Missing& rest) {
    gate_.run([self = this->shared_from_this(), end, rest] { self->settle(end, rest); });
  }

  /// Ends it as one that could not be asked.
  void fail(const Error& error) {
    const Failure failure(error);
    gate_.run([self = this->shared_from_this(), failure] {
      if (self->settled_) return;
      self->sheet_.trouble(failure);
      self->settle(End::failed, Missing(Missing::Why::failed, failure));
    });
  }

  /// Ends it when nothing more will come.
  void finish() {
    end(End::answered, Missing(Missing::Why::failed, Failure(QuestionError{QuestionError::Case::noAnswer})));
  }

  /// Whether the question has ended, so that nobody needs to work for it.
  [[nodiscard]] bool hasEnded() const { return !work_.isActive(); }

  /// For whom its lookups fetch.
  [[nodiscard]] Fetching fetching() const { return {terms_.inquiry}; }

  /// Keeps a pipeline going until the question has ended.
  void keep(AnyCancellable token) {
    work_.add([kept = std::make_shared<AnyCancellable>(std::move(token))] { kept->cancel(); });
  }

  // For who waits.

  /// Calls `onEnd` on the queue of the answers once the question has ended. It then takes the answer.
  void onEnd(std::function<void()> onEnd) { wait({std::move(onEnd), false}); }

  /// Blocks until the question has ended.
  void await() {
    if (isAwaitedBadly()) fail(QuestionError{QuestionError::Case::wouldBlock});
    const auto ended = std::make_shared<std::promise<void>>();
    wait({[ended] { ended->set_value(); }, true});
    ended->get_future().wait();
  }

  /// The answer; after the end, once.
  [[nodiscard]] Answer<T> take() { return sheet_.take(); }

  void cancel() override {
    callback_.close();
    end(End::cancelled, Missing(Missing::Why::cancelled));
    gate_.run([self = this->shared_from_this()] { self->waiting_ = {}; });
  }

 private:
  struct Waiting {
    std::function<void()> onEnd;
    bool isBlocked = false;  ///< a thread that waits is told at once
  };

  void letOthersEndIt(std::stop_token stop) {
    const std::function<void()> cancelled = [weak = this->weak_from_this()] {
      if (const auto asked = weak.lock()) asked->end(End::cancelled, Missing(Missing::Why::cancelled));
    };
    const auto registration = terms_.catalog.add(cancelled);
    gate_.run([self = this->shared_from_this(), registration] {
      self->registration_ = registration;
      if (self->settled_) self->terms_.catalog.remove(registration);
    });
    stop_.emplace(std::move(stop), cancelled);
  }

  void wait(Waiting waiting) {
    gate_.run([self = this->shared_from_this(), waiting = std::move(waiting)]() mutable {
      self->waiting_ = std::move(waiting);
      if (self->settled_) self->tell();
    });
  }

  [[nodiscard]] bool isAwaitedBadly() const {
    return terms_.answersOn->runsHere() || terms_.gate->isInside() ||
           DispatchQueue::global(DispatchQoS::unspecified)->runsHere();
  }

  // The rest is called inside the gate, but for `deliver`.

  void settle(End end, const Missing& rest) {
    if (settled_) return;
    settled_ = true;
    terms_.catalog.remove(registration_);
    terms_.timer->cancel(alarm_);
    work_.end();
    close(end, rest);
    terms_.inquiry->noteEnd(keyCount_, sheet_.answer());
    tell();
  }

  void close(End end, const Missing& rest) {
    try {
      const auto fallback = std::exchange(fallback_, nullptr);
      if (fallback && end == End::timedOut) fallback(sheet_);
      sheet_.close(end, rest);
    } catch (const std::bad_alloc&) {  // the keys that are left get no reason
      sheet_.fail(outOfMemory());
    }
  }

  void tell() {
    if (!waiting_.onEnd) return;
    if (waiting_.isBlocked) return std::exchange(waiting_, {}).onEnd();
    const auto self = this->shared_from_this();
    try {
      terms_.answersOn->async([self] { self->deliver(); });
    } catch (const std::bad_alloc&) {
      deliver();
    }
  }

  void deliver() {
    terms_.gate->run([this] { callback_.run([this] { std::exchange(waiting_, {}).onEnd(); }); });
  }

  const Terms terms_;
  const std::size_t keyCount_;
  const SubscriptionScope work_;
  CallbackGate callback_;
  SerialGate gate_;
  std::optional<std::stop_callback<std::function<void()>>> stop_;

  // Changed inside the gate.
  Sheet<T> sheet_;
  std::function<void(Sheet<T>&)> fallback_;
  Waiting waiting_;
  bool settled_ = false;
  SubscriptionScope::Registration registration_ = 0;
  TimedQueue::Alarm alarm_ = 0;
};

}  // namespace vellora::detail
