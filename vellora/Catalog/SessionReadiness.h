#pragma once

#include <memory>
#include <utility>

#include "vellora/Catalog/Readiness.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Queues/CallbackGate.h"

namespace vellora {

/// What one session says of its catalogue's readiness. Once the session's gate is closed it says nothing any
/// more.
///
/// Ownership: copies share property and gates.
///
/// Threads: safe to use from several threads at once.
class SessionReadiness {
 public:
  SessionReadiness(Published<Readiness> readiness, std::shared_ptr<CallbackGate> session)
      : readiness_(std::move(readiness)), session_(std::move(session)) {}

  /// Says how a load has ended.
  void noteLoad(const Readiness& readiness) const { set(readiness, false); }

  /// Says that there is nothing to load, or that nothing came of the first load. What a load has said
  /// counts more.
  void noteUnlessLoaded(const Readiness& readiness) const { set(readiness, true); }

 private:
  void set(const Readiness& readiness, bool isFirst) const {
    steps_->run([published = readiness_, session = session_, readiness, isFirst] {
      session->run([&] {
        if (isFirst && published.value().readinessCase() != Readiness::Case::loading) return;
        published.set(readiness);
      });
    });
  }

  // Synchronise themselves.
  const Published<Readiness> readiness_;
  const std::shared_ptr<CallbackGate> session_;
  const std::shared_ptr<SerialGate> steps_ = std::make_shared<SerialGate>();
};

}  // namespace vellora
