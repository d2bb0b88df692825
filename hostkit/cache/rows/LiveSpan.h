#pragma once

#include "vellora/Host/Table.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::hostkit {

/// The dates that a row may bear to be returned: at most the table's maximum age away from now.
///
/// That holds in both directions. A row dated in the future was written before the clock was set back; its
/// true age is unknown, so it is kept for as long as a row of the past, and no longer. Otherwise a clock that
/// once stood years ahead would leave rows that never expire.
struct LiveSpan {
  LiveSpan(Date now, CorvaneSDK::Table::MaxAge maxAge);

  [[nodiscard]] bool contains(Date written) const { return earliest <= written && written <= latest; }

  Date earliest;
  Date latest;
};

/// The age in seconds.
[[nodiscard]] double seconds(CorvaneSDK::Table::MaxAge maxAge);

}  // namespace vellora::hostkit
