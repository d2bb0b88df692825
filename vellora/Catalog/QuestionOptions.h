#pragma once

#include <chrono>
#include <memory>
#include <string_view>

#include "vellora/Catalog/StopToken.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Borrowed.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How one question is to be answered.
///
///     catalog.records(ids, {.deadline = 5s, .source = Source::cacheOnly})
///
/// Ownership: a plain value that refers to what it is made of. It is looked at during the call, and must not
/// outlive its parts.
struct VELLORA_EXPORT QuestionOptions {
  /// When the question ends at the latest, counted from when it is asked. One of no time at all, or less,
  /// ends at once; one longer than a year, or that is not a number, counts as a year.
  std::chrono::duration<double> deadline = std::chrono::seconds(10);

  /// Where the answer may come from.
  Source source = Source::cacheFirst;

  /// The theme whose colours and icons are wanted; an empty text stands for the catalogue's. Another theme
  /// takes no request.
  std::string_view theme = {};

  /// Where the callback runs or the coroutine goes on, if not where the catalogue's do.
  Borrowed<std::shared_ptr<DispatchQueue>> answersOn = {};

  /// Ends the question as `cancelled` when a stop is requested. The answer still comes, to whoever waits.
  Borrowed<StopToken> stop = {};
};

}  // namespace vellora
