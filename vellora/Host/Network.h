#pragma once

#include <functional>
#include <optional>

#include "vellora/Host/NetRequest.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Error.h"
#include "vellora/Platform/Values/Export.h"
#include "vellora/Platform/Web/URLResponse.h"

namespace CorvaneSDK {

/// Sends requests to the records server. Implemented by the host.
///
/// What you must guarantee:
/// - Resolve the request's relative URL against your server, and authenticate it. The path begins with
///   "/services/data/"; send path and query exactly as they stand, they are already percent-encoded.
/// - Call `completion` exactly once for each request: also when the request fails, times out, or your network
///   is shut down. A request that is never completed keeps a lookup waiting for ever.
/// - Keep to the request's `timeoutInterval` (seconds).
///
/// What you may rely on:
/// - Every request is a GET without body and without headers.
/// - `completion` may be called on any thread, also inside `sendRequest`. The library goes on working on that
///   thread: it decodes, writes to the cache and calls your lookup's completion there.
///
/// Ownership: the library holds you by `std::shared_ptr`; you own `completion` until you have called it.
///
/// Threads: `sendRequest` is called from several threads at once.
///
/// Errors: they are values of any type that describes itself, and come through `completion`. Throw nothing
/// but `std::bad_alloc`, and that only before `completion` has been called.
///
/// Units: time-outs are in seconds.
class VELLORA_EXPORT Network {
 public:
  /// `data` is the response body. An empty body is a present, empty `Data`; it fails, as it is no JSON.
  /// Absent means that there is no body, which is a failure too, with or without an error.
  ///
  /// `error` says why there is no body. Give none beside a body: the services of object types and of themes
  /// would take the error, those of layouts the body. The services of object types and of themes pass your
  /// error on as what `other` carries. Those of layouts only log what it says, and report `network`.
  ///
  /// The library looks at no status code. Of an error status you may hand the body over, which then fails to
  /// decode, or give an error in its place, which says what happened. An error that has a member
  /// `retryAdvice` (`vellora::RetryAdvice`) also says whether a catalogue should send the request again, and
  /// how long the server wants to be left alone; of any other error it doesn't.
  ///
  /// `response` may be absent; the library ignores it.
  using Completion =
      std::function<void(std::optional<vellora::Data> data, std::optional<vellora::Error> error,
                         std::optional<vellora::URLResponse> response)>;

  virtual ~Network() = default;

  /// Sends `request` and returns without waiting for the answer, which comes through `completion`. `request`
  /// is valid during the call only. `completion` is never empty.
  ///
  /// The caller is a queue of the library, your own queue, the thread of whoever asks for layouts, or your
  /// own thread, inside the completion of an earlier request. No lock of the library is held.
  virtual void sendRequest(const NetRequest& request, Completion completion) = 0;

 protected:
  Network() = default;
  Network(const Network&) = default;
  Network& operator=(const Network&) = default;
};

}  // namespace CorvaneSDK
