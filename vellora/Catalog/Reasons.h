#pragma once

#include <memory>
#include <optional>
#include <utility>

#include "vellora/Catalog/Asked.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/DataServices/NotCached.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Platform/Publishers/Observer.h"
#include "vellora/Platform/Values/Error.h"

namespace vellora {

/// Why a key is missing after its lookup failed with `error`. It is `notCached` only where `wanted` allows no
/// request. Otherwise a missing cache entry means that the fetch has failed: then `fetchFailure` is the
/// reason, if there is one.
[[nodiscard]] inline Missing missingFor(const Error& error, Source wanted,
                                        const std::optional<Error>& fetchFailure = std::nullopt) {
  const bool isNotCached = error.as<NotCached>() != nullptr;
  if (isNotCached && wanted == Source::cacheOnly) return Missing(Missing::Why::notCached);
  return Missing(Missing::Why::failed, Failure(isNotCached && fetchFailure ? *fetchFailure : error));
}

/// The handler of a pipeline's end that fails `question` when the pipeline fails.
template <class T>
[[nodiscard]] auto failing(std::shared_ptr<detail::Asked<T>> question) {
  return [question = std::move(question)](const Completion& error) {
    if (error) question->fail(*error);
  };
}

}  // namespace vellora
