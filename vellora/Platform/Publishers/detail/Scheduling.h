#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <variant>

#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Publishers/detail/Link.h"
#include "vellora/Platform/Publishers/detail/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/OutOfMemory.h"

namespace vellora::detail {

/// Delivers on a queue: one hop for each value and one for the end. Subscribing and cancelling stay where
/// they are.
template <class T>
class ReceiveOnSource final : public Source<T> {
 public:
  ReceiveOnSource(SourcePtr<T> upstream, std::shared_ptr<DispatchQueue> queue)
      : upstream_(std::move(upstream)), queue_(std::move(queue)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    upstream_->subscribe(std::make_shared<HopObserver>(Link<T>::make(std::move(observer), scope), queue_),
                         scope);
  }

 private:
  /// What is on its way. Each hop delivers the oldest event, whichever hop it is, so that the order holds on
  /// a concurrent queue too.
  struct Transit {
    explicit Transit(std::shared_ptr<Link<T>> to) : link(std::move(to)) {}

    void add(std::variant<T, Completion> event) {
      const std::lock_guard lock(mutex);
      events.push_back(std::move(event));
    }

    void takeBackNewest() {
      const std::lock_guard lock(mutex);
      events.pop_back();
    }

    void deliverOldest() {
      gate.run([this] {
        std::unique_lock lock(mutex);
        std::variant<T, Completion> event = std::move(events.front());
        events.pop_front();
        lock.unlock();
        if (event.index() == 0) {
          link->receive(std::move(*std::get_if<0>(&event)));
        } else {
          link->complete(std::move(*std::get_if<1>(&event)));
        }
      });
    }

    const std::shared_ptr<Link<T>> link;
    SerialGate gate;
    std::mutex mutex;
    std::deque<std::variant<T, Completion>> events;
  };

  class HopObserver final : public Observer<T> {
   public:
    HopObserver(std::shared_ptr<Link<T>> link, std::shared_ptr<DispatchQueue> queue)
        : transit_(std::make_shared<Transit>(std::move(link))), queue_(std::move(queue)) {}
    void receive(T value) override {
      hop(std::variant<T, Completion>(std::in_place_index<0>, std::move(value)));
    }
    void complete(Completion completion) override {
      hop(std::variant<T, Completion>(std::in_place_index<1>, std::move(completion)));
    }

   private:
    void hop(std::variant<T, Completion> event) {
      transit_->add(std::move(event));
      try {
        queue_->async([transit = transit_] { transit->deliverOldest(); });
      } catch (const std::bad_alloc&) {
        transit_->takeBackNewest();  // each event has its hop
        throw;
      }
    }

    const std::shared_ptr<Transit> transit_;
    const std::shared_ptr<DispatchQueue> queue_;
  };

  const SourcePtr<T> upstream_;
  const std::shared_ptr<DispatchQueue> queue_;
};

/// Moves the start, and the cancelling, to a queue. Values come where upstream yields them.
template <class T>
class SubscribeOnSource final : public Source<T> {
 public:
  SubscribeOnSource(SourcePtr<T> upstream, std::shared_ptr<DispatchQueue> queue)
      : upstream_(std::move(upstream)), queue_(std::move(queue)) {}

  void subscribe(std::shared_ptr<Observer<T>> observer, const SubscriptionScope& scope) const override {
    const auto start = std::make_shared<Start>(upstream_, Link<T>::make(std::move(observer), scope), scope);
    start->registration = scope.add([weak = std::weak_ptr<Start>(start), queue = queue_] {
      const auto cancelled = weak.lock();
      if (!cancelled) return;
      cancelled->takeUpstream();
      try {
        queue->async([own = cancelled->own] { own.end(); });
      } catch (const std::bad_alloc&) {
        cancelled->own.end();  // here, rather than not at all
      }
    });
    queue_->async([start] {
      const auto upstream = start->takeUpstream();
      if (!upstream) return;
      try {
        upstream->subscribe(std::make_shared<StartedObserver>(start), start->own);
      } catch (const std::bad_alloc&) {
        start->own.end();
        start->link->complete(outOfMemory());
      }
    });
  }

 private:
  /// The subscription while it waits for its turn, and its lifetime upstream once it has begun.
  struct Start {
    Start(SourcePtr<T> source, std::shared_ptr<Link<T>> to, SubscriptionScope downstream)
        : link(std::move(to)), scope(std::move(downstream)), upstream(std::move(source)) {}
    // So that a scope that lives long does not collect the marks of subscriptions that have ended.
    ~Start() { scope.remove(registration); }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    SourcePtr<T> takeUpstream() {
      const std::lock_guard lock(mutex);
      return std::exchange(upstream, nullptr);
    }

    const std::shared_ptr<Link<T>> link;
    const SubscriptionScope scope;
    const SubscriptionScope own;
    SubscriptionScope::Registration registration = 0;  // constant once `subscribe` has submitted the start
    std::mutex mutex;
    SourcePtr<T> upstream;  // null once it has been started or cancelled
  };

  class StartedObserver final : public Observer<T> {
   public:
    explicit StartedObserver(std::shared_ptr<Start> start) : start_(std::move(start)) {}
    void receive(T value) override { start_->link->receive(std::move(value)); }
    void complete(Completion completion) override { start_->link->complete(std::move(completion)); }

   private:
    const std::shared_ptr<Start> start_;
  };

  const SourcePtr<T> upstream_;
  const std::shared_ptr<DispatchQueue> queue_;
};

}  // namespace vellora::detail
