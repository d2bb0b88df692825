#pragma once

#include <chrono>
#include <memory>

#include "vellora/Catalog/QuestionOptions.h"
#include "vellora/Catalog/StopToken.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Values/Borrowed.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora {

/// How a refresh is to be done. It has no source, since it always asks the server, and no theme.
///
///     catalog.refresh({.deadline = 30s})
///
/// Ownership: as `QuestionOptions`.
struct VELLORA_EXPORT RefreshOptions {
  /// As in `QuestionOptions`.
  std::chrono::duration<double> deadline = QuestionOptions().deadline;
  Borrowed<std::shared_ptr<DispatchQueue>> answersOn = {};
  Borrowed<StopToken> stop = {};
};

}  // namespace vellora
