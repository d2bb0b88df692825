#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "vellora/Catalog/Asked.h"

namespace vellora {

/// A question that is asked again after each refresh. The part of it that does not depend on what it asks
/// for.
class WatchBase : public detail::AskedBase {
 public:
  /// Asks again soon.
  virtual void askAgain() = 0;

  /// Forgets the answer: the next one counts as changed.
  virtual void forget() = 0;
};

/// The watches of a catalogue.
///
/// Ownership: owns them, until they are cancelled.
///
/// Threads: safe to use from several threads at once; calls them with no lock held.
class Watches {
 public:
  void add(std::shared_ptr<WatchBase> watch);
  void remove(const WatchBase& watch);

  void askAgain() const;
  void forget() const;

 private:
  using All = std::vector<std::shared_ptr<WatchBase>>;

  [[nodiscard]] All all() const;

  mutable std::mutex mutex_;
  All all_;  // under mutex_
};

}  // namespace vellora
