#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "vellora/Catalog/CatalogObserver.h"
#include "vellora/Catalog/RetryOptions.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

class VelloraService;

/// What a catalogue is made with, besides its host.
///
///     Catalog catalog(host, {.theme = "dark", .cacheTimeout = 1h, .answersOn = mainLoop});
///
/// Ownership: a plain value; shares queues and observer.
struct VELLORA_EXPORT CatalogOptions {
  /// The theme whose colours and icons are wanted.
  std::string theme = "light";

  /// The age at which what is cached counts as stale, and is fetched anew. 0 fetches each time.
  std::chrono::duration<double> cacheTimeout = std::chrono::hours(1);

  /// Where callbacks run and coroutines go on; null for a serial queue of the catalogue's own.
  std::shared_ptr<DispatchQueue> answersOn = {};

  /// A façade on the same host, whose data services the catalogue shares: one remembered list of either, one
  /// purge, by whichever of the two goes last. The façade's time-out then counts. What it has under way when
  /// it is destroyed goes on as long as the catalogue. `forget` parts the two. What the façade fetches for
  /// itself is not joined: where both load at the same time, each asks for the lists. It is looked at in the
  /// catalogue's constructor only; null for services of the catalogue's own.
  const VelloraService* sharesServicesOf = nullptr;

  /// What ends questions at their deadlines; null for `TimedQueue::system`. A test hands in one that it
  /// steps.
  std::shared_ptr<TimedQueue> timer = {};

  /// Whether and when a request that has failed is sent again.
  RetryOptions retry = {};

  /// Who is told of questions and requests; null for nobody.
  std::shared_ptr<CatalogObserver> observer = {};

  /// Whether the observer is also told keys, whole URLs and what a network's error says.
  bool observesKeys = false;

  /// Whether the catalogue begins at once to load both lists. A program that asks one question and ends
  /// leaves that to the question, which loads what it needs: layouts need neither.
  bool loadsAtOnce = true;
};

}  // namespace vellora
