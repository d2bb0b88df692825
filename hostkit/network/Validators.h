#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "hostkit/network/ResponseHead.h"
#include "vellora/Host/Row.h"
#include "vellora/Platform/Values/Data.h"

namespace vellora::hostkit {

/// What of the head of a success has to be kept with its body, so that it can be asked for with a condition:
/// its tag, or the moment of its last change, and what the body is. Absent when the body must not be kept, or
/// could not be asked for so.
///
/// A tag that is none in HTTP's form, or is longer than `longestTag`, counts as the server's mistake: then
/// its date is not believed either. A date alone is believed only when it is older than the answer, since a
/// body that changes twice in a second has one date. An answer without a date has that of this machine. None
/// of the headers is longer than `longestTag`.
[[nodiscard]] std::optional<CorvaneSDK::Meta> validatorsIn(const ResponseHead& head);

inline constexpr std::size_t longestTag = 1024;  ///< bytes

/// Whether `validators` may be what `validatorsIn` has given once. What was kept is judged so before it is
/// sent: others may have written it.
[[nodiscard]] bool canBeAskedFor(const CorvaneSDK::Meta& validators);

/// The header line that asks for a body only if it is another one than that of these headers, which can be
/// asked for.
[[nodiscard]] std::string conditionOn(const CorvaneSDK::Meta& validators);

/// Whether the head of a 304 is about the body of these headers. One that names another tag, or another date,
/// is not.
[[nodiscard]] bool isAbout(const CorvaneSDK::Meta& validators, const ResponseHead& notModified);

/// Whether `body`, unpacked, is all that the server sends: HTTP or its packing tells where it ends, and it is
/// JSON from its beginning to its end, where the head says JSON. Any other may have been cut off.
[[nodiscard]] bool isWhole(const Data& body, const ResponseHead& head);

/// Whether the request asks with a condition of its own, for a part of the body, or past every cache.
[[nodiscard]] bool hasOwnCondition(const std::vector<std::string>& headerLines);

}  // namespace vellora::hostkit
