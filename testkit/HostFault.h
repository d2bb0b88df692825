#pragma once

#include <string_view>
#include <vector>

#include "testkit/HostCall.h"
#include "vellora/Platform/Values/Export.h"

namespace vellora::testkit {

/// What goes wrong with one call to a host. A call can have the faults of its kind only: see `faultsOf`.
///
/// Each is something that a host may do without a mistake in the library, such as a server that answers with
/// half a body, or a disk that is full. What the library makes of each stands in docs/behaviour.md.
///
/// Plan one with `FaultyHost::plan`.
enum class HostFault {
  // Of a request.
  networkError,    ///< an error, and no body
  noBody,          ///< neither body nor error
  emptyBody,       ///< a body of no bytes
  errorBody,       ///< a body that tells of an error instead of answering
  truncatedBody,   ///< the first half of the body
  garbageBody,     ///< bytes that are no text
  answeredTwice,   ///< the right answer, and once more
  answeredLate,    ///< the right answer, when the test says so
  answeredAtOnce,  ///< on the calling thread, before `sendRequest` returns
  neverAnswered,   ///< the completion is never called
  // Of what is read from the cache.
  missing,        ///< not found: no blob, no rows, no table
  truncated,      ///< the first half of the bytes
  bitFlipped,     ///< the top bit of the byte in the middle is the other one
  anothersBytes,  ///< well-formed, but another record's
  olderForm,      ///< as an earlier version of the library could have written it
  // Of what is written to the cache.
  refused,  ///< not done, and the result says so; a table that is not created stays empty
  // Of a log line.
  lineLost,  ///< the line reaches no log
};

/// The fault in words, such as "answered twice".
[[nodiscard]] VELLORA_EXPORT std::string_view describe(HostFault fault);

/// The faults that a call of that kind can have, the plainest first: `networkError` for a request, `missing`
/// for a read, `refused` for a write, `lineLost` for a line.
[[nodiscard]] VELLORA_EXPORT const std::vector<HostFault>& faultsOf(HostCall::Operation operation);

}  // namespace vellora::testkit
