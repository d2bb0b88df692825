#pragma once

#include <atomic>
#include <utility>
#include <vector>

#include "tests/interleaving/Location.h"
#include "tests/interleaving/Waiter.h"

namespace vellora::tests::interleaving {

/// Stands for `std::atomic<T>`. Outside of a run it is a plain value.
template <class T>
class Atomic {
 public:
  using Order = std::memory_order;

  Atomic() : Atomic(T()) {}
  Atomic(T value) : stores_{std::move(value)} {}  // NOLINT(google-explicit-constructor): as the standard's
  Atomic(const Atomic&) = delete;
  Atomic& operator=(const Atomic&) = delete;

  [[nodiscard]] T load(Order order = Order::seq_cst) const {
    return enter("loads") ? stores_[location_.read(order)] : stores_.back();
  }

  void store(T value, Order order = Order::seq_cst) {
    if (!enter("stores")) {
      stores_.back() = std::move(value);
      return;
    }
    location_.write(order);
    stores_.push_back(std::move(value));
    location_.show();
  }

  T exchange(T value, Order order = Order::seq_cst) {
    return change([&](const T&) { return std::move(value); }, order);
  }

  bool compare_exchange_strong(T& expected, T value, Order order = Order::seq_cst) {
    if (enter("compares and exchanges")) {
      if (stores_.back() != expected) {
        expected = stores_[location_.read(order, true)];
        return false;
      }
      location_.exchange(order);
      stores_.push_back(std::move(value));
      location_.show();
      return true;
    }
    if (stores_.back() != expected) {
      expected = stores_.back();
      return false;
    }
    stores_.back() = std::move(value);
    return true;
  }
  bool compare_exchange_strong(T& expected, T value, Order success, Order /*failure*/) {
    return compare_exchange_strong(expected, std::move(value), success);
  }
  bool compare_exchange_weak(T& expected, T value, Order order = Order::seq_cst) {
    return compare_exchange_strong(expected, std::move(value), order);
  }
  bool compare_exchange_weak(T& expected, T value, Order success, Order /*failure*/) {
    return compare_exchange_strong(expected, std::move(value), success);
  }

  T fetch_add(T by, Order order = Order::seq_cst) {
    return change([&](const T& value) { return static_cast<T>(value + by); }, order);
  }
  T fetch_sub(T by, Order order = Order::seq_cst) {
    return change([&](const T& value) { return static_cast<T>(value - by); }, order);
  }
  T fetch_or(T bits, Order order = Order::seq_cst) {
    return change([&](const T& value) { return static_cast<T>(value | bits); }, order);
  }
  T fetch_and(T bits, Order order = Order::seq_cst) {
    return change([&](const T& value) { return static_cast<T>(value & bits); }, order);
  }

  operator T() const { return load(); }  // NOLINT(google-explicit-constructor): as the standard's
  T operator=(T value) {                 // NOLINT(misc-unconventional-assign-operator): as the standard's
    store(value);
    return value;
  }
  T operator++() { return static_cast<T>(fetch_add(1) + 1); }
  T operator--() { return static_cast<T>(fetch_sub(1) - 1); }
  T operator++(int) { return fetch_add(1); }
  T operator--(int) { return fetch_sub(1); }
  T operator+=(T by) { return static_cast<T>(fetch_add(by) + by); }
  T operator-=(T by) { return static_cast<T>(fetch_sub(by) - by); }

  /// Waits for a notice as long as the newest value is `old`.
  void wait(T old, Order order = Order::seq_cst) const {
    while (Run* const run = enter("looks whether to wait for")) {
      if (stores_[location_.read(order, true)] != old) return;
      Waiter waiter("an atomic");
      location_.waiters.add(waiter);
      run->passWhenGone(waiter, "is woken by", &location_);
    }
  }
  void notify_one() {
    if (Run* const run = enter("notifies one of")) location_.waiters.wakeOne(*run);
  }
  void notify_all() {
    if (enter("notifies all of")) location_.waiters.wakeAll();
  }

 private:
  template <class Make>
  T change(Make make, Order order) {
    const bool isInRun = enter("exchanges") != nullptr;
    T before = stores_.back();
    if (isInRun) {
      location_.exchange(order);
      stores_.push_back(make(before));
      location_.show();
    } else {
      stores_.back() = make(before);
    }
    return before;
  }

  /// Lets others run first. Outside of a run there is none.
  Run* enter(const char* what) const {
    Run* const run = location_.enter(what);
    if (run && location_.renew(*run)) stores_.erase(stores_.begin(), stores_.end() - 1);
    return run;
  }

  mutable Location location_;
  mutable std::vector<T> stores_;  // the newest last
};

/// Stands for `std::atomic_flag`.
class AtomicFlag {
 public:
  using Order = std::memory_order;

  bool test_and_set(Order order = Order::seq_cst) { return isSet_.exchange(true, order); }
  void clear(Order order = Order::seq_cst) { isSet_.store(false, order); }
  [[nodiscard]] bool test(Order order = Order::seq_cst) const { return isSet_.load(order); }
  void wait(bool old, Order order = Order::seq_cst) const { isSet_.wait(old, order); }
  void notify_one() { isSet_.notify_one(); }
  void notify_all() { isSet_.notify_all(); }

 private:
  Atomic<bool> isSet_ = false;
};

}  // namespace vellora::tests::interleaving
