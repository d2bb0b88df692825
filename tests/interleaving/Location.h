#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "tests/interleaving/Alive.h"
#include "tests/interleaving/RunMark.h"
#include "tests/interleaving/View.h"
#include "tests/interleaving/Waiter.h"

namespace vellora::tests::interleaving {

/// Where an atomic's stores stand, in their order, and what those see who read them. It does not know the
/// values.
///
/// A load reads the newest store, or an older one that the orders allow: none older than its thread has seen,
/// be it by itself or through what it has acquired; and where both are sequentially consistent, none older
/// than the last.
class Location {
 public:
  Location() = default;

  /// Which of the stores is read, counted from 0; the newest where `isFresh`. There have been `count` of
  /// them, of which those before this run are only one.
  std::size_t read(std::memory_order order, bool isFresh = false);

  /// Takes note of a store, behind all others.
  void write(std::memory_order order);

  /// A read of the newest store and a store in one.
  void exchange(std::memory_order order);

  /// To be called at the beginning of each operation, with others in between: the run, or null outside of
  /// one.
  Run* enter(const char* what);
  /// At the end of one that has stored.
  void show() const;

  /// Forgets all stores but the newest when they are of another run. True when it does.
  [[nodiscard]] bool renew(Run& run);

  Waiters waiters;

 private:
  void see(std::size_t store, std::memory_order order);
  void add(std::memory_order order, View shown);

  Alive alive_;
  RunMark mark_;
  std::size_t place_ = 0;
  std::vector<View> shown_ = std::vector<View>(1);  // by each store to who acquires it
};

/// What `std::atomic_thread_fence` does.
void fence(std::memory_order order);

}  // namespace vellora::tests::interleaving
