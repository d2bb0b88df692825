#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/TimedQueue.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// What a catalogue is made with, besides its host.
///
///     Catalog catalog(host, {.theme = "dark", .cacheTimeout = 1h, .answersOn = mainLoop});
///
/// Ownership: a plain value; shares the queues.
struct VELLORA_EXPORT CatalogOptions {
  /// The theme whose colours and icons are wanted.
  std::string theme = "light";

  /// The age at which what is cached counts as stale, and is fetched anew. 0 fetches each time.
  std::chrono::duration<double> cacheTimeout = std::chrono::hours(1);

  /// Where callbacks run and coroutines go on; null for a serial queue of the catalogue's own.
  std::shared_ptr<DispatchQueue> answersOn = {};

  /// What ends questions at their deadlines; null for `TimedQueue::system`. A test hands in one that it
  /// steps.
  std::shared_ptr<TimedQueue> timer = {};
};

}  // namespace vellora
